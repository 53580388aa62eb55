// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"

#include "DBus/names_p.h"

#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>

QStringList wordsOf(const QString &value)
{
    QStringList words = value.split(' ', Qt::SkipEmptyParts);
    return words.replaceInStrings("''", QString());
}

Result busctl(const PrivateBus &bus, const QStringList &arguments)
{
    return run("busctl",
               QStringList{QString("--address=%1").arg(bus.address()), "--timeout=infinity"}
                   + arguments);
}

QString busctlDesk(const PrivateBus &bus, const QString &method, const QStringList &arguments)
{
    const Result result = busctl(bus,
                                 QStringList{"--json=short", "call", "--"}
                                     + QStringList{OSTREL_SERVICE_NAME, OSTREL_SIMULATOR_PATH,
                                                   OSTREL_SIMULATOR_INTERFACE, method}
                                     + arguments);
    if (result.exitStatus != 0) {
        qFatal("busctl: %s", qPrintable(result.errors));
    }
    return result.output.trimmed();
}

void busctlAnswerNext(const PrivateBus &bus, const char *interface, const char *method,
                      const QString &signature, const QStringList &value)
{
    busctlDesk(bus, "AnswerNext", QStringList{"ssav", interface, method, "1", signature} + value);
}

void busctlAnswerNext(const PrivateBus &bus, const QString &signature, const QStringList &value)
{
    busctlAnswerNext(bus, OSTREL_WINDOW_MANAGEMENT_INTERFACE, "UpdateWindowStatus", signature,
                     value);
}

void busctlEmitSignal(const PrivateBus &bus, const char *path, const char *interface,
                      const QString &member, const QStringList &values)
{
    QStringList words{"ossav", path, interface, member, QString::number(values.size())};
    for (const QString &value : values) {
        words += wordsOf(value);
    }
    busctlDesk(bus, "Emit", words);
}

QDBusArgument receive(const PrivateBus &bus, const QString &signature, const QString &value)
{
    busctlAnswerNext(bus, '(' + signature + "s)", wordsOf(value) + QStringList("marker"));
    const QDBusMessage reply = QDBusConnection::sessionBus().call(
        QDBusMessage::createMethodCall(OSTREL_SERVICE_NAME, OSTREL_WINDOW_MANAGEMENT_PATH,
                                       OSTREL_WINDOW_MANAGEMENT_INTERFACE, "UpdateWindowStatus")
        << QString() << 0 << 0 << 0);
    return reply.arguments().value(0).value<QDBusArgument>();
}
