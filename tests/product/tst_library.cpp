// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "process.h"
#include "test_main.h"

#include <QtCore/QRegularExpression>

// What the library's file exports and needs.
class TestLibrary : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void exportsOnlyItsClasses();
    void linksOnlyCoreAndDBus();
};

// The symbols are those that the package promises, as the linker spells them.
void TestLibrary::exportsOnlyItsClasses()
{
    const Result result = run("nm", {"--dynamic", "--defined-only", "--format=posix", LIBRARY});
    QCOMPARE(result.exitStatus, 0);
    QStringList exported;
    const QStringList lines = result.output.split('\n', Qt::SkipEmptyParts);
    for (const QString &line : lines) {
        exported.append(line.section(' ', 0, 0));
    }
    exported.sort();

    static const QRegularExpression promise("^ (\\S+)@Base ", QRegularExpression::MultilineOption);
    QStringList promised;
    auto each = promise.globalMatch(readFile(SOURCE_DIR "/debian/libostrel-system-qt5-1.symbols"));
    while (each.hasNext()) {
        promised.append(each.next().captured(1));
    }
    promised.sort();
    QCOMPARE(exported, promised);
}

void TestLibrary::linksOnlyCoreAndDBus()
{
    const Result result = run("readelf", {"--dynamic", LIBRARY});
    QCOMPARE(result.exitStatus, 0);
    QStringList needed;
    QString name;
    const QRegularExpression entry("\\((NEEDED|SONAME)\\).*\\[(.*)\\]");
    auto each = entry.globalMatch(result.output);
    while (each.hasNext()) {
        const auto match = each.next();
        if (match.captured(1) == "SONAME") {
            name = match.captured(2);
            // The dynamic linker keeps the variables of threads.
        } else if (!QRegularExpression("^(lib(stdc\\+\\+|gcc_s|c|m)|ld(64|-linux[a-z0-9_-]*))\\.so")
                        .match(match.captured(2))
                        .hasMatch()) {
            needed.append(match.captured(2));
        }
    }
    needed.sort();
    QCOMPARE(needed, (QStringList{"libQt5Core.so.5", "libQt5DBus.so.5"}));
    QCOMPARE(name, "libostrel-system-qt5.so.1");
}

OSTREL_TEST_MAIN(TestLibrary)

#include "tst_library.moc"
