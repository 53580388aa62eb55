// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_WATCHER_H
#define TESTS_WATCHER_H

#include "process.h"

#include <QtCore/QStringList>

// A command of ostrelctl that prints events. Its standard error is read with its output.
class Watcher : public Process
{
    Q_OBJECT

public:
    explicit Watcher(const QStringList &arguments, const QString &timeZone = QString());

    // The next event, which is text, without its time.
    QString readEvent();

    // The next event, which is JSON, without its time.
    QString readJson();

    // Ends it as Ctrl-C does, and returns its exit status.
    int interrupt();
};

#endif
