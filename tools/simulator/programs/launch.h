// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_LAUNCH_H
#define SIMULATOR_LAUNCH_H

#include "result.h"

#include <QtCore/QFile>
#include <QtCore/QProcessEnvironment>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <memory>

// How a program is run.
struct Launch
{
    QString program;
    QStringList arguments;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();

    // Open files. If null, the simulator's own output is used.
    std::shared_ptr<QFile> standardOutput;
    std::shared_ptr<QFile> standardError;

    // Sets each entry NAME=VALUE in the environment.
    void addEnvironment(const QStringList &entries);
};

// Whether each entry of an environment is NAME=VALUE.
Result<> checkEnvironment(const QString &key, const QStringList &entries);

#endif
