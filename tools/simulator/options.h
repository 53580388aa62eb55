// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_OPTIONS_H
#define SIMULATOR_OPTIONS_H

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <chrono>
#include <variant>

// What the command line asks for.
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
    QString rootFs;
    std::chrono::milliseconds killAfter{2000};
};

// Reads the command line. The result is an exit status if there is nothing more to do: help or the
// version was asked for and printed, or the usage is bad and the mistake was told.
std::variant<Options, int> parseOptions(const QStringList &arguments);

#endif
