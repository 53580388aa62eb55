// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_GUARDED_READER_P_H
#define OSTREL_DBUS_GUARDED_READER_P_H

#include <QtCore/QString>
#include <QtCore/QVariantMap>
#include <QtCore/QVector>
#include <QtDBus/QDBusArgument>

#include <tuple>
#include <type_traits>
#include <utility>

// QtDBus reads a value as whatever type it is asked for; when the value is of another one, it
// aborts the process, reads stray memory or goes round for ever. Every read of structured data
// goes through here and looks at the signature first.
//
// Asking for a signature allocates, so a whole structure is compared at once, and a whole array by
// its own signature; the members are looked at one by one only when that comparison fails.

namespace Ostrel
{

// Steps over the value at which the argument stands, whatever it is. At an end it does nothing.
void skipValue(const QDBusArgument &argument);

// The D-Bus signature of one member of a record.
template <typename Member> constexpr QLatin1String memberSignature()
{
    if constexpr (std::is_enum_v<Member>) {
        static_assert(std::is_same_v<std::underlying_type_t<Member>, quint32>);
        return QLatin1String("u");
    } else if constexpr (std::is_same_v<Member, quint32>) {
        return QLatin1String("u");
    } else if constexpr (std::is_same_v<Member, qint32>) {
        return QLatin1String("i");
    } else if constexpr (std::is_same_v<Member, QString>) {
        return QLatin1String("s");
    } else {
        static_assert(std::is_same_v<Member, QVariantMap>);
        return QLatin1String("a{sv}");
    }
}

// Reads a member where the signature is known to be the right one.
template <typename Member> void readPlainly(const QDBusArgument &argument, Member &member)
{
    if constexpr (std::is_enum_v<Member>) {
        quint32 number = 0;
        argument >> number;
        member = static_cast<Member>(number);
    } else {
        argument >> member;
    }
}

// Reads a member only when the argument stands at its signature; otherwise the member gets its
// default value, and what stands there is stepped over.
template <typename Member> void readGuarded(const QDBusArgument &argument, Member &member)
{
    if (argument.currentType() != QDBusArgument::UnknownType
        && argument.currentSignature() == memberSignature<Member>()) {
        readPlainly(argument, member);
    } else {
        member = Member{};
        skipValue(argument);
    }
}

// "(siu)" and the like, built once for each list of members.
template <typename... Members>
const QString &structureSignature(const std::tuple<Members &...> & /*members*/)
{
    static const QString signature =
        QLatin1Char('(') + (QString() + ... + memberSignature<Members>()) + QLatin1Char(')');
    return signature;
}

template <typename... Members>
void readStructurePlainly(const QDBusArgument &argument, const std::tuple<Members &...> &members)
{
    argument.beginStructure();
    std::apply([&](auto &...member) { (readPlainly(argument, member), ...); }, members);
    argument.endStructure();
}

template <typename... Members>
void readStructureGuarded(const QDBusArgument &argument, const std::tuple<Members &...> &members)
{
    argument.beginStructure();
    std::apply([&](auto &...member) { (readGuarded(argument, member), ...); }, members);
    argument.endStructure();
}

// Reads one structure into the members, in their order. Members that the structure does not hold,
// or holds with another type, get default values; anything but a structure is stepped over.
template <typename... Members>
void readStructure(const QDBusArgument &argument, const std::tuple<Members &...> &members)
{
    if (argument.currentType() != QDBusArgument::StructureType) {
        std::apply([](auto &...member) { ((member = std::decay_t<decltype(member)>{}), ...); },
                   members);
        skipValue(argument);
    } else if (argument.currentSignature() == structureSignature(members)) {
        readStructurePlainly(argument, members);
    } else {
        readStructureGuarded(argument, members);
    }
}

// Replaces the records by those of an array of structures. membersOf gives a record's members as a
// tuple of references. An array of anything else gives no records; anything but an array is stepped
// over.
template <typename Record, typename MembersOf>
void readStructures(const QDBusArgument &argument, QVector<Record> &records, MembersOf membersOf)
{
    // The old records may be shared; clear() would copy them first.
    records = QVector<Record>();
    if (argument.currentType() != QDBusArgument::ArrayType) {
        skipValue(argument);
        return;
    }

    // All elements of an array are of one type.
    Record sample{};
    const bool expected =
        argument.currentSignature() == QLatin1Char('a') + structureSignature(membersOf(sample));
    argument.beginArray();
    while (!argument.atEnd() && argument.currentType() == QDBusArgument::StructureType) {
        Record record{};
        if (expected) {
            readStructurePlainly(argument, membersOf(record));
        } else {
            readStructureGuarded(argument, membersOf(record));
        }
        records.append(std::move(record));
    }
    argument.endArray();
}

} // namespace Ostrel

#endif
