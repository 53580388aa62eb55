// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_DESK_CALL_H
#define SIMULATOR_DESK_CALL_H

#include "bus/call_log.h"
#include "result.h"

#include <QtCore/QString>
#include <QtCore/QVariantList>
#include <QtDBus/QDBusMessage>

// The arguments of the fault desk's calls.

// The method of the service that the first two arguments name.
Method methodOf(const QDBusMessage &call);

// The contents of an argument of type "av", if they can be the arguments of a message.
Result<QVariantList> valuesOf(const QVariant &argument);

// The error reply to a call that asks for the impossible.
QDBusMessage refuse(const QDBusMessage &call, const QString &message);

#endif
