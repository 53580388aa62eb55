// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef BENCHMARKS_QT_TASK_MAPS_H
#define BENCHMARKS_QT_TASK_MAPS_H

#include "contestant.h"

#include <QtCore/QStringList>
#include <QtCore/QVariantMap>

// The usual maps of a task, filled by hand.

inline QStringList toStrings(TaskMaps::Strings texts)
{
    QStringList strings;
    for (const char *text : texts) {
        strings.append(QString::fromUtf8(text));
    }
    return strings;
}

inline QVariantMap taskStartupInfo()
{
    return {{QStringLiteral("Params"), toStrings(TaskMaps::parameters)},
            {QStringLiteral("Environment"), toStrings(TaskMaps::environment)}};
}

inline QVariantMap taskHints()
{
    return {{QStringLiteral("CPULimit"), TaskMaps::processorLimit},
            {QStringLiteral("User"), QString::fromUtf8(TaskMaps::user)},
            {QStringLiteral("RunningTime"), TaskMaps::runningTime},
            {QStringLiteral("Priority"), TaskMaps::priority},
            {QStringLiteral("Permissions"), toStrings(TaskMaps::permissions)}};
}

#endif
