// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "run.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QTemporaryDir>

#include <optional>

// What the command that records a trace says when it cannot.
class TestOstrelctlTraceErrors : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void failuresAreReported_data();
    void failuresAreReported();
    void wrongOptionsAreReported_data();
    void wrongOptionsAreReported();

private:
    QString path(const QString &name) const { return m_folder.filePath(name); }

    const QTemporaryDir m_folder;
    std::optional<PrivateBus> m_bus;
};

void TestOstrelctlTraceErrors::initTestCase()
{
    m_bus.emplace();
}

void TestOstrelctlTraceErrors::failuresAreReported_data()
{
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::addColumn<QString>("error");
    QTest::newRow("no folder") << QString() << "none/trace.json"
                               << "cannot create none/trace.json: No such file or directory";
    QTest::newRow("no input") << "none"
                              << "out"
                              << "cannot read none: No such file or directory";
    QTest::newRow("input is a folder") << "."
                                       << "out"
                                       << "cannot read .: Is a directory";
    QTest::newRow("no messages") << "text"
                                 << "out"
                                 << "text has no message of 'busctl monitor --json=short'";
    QTest::newRow("same file") << "text"
                               << "./text"
                               << "text would be overwritten";
    QTest::newRow("full disk") << "messages"
                               << "/dev/full"
                               << "cannot write /dev/full: No space left on device";
}

void TestOstrelctlTraceErrors::failuresAreReported()
{
    QFETCH(const QString, from);
    QFETCH(const QString, to);
    QFETCH(const QString, error);
    writeFile(path("text"), "not JSON\n{}\n[]\n");
    writeFile(path("messages"), R"({"type":"signal","timestamp-realtime":1})");
    QStringList arguments{"trace", "-o", to};
    if (!from.isEmpty()) {
        arguments.append({"--from", from});
    }
    Process process(OSTRELCTL, arguments);
    process.setWorkingDirectory(m_folder.path());
    process.start();
    QCOMPARE(process.waitForEnd(), 1);
    QCOMPARE(QString::fromUtf8(process.readAllStandardError()), "error: Failed: " + error + '\n');
    QCOMPARE(readFile(path("text")), "not JSON\n{}\n[]\n");
}

void TestOstrelctlTraceErrors::wrongOptionsAreReported_data()
{
    QTest::addColumn<QString>("options");
    QTest::addColumn<QString>("error");
    QTest::newRow("no file") << QString() << "-o FILE is missing";
    QTest::newRow("no time for a file") << "-o a --from b --for 1"
                                        << "--for and --from exclude each other";
    QTest::newRow("no time") << "-o a --for 0"
                             << "--for takes a whole number from 1 to 2147483, not \"0\"";
    QTest::newRow("an argument") << "-o a b"
                                 << "unexpected argument \"b\"";
}

void TestOstrelctlTraceErrors::wrongOptionsAreReported()
{
    QFETCH(const QString, options);
    QFETCH(const QString, error);
    const Result result =
        run(OSTRELCTL, QStringList("trace") + options.split(' ', Qt::SkipEmptyParts));
    QCOMPARE(result.errors,
             QString("ostrelctl trace: %1\nTry 'ostrelctl trace --help'.\n").arg(error));
    QCOMPARE(result.exitStatus, 2);
}

OSTREL_TEST_MAIN(TestOstrelctlTraceErrors)

#include "tst_ostrelctl_trace_errors.moc"
