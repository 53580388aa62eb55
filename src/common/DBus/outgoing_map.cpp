// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/outgoing_map_p.h"

#include "DBus/nesting_p.h"
#include "DBus/types.h"
#include "DBus/types_json_p.h"

#include <QtCore/QAssociativeIterable>
#include <QtCore/QPair>
#include <QtCore/QSequentialIterable>
#include <QtCore/QVariantHash>
#include <QtCore/QVector>
#include <QtDBus/QDBusMetaType>
#include <QtDBus/QDBusUnixFileDescriptor>
#include <QtDBus/QDBusVariant>

#include <algorithm>
#include <cstring>

namespace Ostrel
{

namespace
{

// How many containers may stand within one another in an argument of a message.
constexpr int maximumContainers = 64;

// A value in a map stands in a variant in an entry in an array; one in a list in a variant in an
// array.
constexpr int containersOfMap = 3;
constexpr int containersOfList = 2;

// An array of one type takes one less, which may refuse what would just pass.
int containersIn(const QJsonValue &value)
{
    int inner = 0;
    const QJsonArray array = value.toArray();
    for (const QJsonValue &element : array) {
        inner = std::max(inner, containersOfList + containersIn(element));
    }
    const QJsonObject object = value.toObject();
    for (const QJsonValue &content : object) {
        inner = std::max(inner, containersOfMap + containersIn(content));
    }
    return inner;
}

// Whether the value has a type for the bus, but is none of it. Qt refuses a message with such a
// value, and loses memory over it.
bool isInvalid(const QVariant &value)
{
    const int type = value.userType();
    return (type == qMetaTypeId<QDBusObjectPath>()
            && value.value<QDBusObjectPath>().path().isEmpty())
        || (type == qMetaTypeId<QDBusSignature>()
            && value.value<QDBusSignature>().signature().isEmpty())
        || (type == qMetaTypeId<QDBusUnixFileDescriptor>()
            && !value.value<QDBusUnixFileDescriptor>().isValid());
}

// Nearly all that is sent is of these types, which any message can hold just as they are. None
// takes more than one container.
bool isPlain(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::Bool:
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::QString:
    case QMetaType::QStringList:
    case QMetaType::QByteArray:
        return true;
    default:
        return false;
    }
}

// Looks at the values of a map in depth.
class Walk
{
public:
    enum Outcome {
        Unchanged,
        Replaced,
        Unsendable
    };

    Outcome map(QVariantMap &map, int containers)
    {
        // The map is shared with the caller's as long as nothing has to be replaced.
        QVector<QPair<QString, QVariant>> replacements;
        const bool hasRoom = containers + containersOfMap < maximumContainers;
        for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
            if (hasRoom && isPlain(entry.value())) {
                continue;
            }
            m_key = entry.key();
            QVariant content = entry.value();
            const Outcome outcome = value(content, containers + containersOfMap);
            if (outcome == Unsendable) {
                return Unsendable;
            }
            if (outcome == Replaced) {
                replacements.append({entry.key(), content});
            }
        }
        for (const auto &replacement : qAsConst(replacements)) {
            map.insert(replacement.first, replacement.second);
        }
        return replacements.isEmpty() ? Unchanged : Replaced;
    }

    // What was found unsendable.
    QString problem() const { return m_problem; }

private:
    Outcome list(QVariantList &list, int containers)
    {
        Outcome result = Unchanged;
        // A range would detach the list.
        for (int i = 0; i < list.size(); ++i) { // NOLINT(modernize-loop-convert)
            QVariant element = list.at(i);
            const Outcome outcome = value(element, containers + containersOfList);
            if (outcome == Unsendable) {
                return Unsendable;
            }
            if (outcome == Replaced) {
                list[i] = element;
                result = Replaced;
            }
        }
        return result;
    }

    Outcome value(QVariant &value, int containers)
    {
        if (containers > maximumContainers) {
            return tooDeep(value);
        }
        const int type = value.userType();
        if (type == QMetaType::QVariantMap) {
            return replaced<QVariantMap>(value, &Walk::map, containers);
        }
        if (type == QMetaType::QVariantHash) {
            return replaced<QVariantHash>(value, &Walk::hash, containers);
        }
        if (type == QMetaType::QVariantList) {
            return replaced<QVariantList>(value, &Walk::list, containers);
        }
        if (type == qMetaTypeId<QDBusVariant>()) {
            return replaced<QDBusVariant>(value, &Walk::variant, containers);
        }
        if (type == QMetaType::QJsonValue || type == QMetaType::QJsonObject
            || type == QMetaType::QJsonArray) {
            return json(value, containers);
        }
        const QByteArray signature = type == qMetaTypeId<QDBusArgument>()
            ? value.value<QDBusArgument>().currentSignature().toLatin1()
            : QByteArray(QDBusMetaType::typeToSignature(type));
        if (signature.isEmpty() || isInvalid(value)) {
            return unsendable(QStringLiteral("holds a value"), value);
        }
        // Only these can be wrong, and what has been written into an argument is right.
        const bool mayBeWrong = std::strpbrk(signature.constData(), "vogh") != nullptr;
        if (mayBeWrong && type != qMetaTypeId<QDBusArgument>()) {
            const Outcome outcome = inside(value, containers);
            if (outcome != Unchanged) {
                return outcome;
            }
        }
        const char *rest = signature.constData();
        const Nesting nesting = nestingOf(rest);
        if (nesting.isTooDeep() || containers + nesting.containers > maximumContainers) {
            return tooDeep(value);
        }
        // A variant holds one value; an argument may have been given several.
        return *rest == '\0' ? Unchanged
                             : unsendable(QStringLiteral("holds several values"), value);
    }

    // What the value itself holds in variants: its type says that it can be sent, and not more. Of
    // a type of the caller's own that is no container, only its writer knows.
    Outcome inside(const QVariant &value, int containers)
    {
        const int type = value.userType();
        const QString key = m_key;
        Outcome result = Unchanged;
        const auto look = [&](QVariant content, int around) {
            if (result == Unchanged) {
                result = this->value(content, containers + around);
            }
            if (result == Replaced) {
                // There is no place for what would replace it.
                m_key = key;
                result = unsendable(QStringLiteral("holds a JSON value"), value);
            }
        };
        if (type == qMetaTypeId<RunningApplication>()) {
            look(value.value<RunningApplication>().properties, 1);
        } else if (type == qMetaTypeId<RunningService>()) {
            look(value.value<RunningService>().properties, 1);
        } else if (type == qMetaTypeId<TaskState>()) {
            look(value.value<TaskState>().properties, 1);
        } else if (type == qMetaTypeId<AvailableTask>()) {
            look(value.value<AvailableTask>().properties, 1);
        } else if (type == qMetaTypeId<ActiveTask>()) {
            look(value.value<ActiveTask>().properties, 1);
        } else if (value.canConvert<QVariantList>()) {
            const auto elements = value.value<QSequentialIterable>();
            for (const QVariant &element : elements) {
                look(element, 1);
            }
        } else if (value.canConvert<QVariantMap>()) {
            const auto entries = value.value<QAssociativeIterable>();
            for (const QVariant &content : entries) {
                look(content, 2);
            }
        }
        return result;
    }

    Outcome hash(QVariantHash &hash, int containers)
    {
        QVariantMap sorted;
        for (auto entry = hash.cbegin(); entry != hash.cend(); ++entry) {
            sorted.insert(entry.key(), entry.value());
        }
        const Outcome outcome = map(sorted, containers);
        if (outcome == Replaced) {
            for (auto entry = sorted.cbegin(); entry != sorted.cend(); ++entry) {
                hash.insert(entry.key(), entry.value());
            }
        }
        return outcome;
    }

    Outcome variant(QDBusVariant &variant, int containers)
    {
        QVariant content = variant.variant();
        const Outcome outcome = value(content, containers + 1);
        variant.setVariant(content);
        return outcome;
    }

    Outcome json(QVariant &value, int containers)
    {
        const QJsonValue json = value.toJsonValue();
        if (containers + containersIn(json) > maximumContainers) {
            return tooDeep(value);
        }
        // A Null has no form in a variant, and Qt complains of the attempt.
        QDBusArgument argument;
        if (!json.isNull()) {
            argument << json;
        }
        if (argument.currentSignature().isEmpty()) {
            return unsendable(QStringLiteral("holds a value"), value);
        }
        value = QVariant::fromValue(argument);
        return Replaced;
    }

    template <typename Container>
    Outcome replaced(QVariant &value, Outcome (Walk::*walk)(Container &, int), int containers)
    {
        auto container = value.value<Container>();
        const Outcome outcome = (this->*walk)(container, containers);
        if (outcome == Replaced) {
            value = QVariant::fromValue(container);
        }
        return outcome;
    }

    Outcome tooDeep(const QVariant &value)
    {
        return unsendable(QStringLiteral("is nested too deeply for a message, with a value"),
                          value);
    }

    Outcome unsendable(const QString &what, const QVariant &value)
    {
        m_problem = QStringLiteral("Marshalling failed: \"%1\" %2 of type %3")
                        .arg(m_key, what,
                             value.isValid() ? QString::fromLatin1(value.typeName())
                                             : QStringLiteral("none"));
        return Unsendable;
    }

    QString m_key;
    QString m_problem;
};

} // namespace

QDBusError makeSendable(QVariantMap &map)
{
    Walk walk;
    if (walk.map(map, 0) == Walk::Unsendable) {
        return QDBusError(QDBusError::Failed, walk.problem());
    }
    return {};
}

} // namespace Ostrel
