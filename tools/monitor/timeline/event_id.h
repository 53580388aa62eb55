// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_EVENT_ID_H
#define MONITOR_EVENT_ID_H

#include <QtCore/QMetaType>

// Which event of a History, as long as the history keeps it.
struct EventId
{
    qint64 number = -1;

    bool isValid() const { return number >= 0; }
    bool operator==(EventId other) const { return number == other.number; }
    bool operator!=(EventId other) const { return number != other.number; }
};

Q_DECLARE_METATYPE(EventId)

#endif
