// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "run.h"

Result run(const QString &program, const QStringList &arguments,
           const QProcessEnvironment &environment)
{
    Process process(program, arguments);
    process.setProcessEnvironment(environment);
    process.start();
    const int exitStatus = process.waitForEnd();
    return {exitStatus, QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}
