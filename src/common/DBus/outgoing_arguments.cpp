// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/outgoing_message_p.h"

#include "DBus/nesting_p.h"

#include <QtDBus/QDBusMetaType>

// QDBusArgument values in an outgoing message. An argument that the caller has written cannot be
// read. A received argument can. It may be as deep and as large as a whole message.
//
// QtDBus leaks a container that is begun and not ended.
//
// operator>> and the begin functions detach a copy of an argument. asVariant() would advance the
// caller's argument.

namespace Ostrel
{

namespace
{

template <typename Value> Value taken(const QDBusArgument &argument)
{
    Value value{};
    argument >> value;
    return value;
}

} // namespace

bool OutgoingMessage::argument(const QVariant &value, int containers)
{
    const auto argument = value.value<QDBusArgument>();
    const QByteArray signature = argument.currentSignature().toLatin1();
    if (!type(value, signature.constData(), containers)) {
        return false;
    }
    const bool wasReceived = argument.currentType() != QDBusArgument::UnknownType;
    const char *rest = signature.constData();
    return !wasReceived || received(value, argument, rest, containers);
}

bool OutgoingMessage::received(const QVariant &value, const QDBusArgument &argument,
                               const char *&type, int containers)
{
    QVariant replacement; // stays invalid: no received value is JSON
    bool isSendable = true;
    const char *const start = type++;
    switch (*start) {
    case 'a':
        type = start;
        return receivedArray(value, argument, type, containers);
    case '(':
        m_size.align(8);
        argument.beginStructure();
        while (isSendable && *type != ')') {
            isSendable = received(value, argument, type, containers + 1);
        }
        ++type;
        argument.endStructure();
        return isSendable;
    case 'v':
        return this->value(taken<QDBusVariant>(argument).variant(), containers + 1, replacement);
    case 's':
    case 'o':
        m_size.addString(taken<QString>(argument));
        return true;
    case 'g':
        m_size.addSignature(taken<QString>(argument).size());
        return true;
    case 'h':
        return descriptor(value, taken<QDBusUnixFileDescriptor>(argument));
    default:
        break;
    }
    const int size = MessageSize::ofNumber(*start);
    m_size.addNumber(size);
    switch (size) {
    case 1:
        taken<uchar>(argument);
        return true;
    case 2:
        taken<ushort>(argument);
        return true;
    case 4:
        taken<uint>(argument);
        return true;
    default:
        taken<qulonglong>(argument);
        return true;
    }
}

bool OutgoingMessage::receivedArray(const QVariant &value, const QDBusArgument &argument,
                                    const char *&type, int containers)
{
    const char *const element = type + 1;
    bool isSendable = true;
    nestingOf(type);
    m_size.addLength();
    m_size.align(MessageSize::alignmentOf(*element));
    switch (*element) {
    case 'y':
        m_size.add(taken<QByteArray>(argument).size());
        return true;
    case 's': {
        const auto strings = taken<QStringList>(argument);
        for (const QString &string : strings) {
            m_size.addString(string);
        }
        return true;
    }
    case '{':
        argument.beginMap();
        while (isSendable && !argument.atEnd()) {
            m_size.align(8);
            argument.beginMapEntry();
            const char *member = element + 1;
            isSendable = received(value, argument, member, containers) // holds no other containers
                && received(value, argument, member, containers + 2) && fits(value);
            argument.endMapEntry();
        }
        argument.endMap();
        return isSendable;
    default:
        argument.beginArray();
        while (isSendable && !argument.atEnd()) {
            const char *member = element;
            isSendable = received(value, argument, member, containers + 1) && fits(value);
        }
        argument.endArray();
        return isSendable;
    }
}

} // namespace Ostrel
