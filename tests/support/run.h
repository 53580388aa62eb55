// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_RUN_H
#define TESTS_RUN_H

#include "kit.h"

struct Result
{
    int exitStatus = -1;
    QString output;
    QString errors;
};

// Runs a program to its end.
Result run(const QString &program, const QStringList &arguments,
           const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment());

#endif
