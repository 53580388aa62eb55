// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_TESTING_METHOD_NAMES_P_H
#define OSTREL_TESTING_METHOD_NAMES_P_H

#include "method.h"

#include <QtCore/QString>

namespace Ostrel::Testing
{

// What a method is called on the bus.
struct MethodNames
{
    QString interface;
    QString member;
};

MethodNames namesOf(Method method);

// Returns the names as "Control1.Start": without the name of the service.
QString textOf(const MethodNames &names);

} // namespace Ostrel::Testing

#endif
