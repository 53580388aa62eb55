// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "termination.h"

#include <Ostrel/Testing/Main>
#include <Ostrel/Testing/waiting.h>

#include <QtTest/QSignalSpy>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <sys/wait.h>
#include <unistd.h>

// How the programs notice that they are to end.
class TestTermination : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void signalsComeFromTheEventLoop_data();
    void signalsComeFromTheEventLoop();
    void signalEndsAChildThatHasNoProgramYet();
    void interruptedCodeKeepsItsError();
};

void TestTermination::signalsComeFromTheEventLoop_data()
{
    QTest::addColumn<int>("number");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
}

void TestTermination::signalsComeFromTheEventLoop()
{
    QFETCH(int, number);
    const Termination termination;
    QSignalSpy requested(&termination, &Termination::requested);
    QVERIFY(!Termination::wasRequested());
    QCOMPARE(std::raise(number), 0);
    QCOMPARE(requested.size(), 0);
    QVERIFY(Termination::wasRequested());
    Ostrel::Testing::waitUntil([&] { return !requested.isEmpty(); });
}

// The child inherits the handler, which must do nothing there.
void TestTermination::signalEndsAChildThatHasNoProgramYet()
{
    const Termination termination;
    QSignalSpy requested(&termination, &Termination::requested);
    const pid_t child = fork();
    if (child == 0) {
        _exit(std::raise(SIGTERM) == 0 ? EXIT_SUCCESS : EXIT_FAILURE);
    }
    int status = 0;
    QCOMPARE(waitpid(child, &status, 0), child);
    QVERIFY(WIFSIGNALED(status));
    QCOMPARE(WTERMSIG(status), SIGTERM);
    QCoreApplication::processEvents();
    QCOMPARE(requested.size(), 0);
}

// More signals than the pipe can hold. A failed write must not change errno.
void TestTermination::interruptedCodeKeepsItsError()
{
    const Termination termination;
    for (int i = 0; i < 100000; ++i) {
        errno = ENOENT;
        const bool raised = std::raise(SIGTERM) == 0;
        if (!raised || errno != ENOENT) {
            QFAIL(qPrintable(QString("signal %1 left error %2").arg(i).arg(errno)));
        }
    }
}

OSTREL_TEST_MAIN(TestTermination)

#include "tst_termination.moc"
