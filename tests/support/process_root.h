// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_PROCESS_ROOT_H
#define TESTS_PROCESS_ROOT_H

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

// While it lives, processes are looked up in this root file system.
class ProcessRoot
{
public:
    ProcessRoot() { qputenv("OSTREL_ROOTFS", QFile::encodeName(m_folder.path())); }
    ~ProcessRoot() { qunsetenv("OSTREL_ROOTFS"); }

    // Writes the control groups of a process.
    void write(const QByteArray &content, int process) const
    {
        const QString folder = processFolder(process);
        QFile file(folder + "/cgroup");
        if (!QDir().mkpath(folder) || !file.open(QIODevice::WriteOnly)
            || file.write(content) != content.size()) {
            qFatal("cannot write the control groups");
        }
    }

    QString processFolder(int process) const
    {
        return m_folder.filePath(QString("proc/%1").arg(process));
    }

private:
    Q_DISABLE_COPY(ProcessRoot)

    QTemporaryDir m_folder;
};

#endif
