// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_CONTROL_CALLS_H
#define TESTS_CONTROL_CALLS_H

#include <QtCore/QVariantList>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusPendingCall>

// Calls a method of ".Control1" on the session bus. Returns the reply, which may be an error.
QDBusMessage callControl(const QString &method, const QVariantList &arguments = {});

// The same without waiting for the reply.
QDBusPendingCall asyncCallControl(const QString &method, const QVariantList &arguments = {});

// Starts an application and returns the details. Ends the test if the start fails.
QVariantMap startApplication(const QString &id);

#endif
