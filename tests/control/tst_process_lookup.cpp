// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "process_root.h"
#include "warnings.h"

#include <Ostrel/Control>
#include <Ostrel/Testing/Main>

using Ostrel::Control;

namespace
{

constexpr int pid = 1234;

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

// Which application a process belongs to, by the lines of its control groups. There is no bus here.
class TestProcessLookup : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void controlGroupLinesAreParsed_data();
    void controlGroupLinesAreParsed();
};

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
    row("helper in the component itself", "4:memory:/x.y/ostrel-helper\n", "x.y", nothing);
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
    const ProcessRoot root;
    root.write(content, pid);
    const Warnings warnings;
    const Control control;
    QCOMPARE(control.getAppIdByPid(pid), appId);
    QCOMPARE(control.getAppIdByPid(pid).isNull(), appId.isNull());
    QCOMPARE(control.getAppInstanceIdByPid(pid), instanceId);
    QCOMPARE(control.getAppInstanceIdByPid(pid).isNull(), instanceId.isNull());
    QCOMPARE(warnings.texts(), QStringList());
}

OSTREL_TEST_MAIN(TestProcessLookup)

#include "tst_process_lookup.moc"
