// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTRELCTL_ADVICE_H
#define OSTRELCTL_ADVICE_H

#include <Ostrel/Error>

#include <QtCore/QString>
#include <QtDBus/QDBusConnection>

// The user should not wait longer for advice. In milliseconds.
constexpr int patience = 3000;

// What the user can do about an error if there is no bus, or no service on it; null otherwise.
QString adviceOn(const Ostrel::Error &error, QDBusConnection::BusType busType);

#endif
