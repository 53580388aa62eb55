// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_OUTGOING_MESSAGE_P_H
#define OSTREL_DBUS_OUTGOING_MESSAGE_P_H

#include "DBus/message_size_p.h"

#include <QtCore/QPair>
#include <QtCore/QVariant>
#include <QtCore/QVector>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusError>
#include <QtDBus/QDBusUnixFileDescriptor>
#include <QtDBus/QDBusVariant>

namespace Ostrel
{

// Checks whether a message can be sent, before QtDBus marshals it. QtDBus aborts the process on a
// value that it cannot marshal. The bus drops a connection that sends too deep or too large a
// message. Every argument of a caller goes through add().
//
// JSON values in maps are replaced by plain values. Nothing else is changed. Usual values allocate
// nothing.
//
// A QDBusArgument that the caller has written and a structure of the caller cannot be inspected.
// Only their types are checked.
class OutgoingMessage
{
public:
    // A call to the object at the path.
    OutgoingMessage(const QDBusConnection &bus, const QString &path);

    // A message that may hold this many bytes after its header.
    explicit OutgoingMessage(qint64 room);

    // Numbers fit into the bytes that are kept for the header.
    static void add(int /*number*/) { }
    void add(const QString &string);
    void add(QVariantMap &map);

    // Why the message cannot be sent; an invalid error if it can.
    QDBusError refusal();

    qint64 bytes() const { return m_size.bytes(); }

private:
    // The containers of a map's value: array, entry and variant. Of a list's value: array and
    // variant.
    static constexpr int containersOfMap = 3;
    static constexpr int containersOfList = 2;

    void addString(const QString &string, qint64 limit);

    // Each of these adds the size of a value, and returns whether the value can be sent. containers
    // is the number of containers around the value. A valid replacement must be sent instead of the
    // value.

    // The value of a variant.
    bool value(const QVariant &value, int containers, QVariant &replacement);
    bool json(const QVariant &value, int containers, QVariant &replacement);
    bool argument(const QVariant &value, int containers);
    bool type(const QVariant &value, const char *signature, int containers);

    // A value of a type that a message can hold. What it contains may still be unsendable.
    bool content(const QVariant &value, const char *signature, int containers,
                 QVariant &replacement);
    bool signature(const QVariant &value, const QString &signature);
    bool descriptor(const QVariant &value, const QDBusUnixFileDescriptor &descriptor);
    bool list(QVariantList &list, int containers);
    bool variant(QDBusVariant &variant, int containers);
    bool elements(const QVariant &value, const char *signature, int containers,
                  QVariant &replacement);
    bool pairs(const QVariant &value, const char *signature, int containers, QVariant &replacement);
    bool element(QVariant &element, const char *signature, int containers, bool isVariant);
    bool structure(const QVariant &value, const char *signature, int containers,
                   QVariant &replacement);
    template <typename Record> bool record(Record &record, int containers);

    // A QVariantMap or QVariantHash, which stays shared with the caller's unless a value is
    // replaced.
    template <typename Map> bool entries(Map &map, int containers);

    // A container of a known type.
    template <typename Container>
    bool within(const QVariant &value, bool (OutgoingMessage::*look)(Container &, int),
                int containers, QVariant &replacement);

    // The current value of a received argument. The argument is part of the given value, which
    // errors name. Moves type past the type of the current value.
    bool received(const QVariant &value, const QDBusArgument &argument, const char *&type,
                  int containers);
    bool receivedArray(const QVariant &value, const QDBusArgument &argument, const char *&type,
                       int containers);

    bool fits(const QVariant &value);

    // These note why the message cannot be sent, and return false.
    bool tooLarge(const QVariant &value);
    bool unsendable(const QVariant &value, const char *what = "holds a value");

    MessageSize m_size;
    const qint64 m_limit; // of the message
    qint64 m_room; // of the current map
    bool m_isLost = false;
    bool m_passesDescriptors = true;
    QString m_key;
    const char *m_what = nullptr; // of the value that was found unsendable
    int m_replacements = 0; // how many values have been replaced
    QVector<QDBusUnixFileDescriptor> m_duplicates; // of the file descriptors in the message
    QDBusError m_refusal;
};

// The error of a request on a lost connection.
QDBusError disconnected();

template <typename Map> bool OutgoingMessage::entries(Map &map, int containers)
{
    const QString outerKey = m_key;
    QVector<QPair<int, QVariant>> replacements;
    int place = 0;
    m_size.addLength();
    m_size.align(8);
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry, ++place) {
        m_key = entry.key();
        m_size.align(8);
        m_size.addString(m_key);
        QVariant replacement;
        if (!value(entry.value(), containers + containersOfMap, replacement)) {
            return false;
        }
        if (replacement.isValid()) {
            replacements.append({place, replacement});
        }
    }
    m_key = outerKey;
    if (replacements.isEmpty()) {
        return true;
    }

    // By position: a key may occur twice.
    auto entry = map.begin();
    place = 0;
    for (const auto &replacement : qAsConst(replacements)) {
        for (; place < replacement.first; ++place) {
            ++entry;
        }
        *entry = replacement.second;
    }
    return true;
}

template <typename Container>
bool OutgoingMessage::within(const QVariant &value, bool (OutgoingMessage::*look)(Container &, int),
                             int containers, QVariant &replacement)
{
    auto container = value.value<Container>();
    const int before = m_replacements;
    if (!(this->*look)(container, containers)) {
        return false;
    }
    if (m_replacements != before) {
        replacement = QVariant::fromValue(container);
    }
    return true;
}

} // namespace Ostrel

#endif
