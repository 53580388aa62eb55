// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus/properties.h"

#include <QtCore/QHash>
#include <QtDBus/QDBusError>
#include <QtDBus/QDBusVariant>

#include <algorithm>

namespace
{

QDBusMessage unknownProperty(const QDBusMessage &call, const QString &name)
{
    return call.createErrorReply(QDBusError::UnknownProperty,
                                 QStringLiteral("No property \"%1\"").arg(name));
}

} // namespace

QDBusMessage answerProperties(const QDBusMessage &call,
                              const QVector<const Interface *> &interfaces)
{
    static const QHash<QString, QString> signatures{
        {QStringLiteral("Get"), QStringLiteral("ss")},
        {QStringLiteral("GetAll"), QStringLiteral("s")},
        {QStringLiteral("Set"), QStringLiteral("ssv")},
    };
    if (!signatures.contains(call.member())) {
        return call.createErrorReply(
            QDBusError::UnknownMethod,
            QStringLiteral("No method \"%1\" in the interface %2")
                .arg(call.member(), QStringLiteral("org.freedesktop.DBus.Properties")));
    }
    const QString expected = signatures.value(call.member());
    if (call.signature() != expected) {
        return call.createErrorReply(QDBusError::InvalidArgs,
                                     QStringLiteral("%1 takes \"%2\", not \"%3\"")
                                         .arg(call.member(), expected, call.signature()));
    }

    // An empty name means all interfaces of the object.
    const QString name = call.arguments().at(0).toString();
    QVariantMap properties;
    bool known = name.isEmpty();
    for (const Interface *interface : interfaces) {
        if (name.isEmpty() || interface->description().name() == name) {
            const QVariantMap own = interface->properties();
            for (auto property = own.cbegin(); property != own.cend(); ++property) {
                properties.insert(property.key(), property.value());
            }
            known = true;
        }
    }
    if (!known) {
        return call.createErrorReply(
            QDBusError::UnknownInterface,
            QStringLiteral("No interface \"%1\" at the path %2").arg(name, call.path()));
    }
    if (call.member() == QLatin1String("GetAll")) {
        return call.createReply(properties);
    }
    const QString property = call.arguments().at(1).toString();
    if (!properties.contains(property)) {
        return unknownProperty(call, property);
    }
    if (call.member() == QLatin1String("Set")) {
        return call.createErrorReply(
            QDBusError::PropertyReadOnly,
            QStringLiteral("The property \"%1\" can only be read").arg(property));
    }
    return call.createReply(QVariant::fromValue(QDBusVariant(properties.value(property))));
}

QDBusMessage propertiesChanged(const Interface &interface, const QStringList &names)
{
    QDBusMessage signal = QDBusMessage::createSignal(
        interface.path(), QStringLiteral("org.freedesktop.DBus.Properties"),
        QStringLiteral("PropertiesChanged"));
    const QVariantMap properties = interface.properties();
    QVariantMap changed;
    for (const QString &name : names) {
        changed.insert(name, properties.value(name));
    }
    signal << interface.description().name() << changed << QStringList();
    return signal;
}
