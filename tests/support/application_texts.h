// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_APPLICATION_TEXTS_H
#define TESTS_APPLICATION_TEXTS_H

#include "record_rows.h"

#include <DBus/types.h>

// The members of a record, in order, as a string. Templates find these functions because they are
// in the namespace of the records.
namespace Ostrel
{

inline QString text(const RunningApplication &application)
{
    return QString("%1 %2 %3 %4 {%5}")
        .arg(application.appId)
        .arg(application.pid)
        .arg(quint32(application.state))
        .arg(quint32(application.kind))
        .arg(::text(application.properties));
}

inline QString text(const RunningService &service)
{
    return QString("%1 %2 %3 %4 {%5}")
        .arg(service.appId, service.name)
        .arg(service.pid)
        .arg(quint32(service.state))
        .arg(::text(service.properties));
}

} // namespace Ostrel

#endif
