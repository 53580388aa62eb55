// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_VARIANT_CONTAINERS_H
#define TESTS_VARIANT_CONTAINERS_H

#include <QtCore/QMap>
#include <QtCore/QVariant>
#include <QtCore/QVector>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusVariant>

using Variants = QVector<QVariant>;
using NumberedVariants = QMap<int, QVariant>;

// QtDBus has no writer for QVariant, so a caller writes these containers with its own operators.
inline QDBusArgument &operator<<(QDBusArgument &argument, const Variants &variants)
{
    argument.beginArray(qMetaTypeId<QDBusVariant>());
    for (const QVariant &variant : variants) {
        argument << QDBusVariant(variant);
    }
    argument.endArray();
    return argument;
}

inline const QDBusArgument &operator>>(const QDBusArgument &argument, Variants & /*variants*/)
{
    return argument;
}

inline QDBusArgument &operator<<(QDBusArgument &argument, const NumberedVariants &variants)
{
    argument.beginMap(QMetaType::Int, qMetaTypeId<QDBusVariant>());
    for (auto entry = variants.begin(); entry != variants.end(); ++entry) {
        argument.beginMapEntry();
        argument << entry.key() << QDBusVariant(entry.value());
        argument.endMapEntry();
    }
    argument.endMap();
    return argument;
}

inline const QDBusArgument &operator>>(const QDBusArgument &argument,
                                       NumberedVariants & /*variants*/)
{
    return argument;
}

#endif
