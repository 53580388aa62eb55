// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "run.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtCore/QStandardPaths>

// The source tree itself.
class TestTree : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void busNamesComeFromOnePlace();
    void versionIsTheSameEverywhere();
    void documentsNameFilesThatExist();
    void linksLeadSomewhere();

private:
    QStringList m_files;
};

void TestTree::initTestCase()
{
    // git lists the files of the tree. In a copy without git, every file except the built ones
    // belongs to it.
    const Result listed = QStandardPaths::findExecutable("git").isEmpty()
        ? Result()
        : run("git",
              {"-c", "safe.directory=*", "-C", SOURCE_DIR, "ls-files", "--cached", "--others",
               "--exclude-standard"});
    const QStringList all = listed.exitStatus == 0 ? listed.output.split('\n', Qt::SkipEmptyParts)
                                                   : filesBelow(SOURCE_DIR);
    for (const QString &file : all) {
        if (!QRegularExpression("^(\\.git|build|\\.cache)(/|$)|(^|/)__pycache__/")
                 .match(file)
                 .hasMatch()) {
            m_files.append(file);
        }
    }
    QVERIFY(m_files.contains("CMakeLists.txt"));
}

// The prefix is set in one place. Nothing else spells a name with it, dotted or as a path.
void TestTree::busNamesComeFromOnePlace()
{
    const QString prefix = QString("org") + ".ostrel";
    QVERIFY(readFile(SOURCE_DIR "/cmake/OstrelNames.cmake")
                .contains(QString("set(OSTREL_VENDOR_PREFIX \"%1\" CACHE").arg(prefix)));
    const QString path = QString("org") + "/ostrel";
    const QStringList mayNameIt{"README.md", "cmake/OstrelNames.cmake"};
    for (const QString &file : qAsConst(m_files)) {
        const QString text = readFile(SOURCE_DIR "/" + file);
        const bool names =
            text.contains(prefix, Qt::CaseInsensitive) || text.contains(path, Qt::CaseInsensitive);
        QVERIFY2(!names || mayNameIt.contains(file), qPrintable(file));
    }
}

void TestTree::versionIsTheSameEverywhere()
{
    const auto first = [](const char *file, const char *pattern) {
        return QRegularExpression(pattern, QRegularExpression::MultilineOption)
            .match(readFile(SOURCE_DIR "/" + QLatin1String(file)))
            .captured(1);
    };
    const QString version = PROJECT_VERSION;
    QCOMPARE(first("CMakeLists.txt", "^    VERSION (\\S+)$"), version);
    QCOMPARE(first("NEWS.md", "^## (\\S+)$"), version);
    QCOMPARE(first("debian/changelog", "^libostrel-system-qt5 \\((\\S+)\\) "), version);
}

// A link to a missing file is worse than none.
void TestTree::documentsNameFilesThatExist()
{
    static const QRegularExpression name(
        "`((?:abi|cmake|debian|docs|interfaces|scripts|src|tests|tools)/[^`*\\s]+)`"
        "|\\]\\(([^):]+)\\)");
    int names = 0;
    for (const char *document :
         {"CONTRIBUTING.md", "NEWS.md", "README.md", "RELEASING.md", "SECURITY.md"}) {
        auto each = name.globalMatch(readFile(SOURCE_DIR "/" + QLatin1String(document)));
        while (each.hasNext()) {
            const auto match = each.next();
            const QString file = match.captured(1) + match.captured(2);
            // The interface that CONTRIBUTING.md adds does not exist.
            if (!file.contains("foo", Qt::CaseInsensitive)) {
                ++names;
                QVERIFY2(QFileInfo::exists(SOURCE_DIR "/" + file),
                         qPrintable(QLatin1String(document) + ": " + file));
            }
        }
    }
    QVERIFY(names > 20);
}

// Links in the files that people read in the tree.
void TestTree::linksLeadSomewhere()
{
    const QRegularExpression link("\\]\\(([^)#:]+)(#[^):]*)?\\)");
    int followed = 0;
    for (const QString &file : qAsConst(m_files)) {
        // The pages of the documentation link to each other by their page names.
        if (!file.endsWith(".md") || file.startsWith("docs/")) {
            continue;
        }
        const QString path = SOURCE_DIR "/" + file;
        const QDir folder = QFileInfo(path).dir();
        QRegularExpressionMatchIterator each = link.globalMatch(readFile(path));
        while (each.hasNext()) {
            const QString target = each.next().captured(1);
            QVERIFY2(folder.exists(target), qPrintable(file + ": " + target));
            ++followed;
        }
    }
    QVERIFY(followed > 0);
}

OSTREL_TEST_MAIN(TestTree)

#include "tst_tree.moc"
