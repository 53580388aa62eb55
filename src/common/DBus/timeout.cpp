// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/timeout_p.h"

namespace Ostrel
{

void setCallTimeout(QDBusAbstractInterface &proxy, int milliseconds)
{
    if (milliseconds < 1 && milliseconds != -1) {
        qWarning("A timeout of %d milliseconds is not valid", milliseconds);
        return;
    }
    proxy.setTimeout(milliseconds);
}

} // namespace Ostrel
