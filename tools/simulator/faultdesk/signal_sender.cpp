// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "faultdesk/signal_sender.h"

#include "bus/name_forms.h"
#include "faultdesk/desk_call.h"
#include "print.h"
#include "termination.h"

#include <QtDBus/QDBusError>
#include <QtDBus/QDBusObjectPath>

#include <cstdio>

namespace
{

// Messages of a connection to itself. The bus drops a connection that sends them.
const QString localInterface = QStringLiteral("org.freedesktop.DBus.Local");
const QString localPath = QStringLiteral("/org/freedesktop/DBus/Local");

QVariantList withNumber(QVariantList arguments, uint number)
{
    for (QVariant &argument : arguments) {
        if (argument.userType() == QMetaType::QString) {
            argument = argument.toString().replace(QLatin1String("%n"), QString::number(number));
        }
    }
    return arguments;
}

} // namespace

Result<QDBusMessage> makeSignal(const QString &path, const QString &interface,
                                const QString &member, const QVariantList &arguments)
{
    if (!isInterfaceName(interface)) {
        return Failure(QStringLiteral("\"%1\" is no interface name").arg(interface));
    }
    if (!isMemberName(member)) {
        return Failure(QStringLiteral("\"%1\" is no name of a signal").arg(member));
    }
    if (interface == localInterface || path == localPath) {
        return Failure(QStringLiteral("The bus forbids signals of %1").arg(localInterface));
    }
    QDBusMessage signal = QDBusMessage::createSignal(path, interface, member);
    signal.setArguments(arguments);
    return signal;
}

QDBusMessage sendSignals(Service &service, const QDBusMessage &call, uint count, bool numbered)
{
    const QString path = call.arguments().at(0).value<QDBusObjectPath>().path();
    const QString interface = call.arguments().at(1).toString();
    const QString member = call.arguments().at(2).toString();
    const Result<QVariantList> arguments = valuesOf(call.arguments().at(3));
    if (!arguments) {
        return refuse(call, arguments.error());
    }
    const Result<QDBusMessage> made = makeSignal(path, interface, member, *arguments);
    if (!made) {
        return refuse(call, made.error());
    }
    for (uint number = 0; number < count; ++number) {
        if (Termination::wasRequested()) {
            const QString error =
                QStringLiteral("stopped after %1 of %2 signals").arg(number).arg(count);
            print(stderr, error);
            return call.createErrorReply(QDBusError::Failed, error);
        }
        QDBusMessage signal = *made;
        if (numbered) {
            signal.setArguments(withNumber(*arguments, number));
        }
        if (!service.sendSignal(signal)) {
            return call.createErrorReply(QDBusError::Failed,
                                         QStringLiteral("The signal cannot be sent"));
        }
    }
    return call.createReply();
}
