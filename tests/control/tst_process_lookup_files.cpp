// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "process_root.h"

#include "Ostrel/control.h"
#include "Ostrel/process_lookup_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QDir>
#include <QtCore/QThread>

#include <algorithm>
#include <dlfcn.h>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <vector>

using Ostrel::Control;
using Ostrel::readControlGroup;

namespace
{

constexpr int pid = 1234;

// What this thread opened last.
thread_local QByteArray openedPath; // clazy:exclude=non-pod-global-static
thread_local int openedFlags = 0; // of the descriptor, as F_GETFD returns them

QByteArray repeated(char character, int count)
{
    return QByteArray(count, character);
}

} // namespace

// The library's objects are linked into this program, so they call this function instead of the C
// library's.
// NOLINTNEXTLINE(readability-identifier-naming)
extern "C" FILE *fopen(const char *path, const char *mode)
{
    using Function = FILE *(*)(const char *, const char *);
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "fopen"));
    FILE *file = real(path, mode);
    openedPath = path;
    openedFlags = file != nullptr ? fcntl(fileno(file), F_GETFD) : 0;
    return file;
}

// How the file of a process is found, opened, read into buffers and closed. There is no bus here.
class TestProcessLookupFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_root.emplace(); }
    void cleanup() { m_root.reset(); }

    void controlGroupFileIsRead_data();
    void controlGroupFileIsRead();
    void buffersAreFilledToTheirSizes_data();
    void buffersAreFilledToTheirSizes();
    void missingBuffersAreRefused();
    void unreadableFilesGiveNullStrings();
    void tooLongRootFoldersFindNothing();
    void programsStartedMeanwhileDoNotInheritTheFile();
    void filesAreClosed_data();
    void filesAreClosed();
    void anyThreadMayLookUp();

private:
    std::optional<ProcessRoot> m_root;
};

void TestProcessLookupFiles::controlGroupFileIsRead_data()
{
    QTest::addColumn<bool>("isSet");
    QTest::addColumn<QByteArray>("root");
    QTest::addColumn<int>("process");
    QTest::addColumn<QByteArray>("path");

    using Bytes = QByteArray;
    QTest::newRow("unset") << false << Bytes() << 1234 << Bytes("/proc/1234/cgroup");
    QTest::newRow("empty") << true << Bytes("") << 1234 << Bytes("/proc/1234/cgroup");
    QTest::newRow("set") << true << Bytes("/mnt/root") << 1234
                         << Bytes("/mnt/root/proc/1234/cgroup");
    QTest::newRow("nothing is put between")
        << true << Bytes("/mnt/x-") << 1 << Bytes("/mnt/x-/proc/1/cgroup");
    QTest::newRow("no process") << false << Bytes() << 0 << Bytes("/proc/0/cgroup");
    QTest::newRow("negative") << false << Bytes() << -1 << Bytes("/proc/-1/cgroup");
    QTest::newRow("largest") << false << Bytes() << 2147483647 << Bytes("/proc/2147483647/cgroup");
}

void TestProcessLookupFiles::controlGroupFileIsRead()
{
    QFETCH(bool, isSet);
    QFETCH(QByteArray, root);
    QFETCH(int, process);
    if (isSet) {
        qputenv("OSTREL_ROOTFS", root);
    } else {
        qunsetenv("OSTREL_ROOTFS");
    }
    openedPath.clear();
    Control().getAppIdByPid(process);
    QTEST(openedPath, "path");
    openedPath.clear();
    Control().getAppInstanceIdByPid(process);
    QTEST(openedPath, "path");
}

void TestProcessLookupFiles::buffersAreFilledToTheirSizes_data()
{
    QTest::addColumn<int>("appIdSize");
    QTest::addColumn<int>("instanceSize");
    QTest::addColumn<bool>("found");
    QTest::addColumn<QByteArray>("appId");
    QTest::addColumn<QByteArray>("instance");

    // The identifier has 4 bytes, the component 3. A size includes the terminating null.
    const auto row = [](int appIdSize, int instanceSize, bool found, const char *appId,
                        const char *instance) {
        QTest::addRow("%d and %d", appIdSize, instanceSize)
            << appIdSize << instanceSize << found << QByteArray(appId) << QByteArray(instance);
    };
    row(5, 4, true, "ab.c", "app");
    row(4, 4, true, "ab.", "app");
    row(5, 3, true, "ab.c", "ap");
    row(1, 4, true, "", "app");
    row(5, 1, true, "ab.c", "");
    row(4, 3, false, "", "");
    row(1, 1, false, "", "");
    // A buffer of size 0 is not written to.
    row(0, 4, true, "##########", "app");
    row(5, 0, true, "ab.c", "##########");
    row(0, 0, false, "", "");
}

void TestProcessLookupFiles::buffersAreFilledToTheirSizes()
{
    QFETCH(int, appIdSize);
    QFETCH(int, instanceSize);
    QFETCH(bool, found);
    m_root->write("4:memory:/ostrel-helper/ab.c/app\n", pid);
    // On the heap, where the sanitizers see an overflow of one byte.
    std::vector<char> appId(std::max(appIdSize, 11), '#');
    std::vector<char> instance(std::max(instanceSize, 11), '#');
    appId.back() = '\0';
    instance.back() = '\0';
    QCOMPARE(readControlGroup(pid, appId.data(), appIdSize, instance.data(), instanceSize), found);
    if (found) {
        QTEST(QByteArray(appId.data()), "appId");
        QTEST(QByteArray(instance.data()), "instance");
    } else {
        QCOMPARE(QByteArray(appId.data()), repeated('#', 10));
        QCOMPARE(QByteArray(instance.data()), repeated('#', 10));
    }
    // The bytes after a buffer of that size are unchanged.
    if (appIdSize < 10) {
        QCOMPARE(appId.at(appIdSize), '#');
    }
    if (instanceSize < 10) {
        QCOMPARE(instance.at(instanceSize), '#');
    }
}

void TestProcessLookupFiles::missingBuffersAreRefused()
{
    m_root->write("4:memory:/ostrel-helper/ab.c/app\n", pid);
    std::vector<char> buffer(32);
    QVERIFY(readControlGroup(pid, buffer.data(), buffer.size(), buffer.data(), buffer.size()));
    QVERIFY(!readControlGroup(pid, nullptr, buffer.size(), buffer.data(), buffer.size()));
    QVERIFY(!readControlGroup(pid, buffer.data(), buffer.size(), nullptr, buffer.size()));
    QVERIFY(!readControlGroup(pid, nullptr, 0, nullptr, 0));
}

void TestProcessLookupFiles::unreadableFilesGiveNullStrings()
{
    const Control control;
    QVERIFY(control.getAppIdByPid(pid).isNull());
    QVERIFY(control.getAppInstanceIdByPid(pid).isNull());

    QVERIFY(QDir().mkpath(m_root->processFolder(pid) + "/cgroup"));
    QVERIFY(control.getAppIdByPid(pid).isNull());
    QVERIFY(control.getAppInstanceIdByPid(pid).isNull());

    qunsetenv("OSTREL_ROOTFS");
    QVERIFY(control.getAppIdByPid(0).isNull());
    QVERIFY(control.getAppIdByPid(-1).isNull());
}

// The path is cut to 4,095 bytes, and opened.
void TestProcessLookupFiles::tooLongRootFoldersFindNothing()
{
    const QByteArray end = QByteArrayLiteral("/proc/1234/cgroup");
    for (const int excess : {0, 1, 905}) {
        const QByteArray root = repeated('r', 4095 - end.size() + excess);
        qputenv("OSTREL_ROOTFS", root);
        QVERIFY(Control().getAppIdByPid(pid).isNull());
        QCOMPARE(openedPath, (root + end).left(4095));
    }
}

void TestProcessLookupFiles::programsStartedMeanwhileDoNotInheritTheFile()
{
    m_root->write("4:memory:/ostrel-helper/demo.Viewer/app\n", pid);
    QCOMPARE(Control().getAppIdByPid(pid), "demo.Viewer");
    QCOMPARE(openedFlags, FD_CLOEXEC);
}

void TestProcessLookupFiles::filesAreClosed_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("found") << QByteArray("4:memory:/ostrel-helper/demo.Viewer/app\n");
    QTest::newRow("stopped") << QByteArray("4:memory:/elsewhere\n");
    QTest::newRow("none") << QByteArray("0::/\n");
}

void TestProcessLookupFiles::filesAreClosed()
{
    QFETCH(QByteArray, content);
    m_root->write(content, pid);
    const auto openFiles = [] {
        return QDir("/proc/self/fd")
            .entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System)
            .size();
    };
    const Control control;
    control.getAppIdByPid(pid);
    const int before = openFiles();
    QVERIFY(before > 0);
    for (int i = 0; i < 100; ++i) {
        control.getAppIdByPid(pid);
    }
    QCOMPARE(openFiles(), before);
}

// Two threads look up different processes all the time, and each gets its own results.
void TestProcessLookupFiles::anyThreadMayLookUp()
{
    constexpr int rounds = 5000;
    struct Asker
    {
        int process;
        QString instanceId;
        int right = 0;
    };
    std::vector<Asker> askers{
        {1, "demo.Viewer.instance_7"},
        {2, "other.Application-of-a-long-name.instance_12345"},
    };
    m_root->write("3:cpu:/a/b/c\n4:memory:/ostrel-helper/demo.Viewer/instance_7\n", 1);
    m_root->write(
        "4:memory:/ostrel-helper/other.Application-of-a-long-name/instance_12345\n5:x:/y\n", 2);

    const Control control;
    std::vector<std::unique_ptr<QThread>> threads;
    threads.reserve(askers.size());
    for (Asker &asker : askers) {
        threads.emplace_back(QThread::create([&control, &asker] {
            for (int i = 0; i < rounds; ++i) {
                if (control.getAppInstanceIdByPid(asker.process) == asker.instanceId) {
                    ++asker.right;
                }
            }
        }));
    }
    for (const auto &thread : threads) {
        thread->start();
    }
    for (const auto &thread : threads) {
        thread->wait();
    }
    for (const Asker &asker : askers) {
        QCOMPARE(asker.right, rounds);
    }
}

OSTREL_TEST_MAIN(TestProcessLookupFiles)

#include "tst_process_lookup_files.moc"
