// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_SIGNAL_SENDER_H
#define SIMULATOR_SIGNAL_SENDER_H

#include "bus/service.h"

#include <QtDBus/QDBusMessage>

// Sends a signal so many times for a call of the fault desk whose first arguments are a path, an
// interface, a member and the signal's arguments. The result is the answer of the call.
//
// numbered: "%n" in a string stands for the number of the signal, from 0.
QDBusMessage sendSignals(Service &service, const QDBusMessage &call, uint count, bool numbered);

#endif
