// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/guarded_reader_p.h"

namespace Ostrel
{

// begin and end step past a container. asVariant() would also advance every copy of the argument.
void skipValue(const QDBusArgument &argument)
{
    switch (argument.currentType()) {
    case QDBusArgument::UnknownType:
        return;
    case QDBusArgument::ArrayType:
        argument.beginArray();
        argument.endArray();
        return;
    case QDBusArgument::MapType:
        argument.beginMap();
        argument.endMap();
        return;
    case QDBusArgument::MapEntryType:
        argument.beginMapEntry();
        argument.endMapEntry();
        return;
    case QDBusArgument::StructureType:
        argument.beginStructure();
        argument.endStructure();
        return;
    case QDBusArgument::BasicType:
    case QDBusArgument::VariantType:
        // QtDBus passes on such a value itself, not as an argument that may have copies.
        argument.asVariant();
    }
}

void readMember(const QDBusArgument &argument, QVariantMap &map, bool &known)
{
    map.clear();
    if (!known && argument.currentType() != QDBusArgument::MapType) {
        skipValue(argument);
        return;
    }

    argument.beginMap();
    while (!argument.atEnd()) {
        QString key;
        QVariant value;
        argument.beginMapEntry();
        if (known) {
            argument >> key;
        } else {
            // A key is always a basic value.
            const QVariant basic = argument.asVariant();
            known = basic.userType() == QMetaType::QString
                && argument.currentType() == QDBusArgument::VariantType;
            if (!known) {
                argument.endMapEntry();
                break;
            }
            key = basic.toString();
        }
        argument >> value;
        argument.endMapEntry();
        static_cast<QMultiMap<QString, QVariant> &>(map).insert(key, value);
    }
    argument.endMap();
}

} // namespace Ostrel
