// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTRELCTL_TABLE_H
#define OSTRELCTL_TABLE_H

#include <QtCore/QStringList>
#include <QtCore/QVector>

// The lines of a table with a heading, its columns as wide as their longest text. Where the lines
// would be wider than so many columns of the terminal, the last column is cut, and then the widest
// ones; 0 is no limit.
QStringList tableLines(const QStringList &heading, const QVector<QStringList> &rows, int width);

// How wide the terminal is that standard output goes to; 0 if it is none.
int terminalWidth();

#endif
