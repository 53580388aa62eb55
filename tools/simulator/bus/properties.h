// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_PROPERTIES_H
#define SIMULATOR_PROPERTIES_H

#include "bus/interface.h"

#include <QtCore/QStringList>
#include <QtCore/QVector>
#include <QtDBus/QDBusMessage>

// "org.freedesktop.DBus.Properties", which every object has.

// The reply to a call of it, at an object with these interfaces.
QDBusMessage answerProperties(const QDBusMessage &call,
                              const QVector<const Interface *> &interfaces);

// The signal that announces the current values of some properties.
QDBusMessage propertiesChanged(const Interface &interface, const QStringList &names);

#endif
