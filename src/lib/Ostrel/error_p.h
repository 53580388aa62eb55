// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_ERROR_P_H
#define OSTREL_ERROR_P_H

#include "Ostrel/error.h"

#include <QtDBus/QDBusError>

namespace Ostrel
{

// The one place where bus errors become Error values. Any thread may call it.
Error fromDBusError(const QDBusError &error);

} // namespace Ostrel

#endif
