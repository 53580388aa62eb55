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

// QtDBus reads a value as any type that it is asked for. If the value has another type, QtDBus
// aborts the process, reads stray memory or loops for ever. So every read of structured data checks
// the type first, here.
//
// currentSignature() allocates; currentType() does not, and suffices. All elements of an array have
// one type: each member is checked once, and read without a check in later elements.

namespace Ostrel
{

// Skips the current value, whatever it is. At the end of a container it does nothing.
void skipValue(const QDBusArgument &argument);

// Each reader replaces a member by the current value. A value of another type is skipped, and the
// member gets its default value.
//
// known: whether the value is known to have the member's type. The reader sets it, so that the next
// value of the same type is read without a check.

// Reads "a{sv}". A key that comes more than once is kept as often.
void readMember(const QDBusArgument &argument, QVariantMap &map, bool &known);

// Reads "s", "i" or "u". An enumeration is "u".
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

// Reads the members of the current structure.
template <typename... Members, std::size_t... indices>
void readMembers(const QDBusArgument &argument, const std::tuple<Members &...> &members,
                 std::array<bool, sizeof...(Members)> &known,
                 std::index_sequence<indices...> /*indices*/)
{
    argument.beginStructure();
    (readMember(argument, std::get<indices>(members), known[indices]), ...);
    argument.endStructure();
}

// Reads one structure into the members, in their order. A member that is missing or has another
// type gets its default value. Anything but a structure is skipped.
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

// Replaces the records by those of an array of structures. membersOf returns the members of a
// record as a tuple of references. An array of anything else gives no records. Anything but an
// array is skipped.
template <typename Record, typename MembersOf>
void readStructures(const QDBusArgument &argument, QVector<Record> &records, MembersOf membersOf)
{
    // clear() keeps the capacity, but copies shared records first.
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
