// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "waiting.h"

#include "end_of_test_p.h"
#include "waiting_p.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QEvent>
#include <QtCore/QTimer>
#include <QtTest/QTest>

namespace Ostrel::Testing
{

int waitLimit()
{
    bool isNumber = false;
    const int function = qEnvironmentVariableIntValue("QTEST_FUNCTION_TIMEOUT", &isNumber);
    constexpr int defaultOfQtTest = 5 * 60 * 1000;
    return (isNumber && function > 0 ? function : defaultOfQtTest) / 5 * 4;
}

bool runLoopUntil(const std::function<bool()> &condition)
{
    if (condition()) {
        return true;
    }
    const int limit = waitLimit();
    QElapsedTimer elapsed;
    elapsed.start();
    // Some conditions change without an event.
    QTimer look;
    look.start(lookPause);
    do {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        if (condition()) {
            return true;
        }
    } while (!elapsed.hasExpired(limit));
    return false;
}

void failTest(const QString &message)
{
    if (QTest::currentTestFunction() == nullptr) {
        endTest(message);
    }
    QTest::qFail(qPrintable(message), nullptr, 0);
}

QString waitedFor(const QString &what)
{
    return QStringLiteral("The test waited %1 seconds for %2").arg(waitLimit() / 1000.0).arg(what);
}

bool waitUntil(const std::function<bool()> &condition, const QString &what)
{
    if (runLoopUntil(condition)) {
        return true;
    }
    failTest(waitedFor(what));
    return false;
}

} // namespace Ostrel::Testing
