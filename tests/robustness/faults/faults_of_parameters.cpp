// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "fault.h"

#include <QtCore/QJsonArray>
#include <QtCore/QUrl>
#include <QtDBus/QDBusSignature>
#include <QtDBus/QDBusUnixFileDescriptor>
#include <QtDBus/QDBusVariant>

// A caller passes a map that cannot be sent. QtDBus would abort the process, or the bus would drop
// the connection.

namespace
{

// The value has the key "key".
Fault refused(const char *label, const QVariant &value, const char *problem)
{
    Fault fault{label};
    fault.concerns = [](const Operation &operation) {
        return operation.name == "startDebug" || operation.name == "taskStart";
    };
    fault.before = [value](Rig &rig, const Operation & /*operation*/) {
        rig.parameters = {{"key", value}};
    };
    const QString message = "Marshalling failed: \"key\" " + QLatin1String(problem);
    fault.expected = [message](const Operation &operation) {
        return operation.seenFailure({1, QString(), message});
    };
    return fault;
}

QVariant inLists(int levels)
{
    QVariant value = 1;
    for (int level = 0; level < levels; ++level) {
        value = QVariantList{value};
    }
    return value;
}

QVariant inMixedArrays(int levels)
{
    QJsonValue value = 1;
    for (int level = 0; level < levels; ++level) {
        value = QJsonArray{"x", value};
    }
    return value;
}

// Small in memory, but larger than any message on the bus.
QVariant sharedLists()
{
    QVariant value = 1;
    for (int level = 0; level < 20; ++level) {
        value = QVariantList{value, value, value, value};
    }
    return value;
}

} // namespace

std::vector<Fault> faultsOfParameters()
{
    QVariantList descriptors;
    for (int i = 0; i < 17; ++i) {
        descriptors.append(QVariant::fromValue(QDBusUnixFileDescriptor(0)));
    }
    // It is refused before the bus is needed.
    Fault withoutBus =
        refused("a parameter of no type, without a bus", QVariant(), "holds a value of type none");
    withoutBus.place = Fault::OwnProcessWithoutBus;
    return {
        withoutBus,
        refused("a parameter of no type", QVariant(), "holds a value of type none"),
        refused("a parameter of a type that QtDBus does not know", QUrl(),
                "holds a value of type QUrl"),
        refused("a parameter with a variant of nothing",
                QVariant::fromValue(QDBusVariant(QVariant())), "holds a value of type none"),
        refused("a JSON null as a parameter", QJsonValue(), "holds a value of type QJsonValue"),
        refused("JSON arrays of arrays as a parameter", QJsonArray{QJsonArray{1}, QJsonArray{2}},
                "holds a value of type QJsonArray"),
        refused("a parameter that is nested too deeply", inLists(31),
                "is nested too deeply for a message, with a value of type QVariantList"),
        refused("JSON that is nested too deeply as a parameter", inMixedArrays(31),
                "is nested too deeply for a message, with a value of type QJsonValue"),
        refused("a parameter that holds the same part too often", sharedLists(),
                "is too large for a message, with a value of type int"),
        refused("too long a signature as a parameter",
                QVariant::fromValue(QDBusSignature(QString(256, 'i'))),
                "holds a value of type QDBusSignature"),
        refused("too many file descriptors in a parameter", descriptors,
                "holds one file descriptor too many, in a value of type QDBusUnixFileDescriptor"),
    };
}
