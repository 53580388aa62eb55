// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_FILES_H
#define TESTS_FILES_H

#include <QtCore/QString>
#include <QtCore/QStringList>

// Returns the text of a file. Ends the test if there is no such file.
QString readFile(const QString &path);

void writeFile(const QString &path, const QString &text);

// Returns the sorted paths of all files below a folder, relative to it.
QStringList filesBelow(const QString &folder);

#endif
