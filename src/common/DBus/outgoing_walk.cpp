// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/outgoing_walk_p.h"

#include "DBus/nesting_p.h"
#include "DBus/types_json_p.h"

#include <QtCore/QVariantHash>
#include <QtDBus/QDBusMetaType>
#include <QtDBus/QDBusUnixFileDescriptor>

#include <algorithm>

namespace Ostrel
{

namespace
{

// Those of Qt's own maps and lists, without a look into Qt's tables.
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

// That of the value which the writer makes of a JSON value. In a mixed array it makes no arrays of
// one type.
const char *jsonSignature(const QJsonValue &value, bool inMixedArray)
{
    switch (value.type()) {
    case QJsonValue::Array: {
        const QJsonArray array = value.toArray();
        const bool ofObjects = !inMixedArray && array.first().isObject() && isJsonOfOneType(array);
        return ofObjects ? "aa{sv}" : "av";
    }
    case QJsonValue::Object:
        return "a{sv}";
    default:
        return "s";
    }
}

// What a value holds that is known to be of the type.
template <typename Content> const Content &contentOf(const QVariant &value)
{
    return *static_cast<const Content *>(value.constData());
}

} // namespace

// A value that stands in a variant.
OutgoingWalk::Outcome OutgoingWalk::value(const QVariant &value, int containers,
                                          QVariant &replacement)
{
    const int id = value.userType();
    Outcome outcome = Unchanged;
    if (containers > maximumContainers) {
        outcome = tooDeep(value);
    } else if (isJson(id)) {
        outcome = json(value, containers, replacement);
    } else if (id == qMetaTypeId<QDBusArgument>()) {
        const auto argument = value.value<QDBusArgument>();
        outcome = type(value, argument.currentSignature().toLatin1().constData(), containers);
    } else {
        const char *signature = signatureOf(id);
        outcome = type(value, signature, containers);
        if (outcome == Unchanged) {
            outcome = content(value, signature, containers, replacement);
        }
    }
    if (outcome != Unsendable && m_size.bytes() > m_room) {
        outcome = unsendable(QStringLiteral("is too large for a message, with a value"), value);
    }
    return outcome;
}

// The type of a value that stands in a variant.
OutgoingWalk::Outcome OutgoingWalk::type(const QVariant &value, const char *signature,
                                         int containers)
{
    if (signature == nullptr || *signature == '\0') {
        return unsendable(value);
    }
    const char *rest = signature;
    const Nesting nesting = nestingOf(rest);
    if (nesting.isTooDeep() || containers + nesting.containers > maximumContainers) {
        return tooDeep(value);
    }
    // A variant holds one value; an argument may have been given several.
    if (*rest != '\0') {
        return unsendable(QStringLiteral("holds several values"), value);
    }
    m_size.add(1 + (rest - signature) + 1);
    return Unchanged;
}

// A value of a type that a message can hold. What it contains may yet be none for a message.
OutgoingWalk::Outcome OutgoingWalk::content(const QVariant &value, const char *signature,
                                            int containers, QVariant &replacement)
{
    if (const int size = MessageSize::ofNumber(*signature)) {
        m_size.addNumber(size);
        return Unchanged;
    }
    const int type = value.userType();
    switch (type) {
    case QMetaType::QString:
        m_size.addText(contentOf<QString>(value));
        return Unchanged;
    case QMetaType::QStringList:
        m_size.addLength();
        for (const QString &text : contentOf<QStringList>(value)) {
            m_size.addText(text);
        }
        return Unchanged;
    case QMetaType::QByteArray:
        m_size.addLength();
        m_size.add(contentOf<QByteArray>(value).size());
        return Unchanged;
    case QMetaType::QVariantMap:
        return within(value, &OutgoingWalk::entries<QVariantMap>, containers, replacement);
    case QMetaType::QVariantHash:
        return within(value, &OutgoingWalk::entries<QVariantHash>, containers, replacement);
    case QMetaType::QVariantList:
        return within(value, &OutgoingWalk::list, containers, replacement);
    default:
        break;
    }
    if (type == qMetaTypeId<QDBusVariant>()) {
        return within(value, &OutgoingWalk::variant, containers, replacement);
    }
    if (type == qMetaTypeId<QDBusObjectPath>()) {
        return text(value, contentOf<QDBusObjectPath>(value).path());
    }
    if (type == qMetaTypeId<QDBusSignature>()) {
        return text(value, contentOf<QDBusSignature>(value).signature());
    }
    if (type == qMetaTypeId<QDBusUnixFileDescriptor>()) {
        m_size.addNumber(4);
        ++m_descriptors;
        return contentOf<QDBusUnixFileDescriptor>(value).isValid() ? Unchanged : unsendable(value);
    }
    if (*signature == 'a' && value.canConvert<QVariantList>()) {
        return elements(value, signature, containers, replacement);
    }
    if (*signature == 'a' && value.canConvert<QVariantMap>()) {
        return pairs(value, signature, containers, replacement);
    }
    return record(value, containers, replacement);
}

// A path or a signature, which is never empty.
OutgoingWalk::Outcome OutgoingWalk::text(const QVariant &value, const QString &text)
{
    m_size.addText(text);
    return text.isEmpty() ? unsendable(value) : Unchanged;
}

OutgoingWalk::Outcome OutgoingWalk::list(QVariantList &list, int containers)
{
    m_size.addLength();
    Outcome result = Unchanged;
    // A range would detach the list.
    for (int i = 0; i < list.size(); ++i) { // NOLINT(modernize-loop-convert)
        QVariant replacement;
        const Outcome outcome = value(list.at(i), containers + containersOfList, replacement);
        if (outcome == Unsendable) {
            return Unsendable;
        }
        if (outcome == Replaced) {
            list[i] = replacement;
            result = Replaced;
        }
    }
    return result;
}

OutgoingWalk::Outcome OutgoingWalk::variant(QDBusVariant &variant, int containers)
{
    QVariant replacement;
    const Outcome outcome = value(variant.variant(), containers + 1, replacement);
    if (outcome == Replaced) {
        variant.setVariant(replacement);
    }
    return outcome;
}

OutgoingWalk::Outcome OutgoingWalk::json(const QVariant &value, int containers,
                                         QVariant &replacement)
{
    const QJsonValue json = value.toJsonValue();
    if (!jsonFits(json, containers, 0, InVariant)) {
        return tooDeep(value);
    }
    if (m_size.bytes() > m_room) {
        return Unchanged;
    }
    // A Null has no form in a variant, and Qt complains of the attempt.
    QDBusArgument argument;
    if (!json.isNull()) {
        argument << json;
    }
    if (argument.currentSignature().isEmpty()) {
        return unsendable(value);
    }
    replacement = QVariant::fromValue(argument);
    return Replaced;
}

// Counts what the writer makes of a value. What the writer would cut is refused: nothing goes out
// in part.
bool OutgoingWalk::jsonFits(const QJsonValue &value, int containers, int depth, JsonPlace place)
{
    if (containers > maximumContainers
        || (depth >= maximumJsonDepth && (value.isArray() || value.isObject()))) {
        return false;
    }
    if (place != InArrayOfOneType) {
        m_size.addSignature(jsonSignature(value, place == InVariantOfMixedArray));
    }
    switch (value.type()) {
    case QJsonValue::Array:
        return jsonArrayFits(value.toArray(), containers, depth, place);
    case QJsonValue::Object: {
        const QJsonObject object = value.toObject();
        const JsonPlace below = place == InArrayOfOneType ? InVariant : place;
        m_size.addLengthOfContainers();
        for (auto entry = object.begin(); entry != object.end(); ++entry) {
            m_size.align(8);
            m_size.addText(entry.key());
            if (!jsonFits(entry.value(), containers + containersOfMap, depth + 1, below)) {
                return false;
            }
        }
        return true;
    }
    case QJsonValue::String:
        m_size.addText(value.toString());
        return true;
    default:
        m_size.addNumber(value.isBool() ? 4 : 8);
        return true;
    }
}

bool OutgoingWalk::jsonArrayFits(const QJsonArray &array, int containers, int depth,
                                 JsonPlace place)
{
    const bool mixed = place == InVariantOfMixedArray || !isJsonOfOneType(array);
    const JsonPlace below = mixed ? InVariantOfMixedArray : InArrayOfOneType;
    const int containersBelow = containers + (mixed ? containersOfList : 1);
    m_size.addLength();
    return std::all_of(array.begin(), array.end(), [&](const QJsonValue &element) {
        return jsonFits(element, containersBelow, depth + 1, below);
    });
}

OutgoingWalk::Outcome OutgoingWalk::tooDeep(const QVariant &value)
{
    return unsendable(QStringLiteral("is nested too deeply for a message, with a value"), value);
}

OutgoingWalk::Outcome OutgoingWalk::unsendable(const QVariant &value)
{
    return unsendable(QStringLiteral("holds a value"), value);
}

OutgoingWalk::Outcome OutgoingWalk::unsendable(const QString &what, const QVariant &value)
{
    m_problem =
        QStringLiteral("Marshalling failed: \"%1\" %2 of type %3")
            .arg(m_key, what,
                 value.isValid() ? QString::fromLatin1(value.typeName()) : QStringLiteral("none"));
    return Unsendable;
}

// What replaces a container of one type is a QDBusArgument, which takes a file descriptor only
// when it is part of a message already.
OutgoingWalk::Outcome OutgoingWalk::unsendableDescriptor(const QVariant &value)
{
    return unsendable(QStringLiteral("holds a file descriptor beside JSON, in a value"), value);
}

} // namespace Ostrel
