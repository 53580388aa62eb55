// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_PRINT_H
#define SIMULATOR_PRINT_H

#include <QtCore/QString>

#include <cstdio>

// Prints a line that begins with the program's name.
void print(FILE *stream, const QString &line);

#endif
