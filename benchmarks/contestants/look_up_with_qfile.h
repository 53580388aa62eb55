// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef BENCHMARKS_LOOK_UP_WITH_QFILE_H
#define BENCHMARKS_LOOK_UP_WITH_QFILE_H

#include <QtCore/QFile>
#include <QtCore/QString>

#include <string>

// The process lookup with Qt's classes.
inline std::string lookUpWithQFile(int process)
{
    QFile file(qEnvironmentVariable("OSTREL_ROOTFS")
               + QStringLiteral("/proc/%1/cgroup").arg(process));
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray &line : lines) {
        const QList<QByteArray> fields = line.split(':');
        if (fields.size() == 3 && fields.at(1) == "memory"
            && fields.at(2).contains("ostrel-helper")) {
            const QList<QByteArray> components = fields.at(2).split('/');
            if (components.size() >= 2) {
                return QString::fromUtf8(components.at(components.size() - 2)).toStdString();
            }
        }
    }
    return {};
}

#endif
