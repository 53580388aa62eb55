// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TOOLS_TEXT_H
#define TOOLS_TEXT_H

#include <QtCore/QString>

// The text on one line, with its control characters escaped, also those that change the direction
// of what follows.
QString onOneLine(const QString &text);

#endif
