// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "programs/root_fs.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <filesystem>
#include <system_error>

RootFs::~RootFs()
{
    clear();
}

void RootFs::clear()
{
    const QSet<int> processes = m_processes;
    for (const int pid : processes) {
        remove(pid);
    }
    if (!m_path.isEmpty()) {
        QDir(m_path).rmdir(QStringLiteral("proc"));
    }
    m_temporary.reset();
}

Result<> RootFs::make(const QString &folder)
{
    if (folder.isEmpty()) {
        const QString temporary = QDir::tempPath();
        if (temporary.isEmpty()) {
            return Failure(
                QStringLiteral("there is no folder %1").arg(qEnvironmentVariable("TMPDIR")));
        }
        m_temporary.emplace(temporary + QStringLiteral("/ostrel-simulator-XXXXXX"));
        if (!m_temporary->isValid()) {
            return Failure(QStringLiteral("cannot make a folder in %1").arg(temporary));
        }
    }
    const QString path =
        folder.isEmpty() ? m_temporary->path() : QFileInfo(folder).absoluteFilePath();
    const QString processes = QDir::cleanPath(path + QStringLiteral("/proc"));
    std::error_code error;
    std::filesystem::create_directories(QFile::encodeName(processes).toStdString(), error);
    if (error) {
        return Failure(QStringLiteral("cannot make the folder %1: %2")
                           .arg(processes, QString::fromStdString(error.message())));
    }
    // The files of an earlier simulator would look like running processes.
    if (!QDir(processes).isEmpty()) {
        return Failure(QStringLiteral("the folder %1 is not empty").arg(processes));
    }
    m_path = path;
    return {};
}

bool RootFs::add(int pid, const QString &group)
{
    const QString folder = processFolder(pid);
    QFile file(folder + QStringLiteral("/cgroup"));
    if (!QDir().mkpath(folder) || !file.open(QIODevice::WriteOnly)) {
        return false;
    }
    m_processes.insert(pid);
    // A device with the first version of control groups has these controllers.
    const QString lines = QStringLiteral("9:pids:/user.slice\n"
                                         "8:cpuset:/\n"
                                         "7:devices:/user.slice\n"
                                         "6:freezer:%1\n"
                                         "5:cpu,cpuacct:%1\n"
                                         "4:memory:%1\n"
                                         "3:blkio:/user.slice\n"
                                         "2:net_cls,net_prio:/\n"
                                         "1:name=systemd:/user.slice/session.scope\n"
                                         "0::/user.slice/session.scope\n")
                              .arg(group);
    return file.write(lines.toUtf8()) != -1 && file.flush();
}

void RootFs::remove(int pid)
{
    if (m_processes.remove(pid)) {
        QDir(processFolder(pid)).removeRecursively();
    }
}

QString RootFs::processFolder(int pid) const
{
    return QStringLiteral("%1/proc/%2").arg(m_path).arg(pid);
}
