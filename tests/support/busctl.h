// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_BUSCTL_H
#define TESTS_BUSCTL_H

#include "private_bus.h"

// Calls a method of the fault desk with busctl, which shares no code with Qt. The arguments are the
// signature and the values in busctl's form; the result is busctl's one line of JSON.
QString busctlDesk(const PrivateBus &bus, const QString &method, const QStringList &arguments = {});

// Has the next call of "UpdateWindowStatus" answered by one value, given in busctl's form.
void busctlAnswerNext(const PrivateBus &bus, const QString &signature, const QStringList &value);

#endif
