// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "process.h"
#include "test_main.h"
#include "warnings.h"

#include "Ostrel/control.h"
#include "Ostrel/process_lookup_p.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QThread>

#include <algorithm>
#include <dlfcn.h>
#include <fcntl.h>
#include <memory>
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

// Returns a memory line of this length, without a newline, that ends in the given components.
QByteArray lineOf(int length, const QByteArray &end)
{
    const QByteArray begin = "4:memory:/";
    return begin + repeated('p', length - begin.size() - end.size()) + end;
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

// Finds the application of a process from its control groups. There is no bus here.
class TestProcessLookup : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void controlGroupFileIsRead_data();
    void controlGroupFileIsRead();
    void controlGroupLinesAreParsed_data();
    void controlGroupLinesAreParsed();
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
    void write(const QByteArray &content, int process = pid);

    QTemporaryDir m_root;
};

void TestProcessLookup::init()
{
    qputenv("OSTREL_ROOTFS", QFile::encodeName(m_root.path()));
}

void TestProcessLookup::cleanup()
{
    qunsetenv("OSTREL_ROOTFS");
    QDir(m_root.filePath("proc")).removeRecursively();
}

void TestProcessLookup::write(const QByteArray &content, int process)
{
    const QString folder = m_root.filePath(QString("proc/%1").arg(process));
    QVERIFY(QDir().mkpath(folder));
    QFile file(folder + "/cgroup");
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

void TestProcessLookup::controlGroupFileIsRead_data()
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

void TestProcessLookup::controlGroupFileIsRead()
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

void TestProcessLookup::controlGroupLinesAreParsed_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("appId");
    QTest::addColumn<QString>("instanceId");

    const auto row = [](const char *name, const QByteArray &content, const QString &appId,
                        const QString &instanceId) {
        QTest::newRow(name) << content << appId << instanceId;
    };
    const QString viewer = "demo.Viewer";
    const QString seventh = "demo.Viewer.instance_7";
    const QString nothing;
    const QByteArray good = "4:memory:/ostrel-helper/demo.Viewer/instance_7\n";

    row("instance", good, viewer, seventh);
    row("app", "4:memory:/ostrel-helper/demo.Viewer/app\n", viewer, viewer);
    row("no other components", "4:memory:/ostrel-helper.App/app\n", "ostrel-helper.App",
        "ostrel-helper.App");
    row("below other components", "4:memory:/a/b/ostrel-helper/c/demo.Viewer/app\n", viewer,
        viewer);
    row("instance of any name behind the underscore",
        "4:memory:/ostrel-helper/demo.Viewer/instance_\n", viewer, "demo.Viewer.instance_");
    row("component of another name", "4:memory:/ostrel-helper/demo.Viewer/scope\n", viewer,
        nothing);
    row("other case of instance", "4:memory:/ostrel-helper/demo.Viewer/Instance_7\n", viewer,
        nothing);
    row("instance without an underscore", "4:memory:/ostrel-helper/demo.Viewer/instance7\n", viewer,
        nothing);
    row("longer than app", "4:memory:/ostrel-helper/demo.Viewer/apps\n", viewer, nothing);
    row("other case of app", "4:memory:/ostrel-helper/demo.Viewer/App\n", viewer, nothing);

    row("empty file", "", nothing, nothing);
    row("no memory line", "3:cpu:/ostrel-helper/demo.Viewer/app\n", nothing, nothing);
    row("second version", "0::/ostrel-helper/demo.Viewer/app\n", nothing, nothing);
    row("second version, then memory", "0::/ostrel-helper/other.App/app\n" + good, viewer, seventh);
    row("memory among others", "4:cpu,memory:/ostrel-helper/demo.Viewer/app\n", nothing, nothing);
    row("others among memory", "4:memory,cpu:/ostrel-helper/demo.Viewer/app\n", nothing, nothing);
    row("other case of memory", "4:Memory:/ostrel-helper/demo.Viewer/app\n", nothing, nothing);
    row("number is not looked at", "x:memory:/ostrel-helper/demo.Viewer/app\n", viewer, viewer);
    row("no number", ":memory:/ostrel-helper/demo.Viewer/app\n", nothing, nothing);
    row("runs of colons count as one", "4::memory:::/ostrel-helper/demo.Viewer/app\n", viewer,
        viewer);
    row("colon in front", ":4:memory:/ostrel-helper/demo.Viewer/app\n", viewer, viewer);
    row("colon at the end", "4:memory:/ostrel-helper/demo.Viewer/app:\n", viewer, viewer);
    const QByteArray fourFields = "4:memory:/ostrel-helper/other.App/app:x\n";
    row("fourth field", fourFields, nothing, nothing);
    row("fourth field goes on", fourFields + good, viewer, seventh);
    row("fourth field behind", good + fourFields, viewer, seventh);
    row("no path goes on", "4:memory:\n" + good, viewer, seventh);
    row("only a number goes on", "4\n" + good, viewer, seventh);
    row("empty line goes on", "\n" + good, viewer, seventh);
    row("colons alone go on", ":::\n" + good, viewer, seventh);

    row("foreign memory stops", "4:memory:/user.slice/login-2.scope\n" + good, nothing, nothing);
    row("helper as a part of a component", "4:memory:/my-ostrel-helper-2/demo.Viewer/app\n", viewer,
        viewer);
    row("helper in the component itself", "4:memory:/a.b/ostrel-helper\n", "a.b", nothing);
    row("other case of helper stops", "4:memory:/Ostrel-helper/demo.Viewer/app\n" + good, nothing,
        nothing);
    row("no dot stops", "4:memory:/ostrel-helper/Viewer/app\n" + good, nothing, nothing);
    row("one component stops", "4:memory:/ostrel-helper.x\n" + good, nothing, nothing);
    row("helper alone stops", "4:memory:ostrel-helper\n" + good, nothing, nothing);
    row("a dot is an identifier", "4:memory:/ostrel-helper/./app\n", ".", ".");
    row("runs of slashes count as one", "4:memory://ostrel-helper//demo.Viewer//app//\n", viewer,
        viewer);
    row("carriage return belongs to the component", "4:memory:/ostrel-helper/demo.Viewer/app\r\n",
        viewer, nothing);

    row("no newline at the end", "4:memory:/ostrel-helper/demo.Viewer/instance_7", viewer, seventh);
    row("realistic",
        "12:pids:/user.slice\n11:cpu,cpuacct:/ostrel-helper/other.App/app\n"
        "9:memory:/ostrel-helper/demo.Viewer/instance_7\n1:name=systemd:/user.slice\n0::/\n",
        viewer, seventh);
    row("later match wins", "4:memory:/ostrel-helper/other.App/app\n" + good, viewer, seventh);
    row("later stop keeps what was found", good + "5:memory:/elsewhere\n", viewer, seventh);
    row("later stop for want of a dot", good + "5:memory:/ostrel-helper/Viewer/app\n", viewer,
        seventh);
    row("nothing is read behind a stop",
        good + "5:memory:/elsewhere\n6:memory:/ostrel-helper/other.App/app\n", viewer, seventh);
    row("nothing counts behind a zero byte",
        QByteArrayLiteral("4:memory:/ostrel-helper/demo.Viewer/app\0/x.y/z\n"), viewer, viewer);

    row("byte order marks",
        "4:memory:/ostrel-helper/\xef\xbb\xbf"
        "demo.Viewer/\xef\xbb\xbfinstance_7\n",
        "demo.Viewer", "demo.Viewer.instance_7");
    row("a byte order mark before the kind",
        "4:memory:/ostrel-helper/demo.Viewer/\xef\xbb\xbf"
        "app\n",
        "demo.Viewer", "demo.Viewer");
    const QString cutText = "a." + QString(124, 'x') + QChar(0xfffd);
    row("a character that is cut in two",
        "4:memory:/ostrel-helper/a." + repeated('x', 124) + "\xc3\xa9/instance_7\n", cutText,
        cutText + ".instance_7");
    row("invalid UTF-8", "4:memory:/ostrel-helper/de\xffmo.Viewer/instance_\xc3\n",
        "de\uFFFDmo.Viewer", "de\uFFFDmo.Viewer.instance_\uFFFD");
    row("beyond ASCII", "4:memory:/ostrel-helper/demo.\xc3\xa9/app\n", "demo.\u00e9",
        "demo.\u00e9");
    row("cut inside a character",
        "4:memory:/ostrel-helper/a." + repeated('x', 124) + "\xc3\xa9/app\n",
        "a." + QString(124, 'x') + QChar(0xfffd), "a." + QString(124, 'x') + QChar(0xfffd));

    // 127 bytes of an identifier and 159 of a component are kept.
    for (const int length : {126, 127, 128, 200}) {
        const QByteArray id = "a." + repeated('x', length - 2);
        const QString kept = id.left(127);
        row(qPrintable(QString("identifier of %1 bytes").arg(length)),
            "4:memory:/ostrel-helper/" + id + "/app\n", kept, kept);
    }
    for (const int length : {158, 159, 160, 161}) {
        const QByteArray component = "instance_" + repeated('7', length - 9);
        row(qPrintable(QString("component of %1 bytes").arg(length)),
            "4:memory:/ostrel-helper/demo.Viewer/" + component + '\n', viewer,
            "demo.Viewer." + QString::fromLatin1(component.left(159)));
    }
    const QByteArray longId = "a." + repeated('x', 126);
    row("both too long stop",
        "4:memory:/ostrel-helper/" + longId + '/' + repeated('i', 160) + '\n' + good, nothing,
        nothing);
    row("identifier too long, component just not",
        "4:memory:/ostrel-helper/" + longId + '/' + repeated('i', 159) + '\n', longId.left(127),
        nothing);

    // The reader reads 1,023 bytes at a time, including a newline.
    const QByteArray end = "/ostrel-helper/demo.Viewer/instance_7";
    const QString cut = "demo.Viewer.instance_";
    row("line of 1,022 bytes", lineOf(1021, end) + '\n', viewer, seventh);
    row("line of 1,023 bytes", lineOf(1022, end) + '\n', viewer, seventh);
    row("line of 1,024 bytes", lineOf(1023, end) + '\n', viewer, seventh);
    row("line of 1,025 bytes", lineOf(1024, end) + '\n', viewer, cut);
    row("1,022 bytes without a newline", lineOf(1022, end), viewer, seventh);
    row("1,023 bytes without a newline", lineOf(1023, end), viewer, seventh);
    row("1,024 bytes without a newline", lineOf(1024, end), viewer, cut);
    row("a piece of a line counts as a line",
        "4:cpu:/" + repeated('p', 1016) + "4:memory:/ostrel-helper/forged.App/app\n", "forged.App",
        "forged.App");
    row("a piece that has no dot yet stops", lineOf(1023, "/ostrel-helper/demo") + ".Viewer/app\n",
        nothing, nothing);
}

void TestProcessLookup::controlGroupLinesAreParsed()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, appId);
    QFETCH(QString, instanceId);
    write(content);
    const Warnings warnings;
    const Control control;
    QCOMPARE(control.getAppIdByPid(pid), appId);
    QCOMPARE(control.getAppIdByPid(pid).isNull(), appId.isNull());
    QCOMPARE(control.getAppInstanceIdByPid(pid), instanceId);
    QCOMPARE(control.getAppInstanceIdByPid(pid).isNull(), instanceId.isNull());
    QCOMPARE(warnings.texts(), QStringList());
}

void TestProcessLookup::buffersAreFilledToTheirSizes_data()
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

void TestProcessLookup::buffersAreFilledToTheirSizes()
{
    QFETCH(int, appIdSize);
    QFETCH(int, instanceSize);
    QFETCH(bool, found);
    write("4:memory:/ostrel-helper/ab.c/app\n");
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

void TestProcessLookup::missingBuffersAreRefused()
{
    write("4:memory:/ostrel-helper/ab.c/app\n");
    std::vector<char> buffer(32);
    QVERIFY(readControlGroup(pid, buffer.data(), buffer.size(), buffer.data(), buffer.size()));
    QVERIFY(!readControlGroup(pid, nullptr, buffer.size(), buffer.data(), buffer.size()));
    QVERIFY(!readControlGroup(pid, buffer.data(), buffer.size(), nullptr, buffer.size()));
    QVERIFY(!readControlGroup(pid, nullptr, 0, nullptr, 0));
}

void TestProcessLookup::unreadableFilesGiveNullStrings()
{
    const Control control;
    QVERIFY(control.getAppIdByPid(pid).isNull());
    QVERIFY(control.getAppInstanceIdByPid(pid).isNull());

    QVERIFY(QDir().mkpath(m_root.filePath(QString("proc/%1/cgroup").arg(pid))));
    QVERIFY(control.getAppIdByPid(pid).isNull());
    QVERIFY(control.getAppInstanceIdByPid(pid).isNull());

    qunsetenv("OSTREL_ROOTFS");
    QVERIFY(control.getAppIdByPid(0).isNull());
    QVERIFY(control.getAppIdByPid(-1).isNull());
}

// The path is cut to 4,095 bytes, and opened.
void TestProcessLookup::tooLongRootFoldersFindNothing()
{
    const QByteArray end = QByteArrayLiteral("/proc/1234/cgroup");
    for (const int excess : {0, 1, 905}) {
        const QByteArray root = repeated('r', 4095 - end.size() + excess);
        qputenv("OSTREL_ROOTFS", root);
        QVERIFY(Control().getAppIdByPid(pid).isNull());
        QCOMPARE(openedPath, (root + end).left(4095));
    }
}

void TestProcessLookup::programsStartedMeanwhileDoNotInheritTheFile()
{
    write("4:memory:/ostrel-helper/demo.Viewer/app\n");
    QCOMPARE(Control().getAppIdByPid(pid), "demo.Viewer");
    QCOMPARE(openedFlags, FD_CLOEXEC);
}

void TestProcessLookup::filesAreClosed_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("found") << QByteArray("4:memory:/ostrel-helper/demo.Viewer/app\n");
    QTest::newRow("stopped") << QByteArray("4:memory:/elsewhere\n");
    QTest::newRow("none") << QByteArray("0::/\n");
}

void TestProcessLookup::filesAreClosed()
{
    QFETCH(QByteArray, content);
    write(content);
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
void TestProcessLookup::anyThreadMayLookUp()
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
    write("3:cpu:/a/b/c\n4:memory:/ostrel-helper/demo.Viewer/instance_7\n", 1);
    write("4:memory:/ostrel-helper/other.Application-of-a-long-name/instance_12345\n5:x:/y\n", 2);

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

OSTREL_TEST_MAIN(TestProcessLookup)

#include "tst_process_lookup.moc"
