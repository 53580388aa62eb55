// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_VALUES_H
#define SIMULATOR_VALUES_H

#include <QtCore/QString>
#include <QtCore/QVariantList>

// What the fault desk is given.

// The contents of an argument of type "av".
QVariantList valuesOf(const QVariant &argument);

// Interfaces and errors have names of the same form.
bool isInterfaceName(const QString &name);
bool isMemberName(const QString &name);

#endif
