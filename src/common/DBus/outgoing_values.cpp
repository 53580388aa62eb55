// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/outgoing_message_p.h"

#include "DBus/nesting_p.h"
#include "DBus/types_json_p.h"

#include <QtCore/QVariantHash>
#include <QtDBus/QDBusMetaType>
#include <QtDBus/QDBusObjectPath>
#include <QtDBus/QDBusSignature>

#include <cstring>

namespace Ostrel
{

namespace
{

// The default of dbus-daemon for one message. The usual configurations of both buses keep it.
constexpr int maximumDescriptors = 16;

// Each level of JSON takes at least two containers.
constexpr int maximumJsonLevels = maximumContainers / 2;

const char *const tooDeep = "is nested too deeply for a message, with a value";

// For Qt's own maps and lists, this saves a lookup in Qt's tables.
const char *signatureOf(int type)
{
    switch (type) {
    case QMetaType::QVariantMap:
    case QMetaType::QVariantHash:
        return "a{sv}";
    case QMetaType::QVariantList:
        return "av";
    default:
        return QDBusMetaType::typeToSignature(type);
    }
}

bool isJson(int type)
{
    return type == QMetaType::QJsonValue || type == QMetaType::QJsonObject
        || type == QMetaType::QJsonArray;
}

// The content of a value of a known type.
template <typename Content> const Content &contentOf(const QVariant &value)
{
    return *static_cast<const Content *>(value.constData());
}

} // namespace

bool OutgoingMessage::value(const QVariant &value, int containers, QVariant &replacement)
{
    const int id = value.userType();
    if (isJson(id)) {
        return json(value, containers, replacement);
    }
    if (id == qMetaTypeId<QDBusArgument>()) {
        return argument(value, containers) && fits(value);
    }
    const char *signature = signatureOf(id);
    return type(value, signature, containers) && content(value, signature, containers, replacement)
        && fits(value);
}

bool OutgoingMessage::type(const QVariant &value, const char *signature, int containers)
{
    if (signature == nullptr || *signature == '\0') {
        return unsendable(value);
    }
    const char *rest = signature;
    const Nesting nesting = nestingOf(rest);
    if (nesting.isTooDeep() || containers + nesting.containers > maximumContainers) {
        return unsendable(value, tooDeep);
    }
    // A variant holds one value, but a caller may write several values to an argument.
    if (*rest != '\0') {
        return unsendable(value, "holds several values");
    }
    if (!m_passesDescriptors && std::strchr(signature, 'h') != nullptr) {
        return unsendable(value, "needs a bus that passes file descriptors, for a value");
    }
    m_size.addSignature(rest - signature);
    return true;
}

bool OutgoingMessage::json(const QVariant &value, int containers, QVariant &replacement)
{
    PlainJson json(maximumJsonLevels, m_size, m_room);
    const QVariant plain = json.from(value.toJsonValue());
    if (json.isTooDeep()) {
        return unsendable(value, tooDeep);
    }
    if (json.isTooLarge()) {
        return tooLarge(value);
    }
    if (!plain.isValid()) {
        return unsendable(value);
    }
    const QString key = m_key;
    if (!this->value(plain, containers, replacement)) {
        m_key = key;
        return unsendable(value, m_what);
    }
    replacement = plain;
    ++m_replacements;
    return true;
}

bool OutgoingMessage::content(const QVariant &value, const char *signature, int containers,
                              QVariant &replacement)
{
    if (const int size = MessageSize::ofNumber(*signature)) {
        m_size.addNumber(size);
        return true;
    }
    const int type = value.userType();
    switch (type) {
    case QMetaType::QString:
        m_size.addString(contentOf<QString>(value));
        return true;
    case QMetaType::QStringList:
        m_size.addLength();
        for (const QString &string : contentOf<QStringList>(value)) {
            m_size.addString(string);
        }
        return true;
    case QMetaType::QByteArray:
        m_size.addLength();
        m_size.add(contentOf<QByteArray>(value).size());
        return true;
    case QMetaType::QVariantMap:
        return within(value, &OutgoingMessage::entries<QVariantMap>, containers, replacement);
    case QMetaType::QVariantHash:
        return within(value, &OutgoingMessage::entries<QVariantHash>, containers, replacement);
    case QMetaType::QVariantList:
        return within(value, &OutgoingMessage::list, containers, replacement);
    default:
        break;
    }
    if (type == qMetaTypeId<QDBusVariant>()) {
        return within(value, &OutgoingMessage::variant, containers, replacement);
    }
    if (type == qMetaTypeId<QDBusObjectPath>()) {
        const QString path = contentOf<QDBusObjectPath>(value).path();
        m_size.addString(path);
        return !path.isEmpty() || unsendable(value);
    }
    if (type == qMetaTypeId<QDBusSignature>()) {
        return this->signature(value, contentOf<QDBusSignature>(value).signature());
    }
    if (type == qMetaTypeId<QDBusUnixFileDescriptor>()) {
        return descriptor(value, contentOf<QDBusUnixFileDescriptor>(value));
    }
    if (*signature == 'a') {
        return signature[1] == '{' ? pairs(value, signature, containers, replacement)
                                   : elements(value, signature, containers, replacement);
    }
    return structure(value, signature, containers, replacement);
}

bool OutgoingMessage::signature(const QVariant &value, const QString &signature)
{
    m_size.addSignature(signature.size());
    return isSignature(signature.toLatin1()) || unsendable(value);
}

bool OutgoingMessage::descriptor(const QVariant &value, const QDBusUnixFileDescriptor &descriptor)
{
    m_size.addNumber(4);
    if (!descriptor.isValid()) {
        return unsendable(value);
    }
    if (m_duplicates.size() == maximumDescriptors) {
        return unsendable(value, "holds one file descriptor too many, in a value");
    }
    // libdbus duplicates each descriptor, and silently drops it if the process can open no more.
    m_duplicates.append(QDBusUnixFileDescriptor(descriptor.fileDescriptor()));
    return m_duplicates.constLast().isValid()
        || unsendable(value, "holds a file descriptor that cannot be duplicated, in a value");
}

bool OutgoingMessage::list(QVariantList &list, int containers)
{
    m_size.addLength();
    // A range would detach the list.
    for (int i = 0; i < list.size(); ++i) { // NOLINT(modernize-loop-convert)
        QVariant replacement;
        if (!value(list.at(i), containers + containersOfList, replacement)) {
            return false;
        }
        if (replacement.isValid()) {
            list[i] = replacement;
        }
    }
    return true;
}

bool OutgoingMessage::variant(QDBusVariant &variant, int containers)
{
    QVariant replacement;
    if (!value(variant.variant(), containers + 1, replacement)) {
        return false;
    }
    if (replacement.isValid()) {
        variant.setVariant(replacement);
    }
    return true;
}

} // namespace Ostrel
