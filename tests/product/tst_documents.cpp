// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "process.h"
#include "test_main.h"

#include "DBus/names_p.h"

#include <QtCore/QDir>
#include <QtCore/QMap>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>
#include <QtCore/QXmlStreamReader>

namespace
{

// The first group of each match.
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

} // namespace

// The documentation, as it was made by the target docs.
class TestDocuments : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void linksLeadSomewhere();
    void namesNoFolderOfThisMachine();
    void contractHoldsEachInterface_data();
    void contractHoldsEachInterface();
    void examplesInTheHeadersCompile();
};

void TestDocuments::linksLeadSomewhere()
{
    QMap<QString, QSet<QString>> anchors;
    QMap<QString, QStringList> links;
    const QDir folder(DOCUMENTS_DIR);
    const QStringList files = folder.entryList({"*.html"}, QDir::Files, QDir::Name);
    for (const QString &file : files) {
        const QString html = page(file);
        const QStringList ids = all("\\b(?:id|name)=\"([^\"]*)\"", html);
        anchors[file] = QSet<QString>(ids.cbegin(), ids.cend());
        links[file] = all("\\b(?:href|src|data)=\"([^\"]*)\"", html);
    }
    QVERIFY(files.contains("index.html"));

    QStringList broken;
    int followed = 0;
    for (const QString &file : files) {
        for (const QString &link : qAsConst(links[file])) {
            if (link.contains(QRegularExpression("^(https?|javascript):"))) {
                continue;
            }
            ++followed;
            const QString path = link.section(QLatin1Char('#'), 0, 0);
            const QString anchor = link.section(QLatin1Char('#'), 1);
            const QString target = path.isEmpty() ? file : path;
            const bool there =
                folder.exists(target) && (anchor.isEmpty() || anchors[target].contains(anchor));
            if (!there) {
                broken.append(file + ": " + link);
            }
        }
    }
    QVERIFY2(broken.isEmpty(), qPrintable(broken.join(QLatin1Char('\n'))));
    QVERIFY(followed > 100);
}

void TestDocuments::namesNoFolderOfThisMachine()
{
    const QStringList files = filesBelow(DOCUMENTS_DIR);
    for (const QString &file : files) {
        const QString text = page(file);
        QVERIFY2(!text.contains(SOURCE_DIR), qPrintable(file));
        QVERIFY2(!text.contains(QDir::homePath() + QLatin1Char('/')), qPrintable(file));
    }
}

void TestDocuments::contractHoldsEachInterface_data()
{
    QTest::addColumn<QString>("interface");
    QTest::addColumn<QString>("page");
    const QString contract = "contract.html";
    for (const char *name :
         {"Control1", "TaskInvoker1", "TaskInvokerSession1", "WindowManagement1"}) {
        QTest::newRow(name) << QString::fromLatin1(name) << contract;
    }
    QTest::newRow("Simulator1") << "Simulator1"
                                << "testing.html";
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
        const QString name = attributes.value(QLatin1String("name")).toString();
        if (token == QXmlStreamReader::StartElement && reader.name() == QLatin1String("arg")) {
            const QString row = QString("<td><code>%1</code></td><td><code>%2</code></td>")
                                    .arg(name, attributes.value(QLatin1String("type")).toString());
            QVERIFY2(section.contains(row), qPrintable(row));
        } else if (token == QXmlStreamReader::StartElement && reader.name() != QLatin1String("node")
                   && reader.name() != QLatin1String("interface")
                   && reader.name() != QLatin1String("annotation")) {
            described.append(name);
        } else if (token == QXmlStreamReader::Comment
                   && !reader.text().contains(QLatin1String("SPDX"))) {
            words += reader.text().toString() + QLatin1Char(' ');
        }
    }
    QVERIFY(!reader.hasError());
    QCOMPARE(members, described);
    const QStringList expected = words.simplified().split(QLatin1Char(' '));
    QVERIFY(expected.size() > 10);
    for (const QString &word : expected) {
        QVERIFY2(html.contains(word), qPrintable(word));
    }
}

// Each as a function of a QObject, where an error is at hand.
void TestDocuments::examplesInTheHeadersCompile()
{
    QString functions;
    for (const char *header :
         {"error", "control", "debug_params", "task_invoker", "window_management"}) {
        const QString name = QString::fromLatin1(header);
        QString code = all("@code\n(.*?)@endcode",
                           readFile(QString(SOURCE_DIR "/src/lib/Ostrel/%1.h").arg(name)))
                           .value(0);
        QVERIFY2(!code.isEmpty(), header);
        code.remove(QRegularExpression("^ \\*", QRegularExpression::MultilineOption));
        functions += QString("void %1(const Ostrel::Error &error) {\nQ_UNUSED(error)\n%2}\n")
                         .arg(name, code);
    }
    const QTemporaryDir folder;
    const QString source = folder.filePath("example.cpp");
    writeFile(source,
              QString("#include <Ostrel/Control>\n#include <Ostrel/TaskInvoker>\n"
                      "#include <Ostrel/WindowManagement>\n#include <QtCore/QDebug>\n"
                      "struct Example : QObject {\n%1};\n")
                  .arg(functions));
    const QString flags = run("pkg-config", {"--cflags", "Qt5Core"}).output.trimmed();
    const Result result =
        run(CXX,
            QStringList{"-std=c++17", "-fPIC", "-fsyntax-only", "-Wall", "-Wextra", "-Werror",
                        "-I" FORWARDING_DIR, "-I" SOURCE_DIR "/src/lib",
                        "-I" SOURCE_DIR "/src/common", source}
                + flags.split(QLatin1Char(' '), Qt::SkipEmptyParts));
    QVERIFY2(result.exitStatus == 0, qPrintable(result.errors));
}

OSTREL_TEST_MAIN(TestDocuments)

#include "tst_documents.moc"
