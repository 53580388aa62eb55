// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/service_name_p.h"

#include "DBus/names_p.h"

namespace Ostrel
{

// Built when the library is loaded, over static data: it owns no memory, so that copies touch no
// counter and it stays good for whoever still uses the library while the process ends.
const QString serviceName =
    QStringLiteral(OSTREL_SERVICE_NAME); // clazy:exclude=non-pod-global-static

} // namespace Ostrel
