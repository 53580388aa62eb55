// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "control_calls.h"

#include "run.h"

#include "DBus/names_p.h"

#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusConnection>

namespace
{

QDBusMessage controlCall(const QString &method, const QVariantList &arguments)
{
    QDBusMessage call = QDBusMessage::createMethodCall(OSTREL_SERVICE_NAME, OSTREL_CONTROL_PATH,
                                                       OSTREL_CONTROL_INTERFACE, method);
    call.setArguments(arguments);
    return call;
}

} // namespace

QDBusMessage callControl(const QString &method, const QVariantList &arguments)
{
    return QDBusConnection::sessionBus().call(controlCall(method, arguments));
}

QDBusPendingCall asyncCallControl(const QString &method, const QVariantList &arguments)
{
    return QDBusConnection::sessionBus().asyncCall(controlCall(method, arguments));
}

QVariantMap startApplication(const QString &id)
{
    const QDBusMessage answer = callControl("Start", {id});
    if (answer.type() != QDBusMessage::ReplyMessage) {
        qFatal("%s does not start: %s", qPrintable(id), qPrintable(answer.errorMessage()));
    }
    return qdbus_cast<QVariantMap>(answer.arguments().at(1));
}
