// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "events.h"

#include "command.h"
#include "report.h"
#include "stamp.h"
#include "text.h"

#include <QtCore/QCoreApplication>

#include <cstdio>

UntilInterrupted::UntilInterrupted(QDBusConnection bus, bool asJson)
    : m_asJson(asJson)
{
    connect(&m_termination, &Termination::requested, QCoreApplication::instance(),
            &QCoreApplication::quit);
    bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                SLOT(onDisconnected()));
}

void UntilInterrupted::onDisconnected() const
{
    const Ostrel::Error error(Ostrel::Error::Failed, QStringLiteral("the message bus has ended"));
    if (m_asJson) {
        printEvent(true, QStringLiteral("error"), {{QStringLiteral("error"), toJson(error)}}, {});
    }
    reportError(error, std::nullopt);
    QCoreApplication::exit(OperationFailed);
}

void printEvent(bool asJson, const QString &event, QJsonObject object, const QString &text)
{
    const Stamp now = Stamp::now();
    if (asJson) {
        object.insert(QStringLiteral("time"), now.toUtc());
        object.insert(QStringLiteral("monotonic"), now.monotonic);
        object.insert(QStringLiteral("event"), event);
        printJson(object);
    } else {
        printLine(QStringLiteral("%1 %2 %3")
                      .arg(now.toLocalTime(), event.leftJustified(14), onOneLine(text)));
    }
    if (std::fflush(stdout) != 0) {
        QCoreApplication::exit(OperationFailed);
    }
}

void printService(bool asJson, bool available)
{
    printEvent(asJson, QStringLiteral("service"), {{QStringLiteral("available"), available}},
               available ? QStringLiteral("available") : QStringLiteral("not available"));
}
