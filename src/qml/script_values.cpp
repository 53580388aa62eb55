// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "script_values.h"

#include <QtCore/QStringList>
#include <QtQml/QJSEngine>
#include <QtQml/QJSValueIterator>

#include <algorithm>
#include <limits>

namespace Ostrel
{

namespace
{

// A message holds at most 64 nested containers. An object that holds itself would not end.
constexpr int maximumDepth = 64;

class Reader
{
public:
    explicit Reader(QJSEngine *engine)
        : m_objects(engine->globalObject()
                        .property(QStringLiteral("Object"))
                        .property(QStringLiteral("prototype")))
    {
    }

    bool isTooDeep() const { return m_isTooDeep; }

    bool isMap(const QJSValue &value) const
    {
        return value.isObject() && !value.isArray() && !value.isQObject()
            && value.prototype().strictlyEquals(m_objects);
    }

    QVariantMap map(const QJSValue &value, int depth)
    {
        QVariantMap map;
        QJSValueIterator entry(value);
        while (isAllowed(depth) && entry.next()) {
            map.insert(entry.name(), read(entry.value(), depth + 1));
        }
        return map;
    }

private:
    bool isAllowed(int depth)
    {
        m_isTooDeep = m_isTooDeep || depth >= maximumDepth;
        return !m_isTooDeep;
    }

    QVariant list(const QJSValue &value, int depth)
    {
        QVariantList list;
        const quint32 length = value.property(QStringLiteral("length")).toUInt();
        for (quint32 i = 0; isAllowed(depth) && i < length; ++i) {
            list.append(read(value.property(i), depth + 1));
            if (!list.constLast().isValid()) {
                break; // It cannot be sent. An array of a billion holes would take long.
            }
        }
        const bool isStrings = std::all_of(list.cbegin(), list.cend(), [](const QVariant &element) {
            return element.userType() == QMetaType::QString;
        });
        return isStrings ? QVariant(QVariant(list).toStringList()) : list;
    }

    static QVariant number(double value)
    {
        using Int = std::numeric_limits<int>;
        const bool isInt =
            value >= Int::min() && value <= Int::max() && value == static_cast<int>(value);
        return isInt ? QVariant(static_cast<int>(value)) : value;
    }

    QVariant read(const QJSValue &value, int depth)
    {
        if (value.isNumber()) {
            return number(value.toNumber());
        }
        if (value.isArray()) {
            return list(value, depth);
        }
        if (isMap(value)) {
            return map(value, depth);
        }
        const bool isNothing = value.isNull() || value.isCallable() || value.isQObject();
        return isNothing ? QVariant() : value.toVariant();
    }

    const QJSValue m_objects;
    bool m_isTooDeep = false;
};

} // namespace

std::optional<QVariantMap> mapFromScript(QJSEngine *engine, const QJSValue &value)
{
    if (value.isUndefined() || value.isNull()) {
        return QVariantMap();
    }
    Reader reader(engine);
    if (!reader.isMap(value)) {
        engine->throwError(QJSValue::TypeError, QStringLiteral("Expected an object"));
        return std::nullopt;
    }
    QVariantMap map = reader.map(value, 0);
    if (reader.isTooDeep()) {
        engine->throwError(QJSValue::RangeError,
                           QStringLiteral("The object has more than %1 levels").arg(maximumDepth));
        return std::nullopt;
    }
    return map;
}

} // namespace Ostrel
