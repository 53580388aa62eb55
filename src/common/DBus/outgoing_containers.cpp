// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/outgoing_walk_p.h"

#include "DBus/types.h"

#include <QtCore/QAssociativeIterable>
#include <QtCore/QSequentialIterable>
#include <QtDBus/QDBusArgument>

namespace Ostrel
{

namespace
{

// How many bytes the texts of a record take.
qint64 textsOf(const RunningApplication &application)
{
    return MessageSize::utf8Length(application.appId);
}

qint64 textsOf(const RunningService &service)
{
    return MessageSize::utf8Length(service.appId) + MessageSize::utf8Length(service.name);
}

template <typename Task> qint64 textsOf(const Task &task)
{
    return MessageSize::utf8Length(task.name);
}

} // namespace

// A list or vector of one type.
OutgoingWalk::Outcome OutgoingWalk::elements(const QVariant &value, const char *signature,
                                             int containers, QVariant &replacement)
{
    const auto elements = value.value<QSequentialIterable>();
    const char *const elementSignature = signature + 1;
    m_size.addLength();
    if (const int size = MessageSize::ofNumber(*elementSignature)) {
        m_size.align(size);
        m_size.add(qint64(size) * elements.size());
        return Unchanged;
    }
    if (*elementSignature == '(') {
        m_size.align(8);
    }

    Outcome result = Unchanged;
    const int descriptorsBefore = m_descriptors;
    QVariantList sent;
    for (QVariant element : elements) {
        const Outcome outcome = this->element(element, elementSignature, containers + 1);
        if (outcome == Unsendable) {
            return Unsendable;
        }
        if (outcome == Replaced) {
            result = Replaced;
        }
        sent.append(element);
    }
    if (result == Replaced) {
        if (m_descriptors != descriptorsBefore) {
            return unsendableDescriptor(value);
        }
        // A container of this type has no place for what replaces a value; the message has.
        QDBusArgument argument;
        argument.beginArray((*elements.begin()).userType());
        for (const QVariant &element : qAsConst(sent)) {
            argument.appendVariant(element);
        }
        argument.endArray();
        replacement = QVariant::fromValue(argument);
    }
    return result;
}

// A map or hash of one type.
OutgoingWalk::Outcome OutgoingWalk::pairs(const QVariant &value, const char *signature,
                                          int containers, QVariant &replacement)
{
    const auto entries = value.value<QAssociativeIterable>();
    // A key is of a basic type.
    const char *const keySignature = signature + 2;
    const char *const valueSignature = signature + 3;
    m_size.addLengthOfContainers();

    Outcome result = Unchanged;
    const int descriptorsBefore = m_descriptors;
    QVariantList keys;
    QVariantList values;
    for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
        QVariant key = entry.key();
        QVariant content = entry.value();
        m_size.align(8);
        if (element(key, keySignature, containers + 2) == Unsendable) {
            return Unsendable;
        }
        const Outcome outcome = element(content, valueSignature, containers + 2);
        if (outcome == Unsendable) {
            return Unsendable;
        }
        if (outcome == Replaced) {
            result = Replaced;
        }
        keys.append(key);
        values.append(content);
    }
    if (result == Replaced) {
        if (m_descriptors != descriptorsBefore) {
            return unsendableDescriptor(value);
        }
        QDBusArgument argument;
        argument.beginMap(entries.begin().key().userType(), entries.begin().value().userType());
        for (int i = 0; i < keys.size(); ++i) {
            argument.beginMapEntry();
            argument.appendVariant(keys.at(i));
            argument.appendVariant(values.at(i));
            argument.endMapEntry();
        }
        argument.endMap();
        replacement = QVariant::fromValue(argument);
    }
    return result;
}

OutgoingWalk::Outcome OutgoingWalk::element(QVariant &element, const char *signature,
                                            int containers)
{
    QVariant replacement;
    const Outcome outcome = content(element, signature, containers, replacement);
    if (outcome == Replaced) {
        element = replacement;
    }
    return outcome;
}

template <typename Record>
OutgoingWalk::Outcome OutgoingWalk::properties(Record &record, int containers)
{
    m_size.add(textsOf(record) + 32);
    return entries(record.properties, containers + 1);
}

// The library's own structures. Those of a caller cannot be looked into.
OutgoingWalk::Outcome OutgoingWalk::record(const QVariant &value, int containers,
                                           QVariant &replacement)
{
    const auto look = [&](auto record) {
        using Record = decltype(record);
        return within(value, &OutgoingWalk::properties<Record>, containers, replacement);
    };
    const int type = value.userType();
    if (type == qMetaTypeId<RunningApplication>()) {
        return look(RunningApplication());
    }
    if (type == qMetaTypeId<RunningService>()) {
        return look(RunningService());
    }
    if (type == qMetaTypeId<TaskState>()) {
        return look(TaskState());
    }
    if (type == qMetaTypeId<AvailableTask>()) {
        return look(AvailableTask());
    }
    if (type == qMetaTypeId<ActiveTask>()) {
        return look(ActiveTask());
    }
    return Unchanged;
}

} // namespace Ostrel
