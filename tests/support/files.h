// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_FILES_H
#define TESTS_FILES_H

#include <QtCore/QString>
#include <QtCore/QStringList>

// The text of a file that has to be there.
QString readFile(const QString &path);

void writeFile(const QString &path, const QString &text);

// The paths of all files below a folder, relative to it, in order.
QStringList filesBelow(const QString &folder);

#endif
