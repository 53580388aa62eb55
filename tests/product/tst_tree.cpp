// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "process.h"
#include "test_main.h"

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

    void everyFileHasItsLicence();
    void busNamesComeFromOnePlace();
    void versionIsTheSameEverywhere();
    void documentsNameFilesThatExist();
    void linksLeadSomewhere();

private:
    QStringList m_files;
};

void TestTree::initTestCase()
{
    // What belongs to the tree, git knows; of a copy without git, all of it but what is built.
    const Result listed = QStandardPaths::findExecutable(QStringLiteral("git")).isEmpty()
        ? Result()
        : run(QStringLiteral("git"),
              {QStringLiteral("-c"), QStringLiteral("safe.directory=*"), QStringLiteral("-C"),
               QStringLiteral(SOURCE_DIR), QStringLiteral("ls-files"), QStringLiteral("--cached"),
               QStringLiteral("--others"), QStringLiteral("--exclude-standard")});
    const QStringList all = listed.exitStatus == 0
        ? listed.output.split(QLatin1Char('\n'), Qt::SkipEmptyParts)
        : filesBelow(QStringLiteral(SOURCE_DIR));
    for (const QString &file : all) {
        if (!QRegularExpression(QStringLiteral("^(\\.git|build|\\.cache)(/|$)|(^|/)__pycache__/"))
                 .match(file)
                 .hasMatch()) {
            m_files.append(file);
        }
    }
    QVERIFY(m_files.contains(QStringLiteral("CMakeLists.txt")));
}

void TestTree::everyFileHasItsLicence()
{
    for (const QString &file : qAsConst(m_files)) {
        if (file == QLatin1String("LICENSE")) {
            continue;
        }
        // A file that cannot hold a comment has one beside it, or one for all in the folder above.
        const QString beside = file + QStringLiteral(".license");
        const QString above = QStringLiteral("tests/robustness/fuzz/corpus/");
        const QString holder = m_files.contains(beside) ? beside
            : file.startsWith(above)                    ? above + QStringLiteral("REUSE.toml")
                                                        : file;
        const QString text = readFile(QStringLiteral(SOURCE_DIR "/") + holder);
        const QString beginning = text.section(QLatin1Char('\n'), 0, 7);
        for (const QString &tag : {QStringLiteral("SPDX-FileCopyrightText: "),
                                   QStringLiteral("SPDX-License-Identifier: LGPL-2.1-or-later")}) {
            QVERIFY2(beginning.contains(tag), qPrintable(file));
        }
    }
}

// The prefix is set once. Nothing else spells a name that is made of it, in either form.
void TestTree::busNamesComeFromOnePlace()
{
    const QString prefix = QStringLiteral("org") + QStringLiteral(".ostrel");
    QVERIFY(readFile(QStringLiteral(SOURCE_DIR "/cmake/OstrelNames.cmake"))
                .contains(QStringLiteral("set(OSTREL_VENDOR_PREFIX \"%1\" CACHE").arg(prefix)));
    const QString path = QStringLiteral("org") + QStringLiteral("/ostrel");
    const QStringList mayNameIt{QStringLiteral("README.md"),
                                QStringLiteral("cmake/OstrelNames.cmake")};
    for (const QString &file : qAsConst(m_files)) {
        const QString text = readFile(QStringLiteral(SOURCE_DIR "/") + file);
        const bool names =
            text.contains(prefix, Qt::CaseInsensitive) || text.contains(path, Qt::CaseInsensitive);
        QVERIFY2(!names || mayNameIt.contains(file), qPrintable(file));
    }
}

void TestTree::versionIsTheSameEverywhere()
{
    const auto first = [](const char *file, const char *pattern) {
        return QRegularExpression(QString::fromLatin1(pattern), QRegularExpression::MultilineOption)
            .match(readFile(QStringLiteral(SOURCE_DIR "/") + QLatin1String(file)))
            .captured(1);
    };
    const QString version = QStringLiteral(PROJECT_VERSION);
    QCOMPARE(first("CMakeLists.txt", "^    VERSION (\\S+)$"), version);
    QCOMPARE(first("NEWS.md", "^## (\\S+)$"), version);
    QCOMPARE(first("debian/changelog", "^libostrel-system-qt5 \\((\\S+)\\) "), version);
}

// A guide that sends its reader to a file that is gone is worse than none.
void TestTree::documentsNameFilesThatExist()
{
    static const QRegularExpression name(
        QStringLiteral("`((?:abi|cmake|debian|docs|interfaces|scripts|src|tests|tools)/[^`*\\s]+)`"
                       "|\\]\\(([^):]+)\\)"));
    int names = 0;
    for (const char *document :
         {"CONTRIBUTING.md", "NEWS.md", "README.md", "RELEASING.md", "SECURITY.md"}) {
        auto each =
            name.globalMatch(readFile(QStringLiteral(SOURCE_DIR "/") + QLatin1String(document)));
        while (each.hasNext()) {
            const auto match = each.next();
            const QString file = match.captured(1) + match.captured(2);
            // The interface that CONTRIBUTING.md adds is none of the tree.
            if (!file.contains(QStringLiteral("foo"), Qt::CaseInsensitive)) {
                ++names;
                QVERIFY2(QFileInfo::exists(QStringLiteral(SOURCE_DIR "/") + file),
                         qPrintable(QLatin1String(document) + QStringLiteral(": ") + file));
            }
        }
    }
    QVERIFY(names > 20);
}

// The links in the texts that are read in the tree itself.
void TestTree::linksLeadSomewhere()
{
    const QRegularExpression link(QStringLiteral("\\]\\(([^)#:]+)(#[^):]*)?\\)"));
    int followed = 0;
    for (const QString &file : qAsConst(m_files)) {
        // The pages of the documentation link to one another by their names there.
        if (!file.endsWith(QLatin1String(".md")) || file.startsWith(QLatin1String("docs/"))) {
            continue;
        }
        const QString path = QStringLiteral(SOURCE_DIR "/") + file;
        const QDir folder = QFileInfo(path).dir();
        QRegularExpressionMatchIterator each = link.globalMatch(readFile(path));
        while (each.hasNext()) {
            const QString target = each.next().captured(1);
            QVERIFY2(folder.exists(target), qPrintable(file + QStringLiteral(": ") + target));
            ++followed;
        }
    }
    QVERIFY(followed > 0);
}

OSTREL_TEST_MAIN(TestTree)

#include "tst_tree.moc"
