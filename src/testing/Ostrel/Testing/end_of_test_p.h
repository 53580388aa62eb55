// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_TESTING_END_OF_TEST_P_H
#define OSTREL_TESTING_END_OF_TEST_P_H

#include <QtCore/QString>

namespace Ostrel::Testing
{

// Ends the test program with one line, because the test cannot be run. QtTest completes its log.
[[noreturn]] inline void endTest(const QString &line)
{
    qFatal("%s", qPrintable(line.trimmed()));
}

} // namespace Ostrel::Testing

#endif
