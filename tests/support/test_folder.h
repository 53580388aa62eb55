// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_TEST_FOLDER_H
#define TESTS_TEST_FOLDER_H

#include <QtCore/QByteArray>

// A folder for all files of a test program. It is removed when the program ends, also by a signal.
class TestFolder
{
public:
    // Call it before the process has other threads.
    TestFolder();

    QByteArray path() const { return m_path; }

private:
    QByteArray m_path;
};

#endif
