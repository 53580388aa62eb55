// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_NAME_FORMS_H
#define SIMULATOR_NAME_FORMS_H

#include <QtCore/QString>

// Interfaces and errors have names of the same form.
bool isInterfaceName(const QString &name);
bool isMemberName(const QString &name);

#endif
