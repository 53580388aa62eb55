// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "run.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QDirIterator>
#include <QtCore/QRegularExpression>

// What editors know of the module, and Qt's own check of the QML files.
class TestQmlTypes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void descriptionIsThatOfTheModule();
    void examplesHaveNoFindings();
};

void TestQmlTypes::descriptionIsThatOfTheModule()
{
    const Result result = run(SOURCE_DIR "/scripts/qmltypes", {"compare", BUILD_DIR});
    QVERIFY2(result.exitStatus == 0, qPrintable(result.output + result.errors));
}

void TestQmlTypes::examplesHaveNoFindings()
{
    QStringList files;
    QDirIterator each(SOURCE_DIR "/examples", {"*.qml"}, QDir::Files, QDirIterator::Subdirectories);
    while (each.hasNext()) {
        files.append(each.next());
    }
    QVERIFY(!files.isEmpty());
    const Result result = run("qmllint", files);
    QCOMPARE(result.output + result.errors, QString());
    QCOMPARE(result.exitStatus, 0);

    // It does not know what a property of the type "var" has.
    const QString modules = run("qmake", {"-query", "QT_INSTALL_QML"}).output.trimmed();
    const Result strict =
        run("qmllint", QStringList{"-U", "-I", QML_IMPORT_PATH, "-I", modules} + files);
    static const QRegularExpression known("Type of property \"(\\w+)\" not found");
    const QStringList lines = strict.errors.split('\n');
    for (const QString &line : lines) {
        QVERIFY2(!line.startsWith("Warning: ")
                     || QStringList({"catalogue", "model", "modelData"})
                            .contains(known.match(line).captured(1)),
                 qPrintable(line));
    }
}

OSTREL_TEST_MAIN(TestQmlTypes)

#include "tst_qml_types.moc"
