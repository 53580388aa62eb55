// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_WATCHER_H
#define TESTS_WATCHER_H

#include "run.h"

#include <QtCore/QStringList>

// A command of ostrelctl that prints events. Standard error is read together with its output.
class Watcher : public Process
{
    Q_OBJECT

public:
    explicit Watcher(const QStringList &arguments, const QString &timeZone = QString());

    // Returns the next event in plain form, without its time.
    QString readEvent();

    // Returns the next event as JSON, without its times.
    QString readJson();

    // Ends it as Ctrl-C does. Returns its exit status.
    int interrupt();
};

#endif
