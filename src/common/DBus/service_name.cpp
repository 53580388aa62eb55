// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/service_name_p.h"

#include "DBus/names_p.h"

namespace Ostrel
{

// Built when the library is loaded. It refers to static data: copies touch no reference count, and
// it stays valid while the process ends.
const QString serviceName =
    QStringLiteral(OSTREL_SERVICE_NAME); // clazy:exclude=non-pod-global-static

} // namespace Ostrel
