// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_SERVICE_NAME_P_H
#define OSTREL_DBUS_SERVICE_NAME_P_H

#include <QtCore/QString>

namespace Ostrel
{

// The well-known bus name of the lifecycle service.
extern const QString serviceName;

} // namespace Ostrel

#endif
