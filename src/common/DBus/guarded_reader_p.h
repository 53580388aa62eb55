// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_GUARDED_READER_P_H
#define OSTREL_DBUS_GUARDED_READER_P_H

#include <QtCore/QString>
#include <QtCore/QVariantMap>
#include <QtCore/QVector>
#include <QtDBus/QDBusArgument>

#include <array>
#include <cstddef>
#include <tuple>
#include <type_traits>
#include <utility>

// QtDBus reads a value as whatever type it is asked for; when the value is of another one, it
// aborts the process, reads stray memory or goes round for ever. Every read of structured data
// goes through here and looks at the type first.
//
// Asking for a signature allocates. The kind of a value and, of a basic one, the type as which it
// comes out do not, and they tell as much. All elements of an array are of one type, so that it is
// looked at once for each member, and read plainly from then on.

namespace Ostrel
{

// Steps over the value at which the argument stands, whatever it is. At an end it does nothing.
void skipValue(const QDBusArgument &argument);

// The readers of members: each replaces the member by the value at which the argument stands.
// A value of another type is stepped over, and the member gets its default value.
//
// known tells whether the value is known to be of the member's type, and learns it: the next value
// of the same type is read without looking.

// Reads "a{sv}". A key that comes more than once stays in the map as often.
void readMember(const QDBusArgument &argument, QVariantMap &map, bool &known);

// Reads "s", "i" or "u"; an enumeration is "u".
template <typename Member>
void readMember(const QDBusArgument &argument, Member &member, bool &known)
{
    using Wire = std::conditional_t<std::is_enum_v<Member>, quint32, Member>;
    static_assert(
        std::is_same_v<Wire,
                       quint32> || std::is_same_v<Wire, qint32> || std::is_same_v<Wire, QString>);
    if constexpr (std::is_enum_v<Member>) {
        static_assert(std::is_same_v<std::underlying_type_t<Member>, quint32>);
    }

    Wire value{};
    if (known) {
        argument >> value;
    } else if (argument.currentType() == QDBusArgument::BasicType) {
        const QVariant basic = argument.asVariant();
        known = basic.userType() == qMetaTypeId<Wire>();
        if (known) {
            value = basic.value<Wire>();
        }
    } else {
        skipValue(argument);
    }
    member = static_cast<Member>(std::move(value));
}

// Reads the members of the structure at which the argument stands. What is known of them is told
// and learnt member by member.
template <typename... Members, std::size_t... indices>
void readMembers(const QDBusArgument &argument, const std::tuple<Members &...> &members,
                 std::array<bool, sizeof...(Members)> &known,
                 std::index_sequence<indices...> /*indices*/)
{
    argument.beginStructure();
    (readMember(argument, std::get<indices>(members), known[indices]), ...);
    argument.endStructure();
}

// Reads one structure into the members, in their order. Members that the structure does not hold,
// or holds with another type, get default values; anything but a structure is stepped over.
template <typename... Members>
void readStructure(const QDBusArgument &argument, const std::tuple<Members &...> &members)
{
    if (argument.currentType() == QDBusArgument::StructureType) {
        std::array<bool, sizeof...(Members)> known{};
        readMembers(argument, members, known, std::index_sequence_for<Members...>());
    } else {
        std::apply([](auto &...member) { ((member = std::decay_t<decltype(member)>{}), ...); },
                   members);
        skipValue(argument);
    }
}

// Replaces the records by those of an array of structures. membersOf gives a record's members as a
// tuple of references. An array of anything else gives no records; anything but an array is stepped
// over.
template <typename Record, typename MembersOf>
void readStructures(const QDBusArgument &argument, QVector<Record> &records, MembersOf membersOf)
{
    // Room that is there is used again. Where the old records are shared, clear() would copy them
    // first.
    if (records.isDetached()) {
        records.clear();
    } else {
        records = QVector<Record>();
    }
    if (argument.currentType() != QDBusArgument::ArrayType) {
        skipValue(argument);
        return;
    }

    using Members = decltype(membersOf(std::declval<Record &>()));
    constexpr std::size_t size = std::tuple_size_v<Members>;
    std::array<bool, size> known{};
    argument.beginArray();
    if (argument.currentType() == QDBusArgument::StructureType) {
        while (!argument.atEnd()) {
            Record record{};
            readMembers(argument, membersOf(record), known, std::make_index_sequence<size>());
            records.append(std::move(record));
        }
    }
    argument.endArray();
}

} // namespace Ostrel

#endif
