// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTRELCTL_TABLE_H
#define OSTRELCTL_TABLE_H

#include <QtCore/QStringList>
#include <QtCore/QVector>

// Prints a table with a heading on standard output, its columns as wide as their longest text.
// Where the lines would be wider than the terminal, the last columns give way, as many as extras
// says: each is cut, and left out if too little remains. Then the widest columns are cut.
void printTable(const QStringList &heading, const QVector<QStringList> &rows, int extras);

#endif
