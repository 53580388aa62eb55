// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_OPTIONS_H
#define SIMULATOR_OPTIONS_H

#include "result.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <chrono>
#include <optional>

// The options of the command line.
struct Options
{
    enum class Bus {
        Session,
        System,
        Address
    };

    Bus bus = Bus::Session;
    QString address;
    QString catalogue;
    // None, if it is empty.
    QString scenario;
    QString rootFs;
    std::chrono::milliseconds killAfter{2000};
};

// Reads the command line. There are no options if it asked for help, the version or the catalogue,
// which has been printed.
Result<std::optional<Options>> parseOptions(const QStringList &arguments);

#endif
