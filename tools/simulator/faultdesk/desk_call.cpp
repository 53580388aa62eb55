// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "faultdesk/desk_call.h"

#include "bus/values.h"

#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusError>
#include <QtDBus/QDBusVariant>

Method methodOf(const QDBusMessage &call)
{
    return {call.arguments().at(0).toString(), call.arguments().at(1).toString()};
}

Result<QVariantList> valuesOf(const QVariant &argument)
{
    QVariantList values;
    const auto array = argument.value<QDBusArgument>();
    array.beginArray();
    while (!array.atEnd()) {
        QDBusVariant value;
        array >> value;
        values.append(value.variant());
    }
    array.endArray();
    return checkSignature(values).map([&values] { return values; });
}

QDBusMessage refuse(const QDBusMessage &call, const QString &message)
{
    return call.createErrorReply(QDBusError::InvalidArgs, message);
}
