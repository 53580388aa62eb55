// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "run.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>

// What the file of each library exports and needs.
class TestLibrary : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void exportsOnlyItsClasses_data();
    void exportsOnlyItsClasses();
    void linksOnlyWhatItMay_data();
    void linksOnlyWhatItMay();

private:
    // A row for each library, which is its file.
    static void addLibraries();
};

void TestLibrary::addLibraries()
{
    QTest::addColumn<QString>("library");
    const QStringList libraries = QString(LIBRARIES).split(':');
    for (const QString &library : libraries) {
        QTest::newRow(qPrintable(QFileInfo(library).baseName())) << library;
    }
}

void TestLibrary::exportsOnlyItsClasses_data()
{
    addLibraries();
}

// The symbols are those that the package promises, as the linker spells them.
void TestLibrary::exportsOnlyItsClasses()
{
    QFETCH(QString, library);
    const Result result = run("nm", {"--dynamic", "--defined-only", "--format=posix", library});
    QCOMPARE(result.exitStatus, 0);
    QStringList exported;
    const QStringList lines = result.output.split('\n', Qt::SkipEmptyParts);
    for (const QString &line : lines) {
        exported.append(line.section(' ', 0, 0));
    }
    exported.sort();

    static const QRegularExpression promise("^ (\\S+)@Base ", QRegularExpression::MultilineOption);
    QStringList promised;
    auto each = promise.globalMatch(
        readFile(SOURCE_DIR "/debian/" + QFileInfo(library).baseName() + "-1.symbols"));
    while (each.hasNext()) {
        promised.append(each.next().captured(1));
    }
    promised.sort();
    QCOMPARE(exported, promised);
}

void TestLibrary::linksOnlyWhatItMay_data()
{
    addLibraries();
}

void TestLibrary::linksOnlyWhatItMay()
{
    QFETCH(QString, library);
    const Result result = run("readelf", {"--dynamic", library});
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
    QStringList allowed{"libQt5Core.so.5", "libQt5DBus.so.5"};
    const QString core = "libostrel-system-qt5";
    if (QFileInfo(library).baseName() != core) {
        allowed.append(core + ".so.1");
    }
    QCOMPARE(needed, allowed);
    QCOMPARE(name, QFileInfo(library).baseName() + ".so.1");
}

OSTREL_TEST_MAIN(TestLibrary)

#include "tst_library.moc"
