// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTRELCTL_HINTS_H
#define OSTRELCTL_HINTS_H

#include "result.h"

#include <Ostrel/TaskInvoker>

#include <QtCore/QStringList>

// The names of the hints and the forms of their values, one hint a line.
QString knownHints();

// Sets a hint from "NAME=VALUE".
Result<> setHint(Ostrel::TaskInvoker::Hints &hints, const QString &assignment);

#endif
