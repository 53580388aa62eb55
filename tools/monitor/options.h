// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_OPTIONS_H
#define MONITOR_OPTIONS_H

#include "bus_choice.h"
#include "result.h"

#include <QtCore/QSize>
#include <QtCore/QStringList>

#include <optional>

// The options of the command line.
struct MonitorOptions
{
    BusChoice bus;
    // Null if they are not given.
    QString open;
    QString record;
    QString screenshot;
    // Invalid if it is not given.
    QSize size;
};

// Reads the command line. There are no options if it asked for help or the version, which has been
// printed.
Result<std::optional<MonitorOptions>> parseMonitorOptions(const QStringList &arguments);

#endif
