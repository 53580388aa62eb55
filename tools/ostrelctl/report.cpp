// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "report.h"

#include "advice.h"
#include "command.h"
#include "text.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QTextStream>

#include <cstdio>
#include <unistd.h>

void reportError(const Ostrel::Error &error, std::optional<QDBusConnection::BusType> bus)
{
    QTextStream err(stderr);
    err << "error: " << error.name() << ": " << onOneLine(error.message()) << Qt::endl;
    printHint(bus ? adviceOn(error, *bus) : QString());
}

void printHint(const QString &advice)
{
    if (!advice.isNull()) {
        QTextStream(stderr) << "hint: " << onOneLine(advice) << '\n';
    }
}

QJsonObject toJson(const Ostrel::Error &error)
{
    return {{QStringLiteral("name"), error.name()},
            {QStringLiteral("code"), error.code()},
            {QStringLiteral("message"), error.message()}};
}

void printLine(const QString &line)
{
    QTextStream(stdout) << (isatty(STDOUT_FILENO) != 0 ? onOneLine(line) : line) << '\n';
}

void printJson(const QJsonObject &document)
{
    // JSON requires some control characters to be escaped, and the writer does that. Terminals also
    // obey others.
    QString text = QString::fromUtf8(QJsonDocument(document).toJson(QJsonDocument::Compact));
    for (ushort character = 0x7f; character < 0xa0; ++character) {
        text.replace(QChar(character),
                     QStringLiteral("\\u%1").arg(character, 4, 16, QLatin1Char('0')));
    }
    printLine(text);
}

int conclude(const Ostrel::Error &error, bool asJson, QJsonObject result, const QString &text,
             std::optional<QDBusConnection::BusType> bus)
{
    if (asJson) {
        if (error) {
            result.insert(QStringLiteral("error"), toJson(error));
        }
        printJson(result);
    } else if (!text.isNull()) {
        printLine(text);
    }
    if (error) {
        reportError(error, bus);
        return OperationFailed;
    }
    return Success;
}
