// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTRELCTL_HINTS_H
#define OSTRELCTL_HINTS_H

#include <Ostrel/TaskInvoker>

#include <QtCore/QStringList>

// What a hint is named, and of which form its value is, a line each.
QString knownHints();

// Sets a hint from "NAME=VALUE". The result says what is wrong with it; null if nothing is.
QString setHint(Ostrel::TaskInvoker::Hints &hints, const QString &assignment);

#endif
