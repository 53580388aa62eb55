// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_SIGNAL_SENDER_H
#define SIMULATOR_SIGNAL_SENDER_H

#include "bus/service.h"

#include "result.h"

#include <QtCore/QVariantList>
#include <QtDBus/QDBusMessage>

// A signal that the bus lets the service send.
Result<QDBusMessage> makeSignal(const QString &path, const QString &interface,
                                const QString &member, const QVariantList &arguments);

// Sends a signal this many times for a call of the fault desk. The first arguments of the call are
// a path, an interface, a member and the signal's arguments. Returns the reply.
//
// numbered: replaces "%n" in a string by the index of the signal, from 0.
QDBusMessage sendSignals(Service &service, const QDBusMessage &call, uint count, bool numbered);

#endif
