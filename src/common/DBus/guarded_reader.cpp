// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/guarded_reader_p.h"

namespace Ostrel
{

void skipValue(const QDBusArgument &argument)
{
    switch (argument.currentType()) {
    case QDBusArgument::UnknownType:
        return;
    case QDBusArgument::MapEntryType:
        // asVariant() would stay where it is; to begin an entry is to step past it.
        argument.beginMapEntry();
        argument.endMapEntry();
        return;
    default:
        argument.asVariant();
    }
}

} // namespace Ostrel
