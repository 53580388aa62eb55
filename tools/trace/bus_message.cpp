// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus_message.h"

#include "DBus/names_p.h"

bool isForService(const BusMessage &call)
{
    // Which connection is the service's may be unknown, but only the service has these interfaces.
    return call.destination == QLatin1String(OSTREL_SERVICE_NAME)
        || (call.destination.startsWith(QLatin1Char(':'))
            && call.interface.startsWith(QLatin1String(OSTREL_SERVICE_NAME ".")));
}
