// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "run.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QDir>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QMap>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>
#include <QtCore/QXmlStreamReader>

namespace
{

// Returns the first group of each match.
QStringList all(const QString &pattern, const QString &text)
{
    QStringList found;
    const QRegularExpression expression(pattern, QRegularExpression::DotMatchesEverythingOption);
    QRegularExpressionMatchIterator each = expression.globalMatch(text);
    while (each.hasNext()) {
        found.append(each.next().captured(1));
    }
    return found;
}

QString page(const QString &name)
{
    return readFile(DOCUMENTS_DIR "/" + name);
}

QStringList allPages()
{
    return QDir(DOCUMENTS_DIR).entryList({"*.html"}, QDir::Files, QDir::Name);
}

// Whether an address in the documentation exists: a file, and an anchor if it has one.
bool leadsSomewhere(const QString &address)
{
    static QMap<QString, QSet<QString>> anchors;
    const QString file = address.section('#', 0, 0);
    const QString anchor = address.section('#', 1);
    if (anchor.isEmpty()) {
        return QFile::exists(DOCUMENTS_DIR "/" + file);
    }
    if (!anchors.contains(file)) {
        const QStringList ids = all("\\b(?:id|name)=\"([^\"]*)\"", page(file));
        anchors[file] = QSet<QString>(ids.cbegin(), ids.cend());
    }
    return anchors[file].contains(anchor);
}

// Returns what the search can find: objects with the strings title, page, address and text.
QJsonArray searchIndex()
{
    const QString script = page("search/index.js");
    const int begin = script.indexOf('[');
    const int end = script.lastIndexOf(']');
    return QJsonDocument::fromJson(script.mid(begin, end - begin + 1).toUtf8()).array();
}

} // namespace

// The documentation, as the target docs builds it.
class TestDocuments : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void linksLeadSomewhere();
    void pagesNameNoFolderOfThisMachine();
    void eachPageIsInTheNavigation();
    void searchFindsOnlyWhatIsInThesePages();
    void searchFindsThePageOfAWord_data();
    void searchFindsThePageOfAWord();
    void helpFileHoldsThePages();
    void contractHoldsEachInterface_data();
    void contractHoldsEachInterface();
    void examplesInTheHeadersCompile();
};

void TestDocuments::linksLeadSomewhere()
{
    const QStringList files = allPages();
    QVERIFY(files.contains("index.html"));
    QStringList broken;
    int followed = 0;
    for (const QString &file : files) {
        const QStringList links = all("\\b(?:href|src|data)=\"([^\"]*)\"", page(file));
        for (const QString &link : links) {
            if (link.contains(QRegularExpression("^(https?|javascript):"))) {
                continue;
            }
            ++followed;
            if (!leadsSomewhere(link.startsWith('#') ? file + link : link)) {
                broken.append(file + ": " + link);
            }
        }
    }
    QVERIFY2(broken.isEmpty(), qPrintable(broken.join('\n')));
    QVERIFY(followed > 100);
}

void TestDocuments::pagesNameNoFolderOfThisMachine()
{
    const QStringList files = filesBelow(DOCUMENTS_DIR);
    for (const QString &file : files) {
        const QString text = page(file);
        QVERIFY2(!text.contains(SOURCE_DIR), qPrintable(file));
        QVERIFY2(!text.contains(QDir::homePath() + '/'), qPrintable(file));
    }
}

// The list of pages is written by hand, without Doxygen's own lists.
void TestDocuments::eachPageIsInTheNavigation()
{
    QStringList expected;
    const QStringList files = allPages();
    for (const QString &file : files) {
        if (!file.contains(QRegularExpression("^dir_|-members|_8h"))) {
            expected.append(file);
        }
    }
    const QString navigation = all("<div id=\"pages\"(.*?)</div>", page("index.html")).value(0);
    QStringList listed = all("href=\"([^\"]*)\"", navigation);
    QCOMPARE(listed.value(0), "words.html");
    listed.sort();
    QCOMPARE(listed, expected);
}

// Names of Qt, which the pages only mention, would hide what the reader looks for.
void TestDocuments::searchFindsOnlyWhatIsInThesePages()
{
    const QJsonArray index = searchIndex();
    QVERIFY(index.size() > 100);
    for (const QJsonValue &entry : index) {
        const QString address = entry["address"].toString();
        QVERIFY2(!entry["title"].toString().isEmpty(), qPrintable(address));
        QVERIFY2(!address.isEmpty() && leadsSomewhere(address), qPrintable(address));
    }
    // There is no other index.
    QCOMPARE(filesBelow(DOCUMENTS_DIR "/search"), QStringList{"index.js"});
}

void TestDocuments::searchFindsThePageOfAWord_data()
{
    QTest::addColumn<QString>("member");
    QTest::addColumn<QString>("address");
    const auto row = [](const char *word, const char *member, const char *address) {
        QTest::newRow(word) << member << address;
    };
    row("error", "title", "^errors.html$");
    row("simulator", "title", "^simulator.html$");
    row("Testing your program", "title", "^testing.html$");
    row("catalogue", "title", "^md_tools_simulator_catalogue.html$");
    row("fault desk", "title", "^simulator.html#");
    row("setTimeout()", "title", "^classOstrel_1_1Control.html#");
    row("ApplicationAlreadyRunning", "title", "^classOstrel_1_1Error.html#");
    row("appInstanceId", "title", "^structOstrel_1_1Control_1_1StartResult.html#");
    row("session", "text", "^words.html$");
    row("RegisterInvoker", "title", "^contract.html#TaskInvoker1.RegisterInvoker$");
    row("out-of-memory", "text", "^classOstrel_1_1Control.html#");
}

void TestDocuments::searchFindsThePageOfAWord()
{
    QFETCH(const QString, member);
    QFETCH(const QString, address);
    const QRegularExpression expected(address);
    const QString word = QTest::currentDataTag();
    const QJsonArray index = searchIndex();
    for (const QJsonValue &entry : index) {
        if (entry[member].toString().contains(word, Qt::CaseInsensitive)
            && expected.match(entry["address"].toString()).hasMatch()) {
            return;
        }
    }
    QFAIL("not found");
}

// The table of keywords is plain; the pages are compressed.
void TestDocuments::helpFileHoldsThePages()
{
    if (qstrlen(HELP_FILE) == 0) {
        QSKIP("there is no qhelpgenerator", );
    }
    QFile file(HELP_FILE);
    QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.errorString()));
    const QByteArray help = file.readAll();
    QVERIFY(help.startsWith("SQLite format 3"));
    for (const char *name :
         {"words.html", "words.svg", "errors.html", "Ostrel::Control::getAppIdByPid"}) {
        QVERIFY2(help.contains(name), name);
    }
    QVERIFY(!help.contains("QString::"));
}

void TestDocuments::contractHoldsEachInterface_data()
{
    QTest::addColumn<QString>("interface");
    QTest::addColumn<QString>("page");
    const QString contract = "contract.html";
    for (const char *name :
         {"Control1", "TaskInvoker1", "TaskInvokerSession1", "WindowManagement1"}) {
        QTest::newRow(name) << name << contract;
    }
    QTest::newRow("Simulator1") << "Simulator1"
                                << "simulator.html";
}

// Each member with its arguments and their types, and every word of the comments.
void TestDocuments::contractHoldsEachInterface()
{
    QFETCH(const QString, interface);
    QFETCH(const QString, page);
    QString html = ::page(page);
    const QStringList members = all(QString("id=\"%1\\.([^\"]*)\"").arg(interface), html);
    const QString section = html.mid(html.indexOf("." + interface));
    html.remove(QRegularExpression("<[^>]*>"));
    html.replace("&gt;", ">");

    QStringList described;
    QString words;
    QXmlStreamReader reader(
        readFile(QString(INTERFACES_DIR "/" OSTREL_SERVICE_NAME ".%1.xml").arg(interface)));
    while (!reader.atEnd()) {
        const QXmlStreamReader::TokenType token = reader.readNext();
        const QXmlStreamAttributes attributes = reader.attributes();
        const QString name = attributes.value("name").toString();
        if (token == QXmlStreamReader::StartElement && reader.name() == "arg") {
            const QString row = QString("<td><code>%1</code></td><td><code>%2</code></td>")
                                    .arg(name, attributes.value("type").toString());
            QVERIFY2(section.contains(row), qPrintable(row));
        } else if (token == QXmlStreamReader::StartElement && reader.name() != "node"
                   && reader.name() != "interface" && reader.name() != "annotation") {
            described.append(name);
        } else if (token == QXmlStreamReader::Comment && !reader.text().contains("SPDX")) {
            words += reader.text().toString() + ' ';
        }
    }
    QVERIFY(!reader.hasError());
    QCOMPARE(members, described);
    const QStringList expected = words.simplified().split(' ');
    QVERIFY(expected.size() > 10);
    for (const QString &word : expected) {
        QVERIFY2(html.contains(word), qPrintable(word));
    }
}

// Each example becomes a function of a QObject, where an error is declared.
void TestDocuments::examplesInTheHeadersCompile()
{
    QString functions;
    for (const char *header : {"lib/Ostrel/error", "lib/Ostrel/control", "lib/Ostrel/debug_params",
                               "lib/Ostrel/task_invoker", "lib/Ostrel/window_management",
                               "models/Ostrel/applications_model", "models/Ostrel/tasks_model",
                               "testing/Ostrel/Testing/call", "testing/Ostrel/Testing/catalogue",
                               "testing/Ostrel/Testing/simulator"}) {
        const QString name = QString(header).section('/', -1);
        QString code =
            all("@code\n(.*?)@endcode", readFile(QString(SOURCE_DIR "/src/%1.h").arg(header)))
                .value(0);
        QVERIFY2(!code.isEmpty(), header);
        code.remove(QRegularExpression("^ \\*", QRegularExpression::MultilineOption));
        functions += QString("void %1Example(const Ostrel::Error &error) {\nQ_UNUSED(error)\n%2}\n")
                         .arg(name, code);
    }
    const QTemporaryDir folder;
    const QString source = folder.filePath("example.cpp");
    writeFile(source,
              QString("#include <Ostrel/Control>\n#include <Ostrel/TaskInvoker>\n"
                      "#include <Ostrel/applications_model.h>\n#include <Ostrel/tasks_model.h>\n"
                      "#include <Ostrel/WindowManagement>\n#include <QtCore/QDebug>\n"
                      "#include <Ostrel/Testing/simulator.h>\n"
                      "#include <QtCore/QSortFilterProxyModel>\n"
                      "using namespace Ostrel::Testing;\nextern Simulator &simulator;\n"
                      "struct Example : QObject {\n%1};\n")
                  .arg(functions));
    const QString flags = run("pkg-config", {"--cflags", "Qt5Core", "Qt5DBus"}).output.trimmed();
    const Result result = run(
        CXX,
        QStringList{"-std=c++17", "-fPIC", "-fsyntax-only", "-Wall", "-Wextra", "-Werror",
                    "-I" FORWARDING_DIR, "-I" SOURCE_DIR "/src/lib", "-I" SOURCE_DIR "/src/common",
                    "-I" SOURCE_DIR "/src/models", "-I" SOURCE_DIR "/src/testing", source}
            + flags.split(' ', Qt::SkipEmptyParts));
    QVERIFY2(result.exitStatus == 0, qPrintable(result.errors));
}

OSTREL_TEST_MAIN(TestDocuments)

#include "tst_documents.moc"
