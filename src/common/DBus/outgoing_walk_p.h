// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_OUTGOING_WALK_P_H
#define OSTREL_DBUS_OUTGOING_WALK_P_H

#include "DBus/message_size_p.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonValue>
#include <QtCore/QPair>
#include <QtCore/QVariant>
#include <QtCore/QVector>
#include <QtDBus/QDBusVariant>

namespace Ostrel
{

// Looks in depth at the values of a map that is to be sent. The usual ones cost neither memory nor
// a second look.
//
// There is no looking into a QDBusArgument, nor into a caller's own type that is no container.
class OutgoingWalk
{
public:
    enum Outcome {
        Unchanged,
        Replaced,
        Unsendable
    };

    explicit OutgoingWalk(qint64 room)
        : m_room(room)
    {
    }

    // Looks at a QVariantMap or QVariantHash, which stays shared with the caller's as long as
    // nothing has to be replaced.
    template <typename Map> Outcome entries(Map &map, int containers);

    qint64 bytes() const { return m_size.bytes(); }

    // What was found unsendable.
    QString problem() const { return m_problem; }

private:
    // A value in a map stands in a variant in an entry in an array; one in a list in a variant in
    // an array.
    static constexpr int containersOfMap = 3;
    static constexpr int containersOfList = 2;

    // Below a mixed array, there are only variants.
    enum JsonPlace {
        InVariant,
        InVariantOfMixedArray,
        InArrayOfOneType
    };

    Outcome value(const QVariant &value, int containers, QVariant &replacement);
    Outcome type(const QVariant &value, const char *signature, int containers);
    Outcome content(const QVariant &value, const char *signature, int containers,
                    QVariant &replacement);
    Outcome element(QVariant &element, const char *signature, int containers);

    Outcome text(const QVariant &value, const QString &text);
    Outcome list(QVariantList &list, int containers);
    Outcome variant(QDBusVariant &variant, int containers);
    Outcome elements(const QVariant &value, const char *signature, int containers,
                     QVariant &replacement);
    Outcome pairs(const QVariant &value, const char *signature, int containers,
                  QVariant &replacement);
    Outcome record(const QVariant &value, int containers, QVariant &replacement);

    Outcome json(const QVariant &value, int containers, QVariant &replacement);
    bool jsonFits(const QJsonValue &value, int containers, int depth, JsonPlace place);
    bool jsonArrayFits(const QJsonArray &array, int containers, int depth, JsonPlace place);

    // Looks at a container of a known type in a value.
    template <typename Container>
    Outcome within(const QVariant &value, Outcome (OutgoingWalk::*look)(Container &, int),
                   int containers, QVariant &replacement);
    template <typename Record> Outcome properties(Record &record, int containers);

    Outcome tooDeep(const QVariant &value);
    Outcome unsendable(const QVariant &value);
    Outcome unsendable(const QString &what, const QVariant &value);
    Outcome unsendableDescriptor(const QVariant &value);

    MessageSize m_size;
    const qint64 m_room;
    QString m_key;
    QString m_problem;
    int m_descriptors = 0; // so many file descriptors have been met
};

template <typename Map> OutgoingWalk::Outcome OutgoingWalk::entries(Map &map, int containers)
{
    const QString outerKey = m_key;
    QVector<QPair<int, QVariant>> replacements;
    int place = 0;
    m_size.addLengthOfContainers();
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry, ++place) {
        m_key = entry.key();
        m_size.align(8);
        m_size.addText(m_key);
        QVariant replacement;
        const Outcome outcome = value(entry.value(), containers + containersOfMap, replacement);
        if (outcome == Unsendable) {
            return Unsendable;
        }
        if (outcome == Replaced) {
            replacements.append({place, replacement});
        }
    }
    m_key = outerKey;
    if (replacements.isEmpty()) {
        return Unchanged;
    }

    // By their places: a key may come twice.
    auto entry = map.begin();
    place = 0;
    for (const auto &replacement : qAsConst(replacements)) {
        for (; place < replacement.first; ++place) {
            ++entry;
        }
        *entry = replacement.second;
    }
    return Replaced;
}

template <typename Container>
OutgoingWalk::Outcome OutgoingWalk::within(const QVariant &value,
                                           Outcome (OutgoingWalk::*look)(Container &, int),
                                           int containers, QVariant &replacement)
{
    auto container = value.value<Container>();
    const Outcome outcome = (this->*look)(container, containers);
    if (outcome == Replaced) {
        replacement = QVariant::fromValue(container);
    }
    return outcome;
}

} // namespace Ostrel

#endif
