// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "run.h"
#include "trace_texts.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <csignal>
#include <sys/resource.h>

// What the command that converts messages into a trace reads.
class TestOstrelctlTraceInput : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void largeInputNeedsLittleMemory();
    void interruptEndsTheConversion();
    void fullDiskEndsTheConversion();

private:
    // The message of an instance that starts or ends.
    static QByteArray line(const char *member, int instance);
};

QByteArray TestOstrelctlTraceInput::line(const char *member, int instance)
{
    return QByteArray(R"({"type":"signal","timestamp-realtime":7,"path":")" OSTREL_CONTROL_PATH
                      R"(","interface":")" OSTREL_CONTROL_INTERFACE R"(","member":")")
        + member + R"(","payload":{"type":"sa{sv}","data":["a)" + QByteArray::number(instance)
        + "\",{}]}}\n";
}

// A line of half a GiB, which is a hole in the file, and 100,000 messages.
void TestOstrelctlTraceInput::largeInputNeedsLittleMemory()
{
    const QTemporaryDir folder;
    const QString input = folder.filePath("messages");
    QFile file(input);
    QVERIFY(file.open(QIODevice::WriteOnly));
    constexpr qint64 longLine = qint64(512) * 1024 * 1024;
    QVERIFY(file.resize(longLine));
    QVERIFY(file.seek(longLine));
    file.write("\n");
    constexpr int instances = 50'000;
    for (int i = 0; i < instances; ++i) {
        file.write(line("Started", i) + line("Terminated", i));
    }
    file.close();

    const QString output = folder.filePath("trace");
    // AddressSanitizer keeps what has been freed.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("ASAN_OPTIONS",
                       environment.value("ASAN_OPTIONS") + ":quarantine_size_mb=16");
    const Result result = run(OSTRELCTL, {"trace", "--from", input, "-o", output}, environment);
    QCOMPARE(result.errors, "lines that are no messages or too long: 1\n");
    QCOMPARE(result.exitStatus, 0);
    rusage usage{};
    QCOMPARE(getrusage(RUSAGE_CHILDREN, &usage), 0);
    constexpr long mostKibibytes = 400L * 1024;
    QVERIFY2(usage.ru_maxrss < mostKibibytes, qPrintable(QString::number(usage.ru_maxrss)));
    const TraceTexts trace = traceOf(output);
    QCOMPARE(trace.faults, QStringList());
    QCOMPARE(trace.all.filter(": Started").size(), instances);
}

// The program that writes the messages may stay.
void TestOstrelctlTraceInput::interruptEndsTheConversion()
{
    const QTemporaryDir folder;
    const QString output = folder.filePath("trace");
    Process process(OSTRELCTL, {"trace", "--from", "-", "-o", output});
    process.start();
    process.write(line("Started", 1));
    waitUntil([&output] { return QFile::exists(output) && readFile(output).contains("Started"); });
    ::kill(pid_t(process.processId()), SIGINT);
    QCOMPARE(process.waitForEnd(), 0);
    const TraceTexts trace = traceOf(output);
    QCOMPARE(trace.faults, QStringList());
    QVERIFY(trace.all.contains("X a1: started, the trace has ended"));
}

void TestOstrelctlTraceInput::fullDiskEndsTheConversion()
{
    const QTemporaryDir folder;
    const QString input = folder.filePath("messages");
    const QString output = folder.filePath("trace");
    QByteArray lines;
    for (int i = 0; i < 100; ++i) {
        lines += line("Started", i);
    }
    writeFile(input, QString::fromLatin1(lines));
    // In blocks of 512 bytes.
    for (int blocks = 1; blocks <= 8; ++blocks) {
        const Result result = run("sh",
                                  {"-c", R"(ulimit -f "$0"; exec "$1" trace --from "$2" -o "$3")",
                                   QString::number(blocks), OSTRELCTL, input, output});
        QCOMPARE(result.errors, "error: Failed: cannot write " + output + ": File too large\n");
        QCOMPARE(result.exitStatus, 1);
        QVERIFY(QFileInfo(output).size() <= qint64(blocks) * 512);
        QCOMPARE(traceOf(output, true).faults, QStringList());
    }
}

OSTREL_TEST_MAIN(TestOstrelctlTraceInput)

#include "tst_ostrelctl_trace_input.moc"
