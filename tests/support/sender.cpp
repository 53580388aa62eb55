// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "sender.h"

#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>

Sender::Sender(const PrivateBus &bus)
    : m_process(QStringLiteral(SENDER), {bus.address()})
{
    m_process.start();
    m_process.readLine();
}

QVariantList Sender::receive(const QString &signature, const QString &values) const
{
    const QDBusMessage reply = QDBusConnection::sessionBus().call(
        QDBusMessage::createMethodCall(QStringLiteral("test.Sender"), QStringLiteral("/"),
                                       QStringLiteral("test.Sender"), QStringLiteral("Send"))
        << signature << values.split(QLatin1Char(' '), Qt::SkipEmptyParts));
    if (reply.signature() != signature) {
        qFatal("the sender does not send %s: %s", qPrintable(signature),
               qPrintable(reply.errorMessage()));
    }
    return reply.arguments();
}
