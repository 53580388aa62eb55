// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "environment.h"
#include "require.h"

#include "DBus/types_json_p.h"
#include "DBus/types_p.h"

#include <QtCore/QVariantMap>
#include <QtDBus/QDBusMetaType>

#include <algorithm>
#include <tuple>
#include <vector>

// Every reader of bus data reads a received value of any type. None may crash, hang, leak, or warn
// of a type that it does not refuse. Each must skip exactly this value.

namespace
{

// Where a value begins in a message. Copies of a QDBusArgument are read independently, so every
// reader begins at the same place.
struct Place
{
    QDBusArgument argument;
    const WireMessage &sent;

    template <typename Target> Target read(Target target) const
    {
        const QDBusArgument copy(argument);
        if (sent.isStructure) {
            copy.beginStructure();
        }
        require(copy.currentSignature() == sent.type.c_str(), "the value has its type");
        const QDBusArgument &returned = copy >> target;
        require(&returned == &copy, "a reader returns its argument");
        require(copy.currentSignature() == "s", "the reader steps over one value");
        QString marker;
        copy >> marker;
        require(marker == "marker", "the marker comes next");
        require(copy.atEnd(), "nothing follows the marker");
        if (sent.isStructure) {
            copy.endStructure();
        }
        return target;
    }
};

// Records that already hold something: a member that a reader leaves out is seen.

auto membersOf(Ostrel::RunningApplication &record)
{
    return std::tie(record.appId, record.pid, record.state, record.kind, record.properties);
}

auto membersOf(Ostrel::RunningService &record)
{
    return std::tie(record.appId, record.name, record.pid, record.state, record.properties);
}

auto membersOf(Ostrel::TaskState &record)
{
    return std::tie(record.name, record.state, record.properties);
}

auto membersOf(Ostrel::AvailableTask &record)
{
    return std::tie(record.name, record.properties);
}

auto membersOf(Ostrel::ActiveTask &record)
{
    return std::tie(record.name, record.pid, record.properties);
}

void fill(QString &member)
{
    member = "old";
}

void fill(QVariantMap &member)
{
    member.insert("old", 1);
}

template <typename Number> void fill(Number &member)
{
    member = static_cast<Number>(99);
}

template <typename Record> Record filled()
{
    Record record{};
    std::apply([](auto &...member) { (fill(member), ...); }, membersOf(record));
    return record;
}

// A member of a structure, as Qt reads it without knowing the type.
struct Member
{
    std::string type;
    QVariant value;
};

std::vector<Member> membersAt(const Place &place)
{
    std::vector<Member> members;
    const QDBusArgument copy(place.argument);
    if (place.sent.isStructure) {
        copy.beginStructure();
    }
    if (copy.currentType() == QDBusArgument::StructureType) {
        copy.beginStructure();
        while (!copy.atEnd()) {
            const std::string type = copy.currentSignature().toStdString();
            members.push_back({type, copy.asVariant()});
        }
        copy.endStructure();
    }
    // A container that is begun and not ended leaks.
    if (place.sent.isStructure) {
        copy.endStructure();
    }
    return members;
}

void requireMember(const QString &member, const Member *sent)
{
    require(member == (sent != nullptr && sent->type == "s" ? sent->value.toString() : QString()),
            "a record has the string that was sent");
}

void requireMember(const QVariantMap &member, const Member *sent)
{
    const bool fits = sent != nullptr && sent->type == "a{sv}";
    const auto expected = fits ? qdbus_cast<QVariantMap>(sent->value) : QVariantMap();
    require(std::equal(member.keyBegin(), member.keyEnd(), expected.keyBegin(), expected.keyEnd()),
            "a record has the map that was sent");
}

void requireMember(qint32 member, const Member *sent)
{
    require(member == (sent != nullptr && sent->type == "i" ? sent->value.toInt() : 0),
            "a record has the signed number that was sent");
}

void requireMember(quint32 member, const Member *sent)
{
    require(member == (sent != nullptr && sent->type == "u" ? sent->value.toUInt() : 0U),
            "a record has the unsigned number that was sent");
}

// A member that has its own type on the wire must be read. Any other one must have its default
// value.
template <typename Record> void requireMembers(Record record, const std::vector<Member> &sent)
{
    std::size_t index = 0;
    const auto next = [&sent, &index] {
        const std::size_t i = index++;
        return i < sent.size() ? &sent[i] : nullptr;
    };
    std::apply([&next](auto &...member) { (requireMember(member, next()), ...); },
               membersOf(record));
}

template <typename Record> void readRecords(const Place &place, const std::vector<Member> &members)
{
    requireMembers(place.read(filled<Record>()), members);

    const auto records = place.read(QVector<Record>(2, filled<Record>()));
    const bool ofStructures = place.sent.type.compare(0, 2, "a(") == 0;
    require(records.size() == (ofStructures ? place.sent.length : 0),
            "a vector has a record for each structure of an array");
}

// Returns the keys of a map as Qt reads them without knowing the type, each once and in order.
QStringList keysAt(const Place &place)
{
    QMap<QString, bool> keys;
    const QDBusArgument copy(place.argument);
    if (place.sent.isStructure) {
        copy.beginStructure();
    }
    copy.beginMap();
    while (!copy.atEnd()) {
        copy.beginMapEntry();
        keys.insert(copy.asVariant().toString(), true);
        copy.endMapEntry();
    }
    copy.endMap();
    if (place.sent.isStructure) {
        copy.endStructure();
    }
    return keys.keys();
}

// Some types have another string as a key than as a variant; those are left out.
bool hasPlainKeys(const std::string &type)
{
    return type.compare(0, 2, "a{") == 0 && type[2] != 'o' && type[2] != 'g';
}

void readJson(const Place &place)
{
    const QJsonValue old("old");
    const auto value = place.read(old);
    const auto object = place.read(QJsonObject{{"old", old}});
    const auto array = place.read(QJsonArray{old});

    const std::string &type = place.sent.type;
    if (type.front() == '(') {
        require(value == old, "a structure leaves a JSON value as it was");
    }
    if (type.compare(0, 2, "a{") == 0) {
        require(value == object, "both readers of a JSON object agree");
        require(!hasPlainKeys(type) || object.keys() == keysAt(place),
                "a JSON object has the keys of the map");
    } else {
        require(object.contains("old"), "anything but a map leaves an object");
    }
    if (type.front() != 'a' || type[1] == '{') {
        require(array == QJsonArray{old}, "anything but an array leaves an array");
    } else {
        require(array.size() == place.sent.length, "a JSON array has each element");
        require(type == "as" || type == "ay" || value == array,
                "both readers of a JSON array agree");
    }
}

template <typename... Types> void cast(const QVariant &value)
{
    (qdbus_cast<Types>(value), ...);
}

// Reads a value as the values of replies and of property maps are read.
void readAsAnyType(const QVariant &value)
{
    cast<Ostrel::RunningApplication, Ostrel::RunningService, Ostrel::TaskState,
         Ostrel::AvailableTask, Ostrel::ActiveTask, QVector<Ostrel::RunningApplication>,
         QVector<Ostrel::RunningService>, QVector<Ostrel::TaskState>,
         QVector<Ostrel::AvailableTask>, QVector<Ostrel::ActiveTask>, QJsonValue, QJsonObject,
         QJsonArray>(value);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    // The second one is Qt's: it warns of an empty signature, which D-Bus allows.
    Peer &peer = sharedPeer({"Unsupported type:  \"", "QDBusSignature: invalid signature \"\""});
    Ostrel::registerDBusTypes();
    Bytes bytes(data, size);
    const WireMessage sent = takeMessage(bytes);
    const QVariantList arguments = peer.toQt(sent.message.get()).arguments();

    const QVariant &first = arguments.constFirst();
    if (!sent.isStructure) {
        readAsAnyType(first);
    }
    // Qt has already read a basic type, so there is nothing to read from.
    if (first.userType() != qMetaTypeId<QDBusArgument>()) {
        return 0;
    }
    const Place place{first.value<QDBusArgument>(), sent};
    readJson(place);
    const std::vector<Member> members = membersAt(place);
    readRecords<Ostrel::RunningApplication>(place, members);
    readRecords<Ostrel::RunningService>(place, members);
    readRecords<Ostrel::TaskState>(place, members);
    readRecords<Ostrel::AvailableTask>(place, members);
    readRecords<Ostrel::ActiveTask>(place, members);
    if (sent.type == "a{sv}") {
        const auto map = place.read(QVariantMap());
        for (const QVariant &value : map) {
            readAsAnyType(value);
        }
    }
    return 0;
}
