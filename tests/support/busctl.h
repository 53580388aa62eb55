// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_BUSCTL_H
#define TESTS_BUSCTL_H

#include "run.h"

#include <QtDBus/QDBusArgument>

// Splits a value in busctl's form into words for the command line. '' is an empty string.
QStringList wordsOf(const QString &value);

// Runs busctl on a bus. Its calls have no timeout.
Result busctl(const PrivateBus &bus, const QStringList &arguments);

// Calls a method of the fault desk with busctl, which shares no code with Qt. The arguments are the
// signature and the values in busctl's form. Returns busctl's line of JSON.
QString busctlDesk(const PrivateBus &bus, const QString &method, const QStringList &arguments = {});

// Makes the service answer the next call of the method with one value in busctl's form.
void busctlAnswerNext(const PrivateBus &bus, const char *interface, const char *method,
                      const QString &signature, const QStringList &value);

// The same for "UpdateWindowStatus".
void busctlAnswerNext(const PrivateBus &bus, const QString &signature, const QStringList &value);

// Makes the service send a signal. Each value is its signature and its content in busctl's form,
// with '' for an empty string: "a{sv} 1 key i 3".
void busctlEmitSignal(const PrivateBus &bus, const char *path, const char *interface,
                      const QString &member, const QStringList &values);

// Makes the simulator send a value in busctl's form, with '' for an empty string. Returns the
// argument that arrives: a structure of the value and the string "marker".
QDBusArgument receive(const PrivateBus &bus, const QString &signature, const QString &value);

#endif
