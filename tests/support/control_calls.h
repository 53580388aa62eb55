// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_CONTROL_CALLS_H
#define TESTS_CONTROL_CALLS_H

#include <QtCore/QVariantList>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusPendingCall>

// Calls a method of ".Control1" on the session bus, and returns the answer, whatever it is.
QDBusMessage callControl(const QString &method, const QVariantList &arguments = {});

// The same without waiting for the answer.
QDBusPendingCall asyncCallControl(const QString &method, const QVariantList &arguments = {});

// Starts an application, which has to succeed, and returns the details.
QVariantMap startApplication(const QString &id);

#endif
