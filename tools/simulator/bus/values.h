// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_VALUES_H
#define SIMULATOR_VALUES_H

#include "result.h"

#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QVariantList>
#include <QtCore/QVariantMap>

// Checks of received values that are used or sent back. The bus drops the connection of a program
// that sends a message beyond the limits.

// Whether the values have the signatures that are given for their keys. Other keys are skipped.
Result<> checkTypes(const QVariantMap &values, const QHash<QString, QString> &signatures);

// Whether the signature of the values is short enough for a message.
Result<> checkSignature(const QVariantList &values);

// Whether a message holds the values within this many more containers.
Result<> checkNesting(const QVariantList &values, int containers);

#endif
