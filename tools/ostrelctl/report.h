// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTRELCTL_REPORT_H
#define OSTRELCTL_REPORT_H

#include <Ostrel/Error>

#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtDBus/QDBusConnection>

#include <optional>

// Prints "error: NAME: message" on standard error, and behind it "hint: ..." where there is
// something that the user can do about it. The bus is the one that the operation was on, if any.
void reportError(const Ostrel::Error &error,
                 std::optional<QDBusConnection::BusType> bus = QDBusConnection::SessionBus);

// The error as a member of a JSON result.
QJsonObject toJson(const Ostrel::Error &error);

// Prints one line on standard output, and on a terminal one that has no power over it.
void printLine(const QString &line);

// Prints one JSON document, on a line, on standard output.
void printJson(const QJsonObject &document);

// Prints the outcome of an operation: the result as JSON, with the error as a member, or as text if
// there is one; and the error, as reportError() does. The result is the exit status.
int conclude(const Ostrel::Error &error, bool asJson, QJsonObject result,
             const QString &text = QString(),
             std::optional<QDBusConnection::BusType> bus = QDBusConnection::SessionBus);

#endif
