// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTRELCTL_REPORT_H
#define OSTRELCTL_REPORT_H

#include <Ostrel/Error>

#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtDBus/QDBusConnection>

#include <optional>

// Prints "error: NAME: message" on standard error, and "hint: ..." after it if the user can do
// something about it. The bus is that of the operation, if it used one.
void reportError(const Ostrel::Error &error,
                 std::optional<QDBusConnection::BusType> bus = QDBusConnection::SessionBus);

// Prints "hint: ..." on standard error, unless the advice is null.
void printHint(const QString &advice);

// The error as a member of a JSON result.
QJsonObject toJson(const Ostrel::Error &error);

// Prints one line on standard output. On a terminal, control characters are escaped.
void printLine(const QString &line);

// Prints one JSON document, on a line, on standard output.
void printJson(const QJsonObject &document);

// Prints the outcome of an operation: the result as JSON, with the error as a member, or the text
// if there is one; and the error, as reportError() does. Returns the exit status.
int conclude(const Ostrel::Error &error, bool asJson, QJsonObject result,
             const QString &text = QString(),
             std::optional<QDBusConnection::BusType> bus = QDBusConnection::SessionBus);

#endif
