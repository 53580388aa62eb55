// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/outgoing_message_p.h"

#include "DBus/nesting_p.h"
#include "DBus/types_json_p.h"
#include "DBus/types_members_p.h"

#include <QtCore/QAssociativeIterable>
#include <QtCore/QSequentialIterable>

#include <cstring>

namespace Ostrel
{

namespace
{

using Associative = QtMetaTypePrivate::QAssociativeIterableImpl;
using Sequential = QtMetaTypePrivate::QSequentialIterableImpl;

// Whether Qt itself can iterate over a type. canConvert() also returns true for a type with a
// converter of the caller's own, and iterating over such a type crashes.
template <typename Iterable> bool isIterable(const QVariant &value)
{
    return QMetaType::hasRegisteredConverterFunction(value.userType(), qMetaTypeId<Iterable>());
}

// Whether the elements are QVariants, which an iterable unwraps, and are sent as variants.
bool areQVariants(int type, const char *signature)
{
    return type == QMetaType::QVariant && *signature == 'v';
}

// The type that QtDBus marshals for the elements of a container.
int elementTypeOf(int type)
{
    return type == QMetaType::QVariant ? qMetaTypeId<QDBusVariant>() : type;
}

void append(QDBusArgument &argument, const QVariant &element, bool isVariant)
{
    argument.appendVariant(isVariant ? QVariant::fromValue(QDBusVariant(element)) : element);
}

// A container that cannot hold a replaced value is sent as a QDBusArgument instead. A QDBusArgument
// accepts a file descriptor only if it is already part of a message.
const char *const besideJson = "holds a file descriptor beside JSON, in a value";

} // namespace

// A list or vector of one type.
bool OutgoingMessage::elements(const QVariant &value, const char *signature, int containers,
                               QVariant &replacement)
{
    const char *const elementSignature = signature + 1;
    m_size.addLength();
    m_size.align(MessageSize::alignmentOf(*elementSignature));
    if (!isIterable<Sequential>(value)) {
        return true;
    }
    const auto sequence = value.value<Sequential>();
    const QSequentialIterable elements(sequence);
    if (m_size.addNumbers(elementSignature, elements.size())) {
        return true;
    }

    const bool areVariants = areQVariants(sequence._metaType_id, elementSignature);
    const int before = m_replacements;
    const int descriptorsBefore = m_duplicates.size();
    QVariantList sent;
    for (QVariant element : elements) {
        if (!this->element(element, elementSignature, containers + 1, areVariants)
            || !fits(value)) {
            return false;
        }
        sent.append(element);
    }
    if (m_replacements == before) {
        return true;
    }
    if (m_duplicates.size() != descriptorsBefore) {
        return unsendable(value, besideJson);
    }
    QDBusArgument argument;
    argument.beginArray(elementTypeOf(sequence._metaType_id));
    for (const QVariant &element : qAsConst(sent)) {
        append(argument, element, areVariants);
    }
    argument.endArray();
    replacement = QVariant::fromValue(argument);
    return true;
}

// A map or hash of one type.
bool OutgoingMessage::pairs(const QVariant &value, const char *signature, int containers,
                            QVariant &replacement)
{
    // A key has a basic type.
    const char *const keySignature = signature + 2;
    const char *const valueSignature = signature + 3;
    m_size.addLength();
    m_size.align(8);
    if (!isIterable<Associative>(value)) {
        return true;
    }
    const auto map = value.value<Associative>();
    const QAssociativeIterable entries(map);
    const bool areVariants = areQVariants(map._metaType_id_value, valueSignature);
    const int before = m_replacements;
    const int descriptorsBefore = m_duplicates.size();
    QVariantList keys;
    QVariantList sent;
    for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
        QVariant key = entry.key();
        QVariant content = entry.value();
        m_size.align(8);
        if (!element(key, keySignature, containers, false) // holds no other containers
            || !element(content, valueSignature, containers + 2, areVariants) || !fits(value)) {
            return false;
        }
        keys.append(key);
        sent.append(content);
    }
    if (m_replacements == before) {
        return true;
    }
    if (m_duplicates.size() != descriptorsBefore) {
        return unsendable(value, besideJson);
    }
    QDBusArgument argument;
    argument.beginMap(map._metaType_id_key, elementTypeOf(map._metaType_id_value));
    for (int i = 0; i < keys.size(); ++i) {
        argument.beginMapEntry();
        argument.appendVariant(keys.at(i));
        append(argument, sent.at(i), areVariants);
        argument.endMapEntry();
    }
    argument.endMap();
    replacement = QVariant::fromValue(argument);
    return true;
}

bool OutgoingMessage::element(QVariant &element, const char *signature, int containers,
                              bool isVariant)
{
    QVariant replacement;
    // QtDBus knows these two of the JSON classes. The type of the container says what they become.
    const bool isObject = element.userType() == QMetaType::QJsonObject;
    const bool isArray = element.userType() == QMetaType::QJsonArray;
    if (isVariant) {
        if (!value(element, containers + 1, replacement)) {
            return false;
        }
    } else if ((isObject && std::strncmp(signature, "a{sv}", 5) == 0)
               || (isArray && std::strncmp(signature, "av", 2) == 0)) {
        PlainJson json(maximumContainers, m_size, m_room);
        replacement = isObject ? json.from(element.toJsonValue())
                               : QVariant(json.listFrom(element.toJsonArray()));
        if (json.isTooLarge()) {
            return tooLarge(element);
        }
        QVariant none;
        if (!content(replacement, signature, containers, none)) {
            return false;
        }
        ++m_replacements;
    } else if (!content(element, signature, containers, replacement)) {
        return false;
    }
    if (replacement.isValid()) {
        element = replacement;
    }
    return true;
}

// A structure of the library, or one of a fixed size. A structure of the caller may hold more than
// its type shows.
bool OutgoingMessage::structure(const QVariant &value, const char *signature, int containers,
                                QVariant &replacement)
{
    const int type = value.userType();
    if (type == qMetaTypeId<RunningApplication>()) {
        return within(value, &OutgoingMessage::record<RunningApplication>, containers, replacement);
    }
    if (type == qMetaTypeId<RunningService>()) {
        return within(value, &OutgoingMessage::record<RunningService>, containers, replacement);
    }
    if (type == qMetaTypeId<TaskState>()) {
        return within(value, &OutgoingMessage::record<TaskState>, containers, replacement);
    }
    if (type == qMetaTypeId<AvailableTask>()) {
        return within(value, &OutgoingMessage::record<AvailableTask>, containers, replacement);
    }
    if (type == qMetaTypeId<ActiveTask>()) {
        return within(value, &OutgoingMessage::record<ActiveTask>, containers, replacement);
    }
    m_size.addNumbers(signature, 1);
    return true;
}

template <typename Record> bool OutgoingMessage::record(Record &record, int containers)
{
    const auto look = [&](auto &member) {
        using Member = std::decay_t<decltype(member)>;
        if constexpr (std::is_same_v<Member, QVariantMap>) {
            return entries(member, containers + 1);
        } else if constexpr (std::is_same_v<Member, QString>) {
            m_size.addString(member);
        } else {
            m_size.addNumber(sizeof member);
        }
        return true;
    };
    m_size.align(8);
    return std::apply([&](auto &...members) { return (look(members) && ...); }, membersOf(record));
}

} // namespace Ostrel
