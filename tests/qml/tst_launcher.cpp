// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "model_rig.h"
#include "warnings.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QRegularExpression>
#include <QtGui/QGuiApplication>
#include <QtQml/QQmlApplicationEngine>
#include <QtQml/QQmlExpression>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickItemGrabResult>
#include <QtQuick/QQuickWindow>

#include <algorithm>
#include <memory>
#include <optional>

// The example "launcher", without a screen. With OSTREL_PICTURES in the environment, its pictures
// for the documents are written into that folder.
class TestLauncher : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void startsAndTerminatesAnApplication();
    void startsAndStopsATask();
    void showsWhyAStartHasFailed();
    void showsThatTheServiceIsMissing();
    void fitsIntoItsWindow_data();
    void fitsIntoItsWindow();
    void programInTheDocumentRuns();

private:
    // The visible items with a property of this value.
    QVector<QQuickItem *> items(const char *property, const QString &value) const;
    // Clicks the button of the entry with this title in the section with this title.
    void click(const QString &section, const QString &title, const QString &button);
    bool isShown(const QString &section, const QString &title) const;
    void evaluate(const QString &script);
    // Returns what the window shows, when all items are in their places.
    QImage grab() const;

    std::optional<ModelRig> m_rig;
    std::optional<Warnings> m_warnings;
    std::unique_ptr<QQmlApplicationEngine> m_engine;
    QQuickWindow *m_window = nullptr;
};

namespace
{

QVector<QQuickItem *> descendants(const QQuickItem *item)
{
    QVector<QQuickItem *> all;
    const QList<QQuickItem *> children = item->childItems();
    for (QQuickItem *child : children) {
        if (child->isVisible()) {
            all += child;
            all += descendants(child);
        }
    }
    return all;
}

QVector<QQuickItem *> itemsBelow(const QQuickItem *item, const char *property, const QString &value)
{
    QVector<QQuickItem *> found;
    const QVector<QQuickItem *> all = descendants(item);
    for (QQuickItem *each : all) {
        if (each->property(property) == value) {
            found.append(each);
        }
    }
    return found;
}

} // namespace

void TestLauncher::initTestCase()
{
    m_rig.emplace();
}

void TestLauncher::init()
{
    m_warnings.emplace();
    QFile catalogue(SOURCE_DIR "/examples/launcher/applications.json");
    QVERIFY(catalogue.open(QFile::ReadOnly));
    m_engine = std::make_unique<QQmlApplicationEngine>();
    m_engine->addImportPath(QML_IMPORT_PATH);
    m_engine->setInitialProperties(
        {{"catalogue", QJsonDocument::fromJson(catalogue.readAll()).toVariant()},
         {"taskType", "sync"}});
    m_engine->load(QUrl::fromLocalFile(SOURCE_DIR "/examples/launcher/main.qml"));
    QCOMPARE(m_engine->rootObjects().size(), 1);
    m_window = qobject_cast<QQuickWindow *>(m_engine->rootObjects().constFirst());
    waitUntil([this] { return m_window->isExposed() && isShown("Tasks", "contacts"); });
}

void TestLauncher::cleanup()
{
    m_engine.reset();
    const QStringList warnings = m_warnings->texts();
    m_warnings.reset();
    m_rig->simulator().reset();
    QCOMPARE(warnings, QStringList());
}

QVector<QQuickItem *> TestLauncher::items(const char *property, const QString &value) const
{
    return itemsBelow(m_window->contentItem(), property, value);
}

bool TestLauncher::isShown(const QString &section, const QString &title) const
{
    const QVector<QQuickItem *> sections = items("title", section);
    return !sections.isEmpty() && !itemsBelow(sections.constFirst(), "title", title).isEmpty();
}

void TestLauncher::click(const QString &section, const QString &title, const QString &button)
{
    const auto find = [&]() -> QQuickItem * {
        const QQuickItem *const where = items("title", section).value(0);
        const QQuickItem *const entry =
            where != nullptr ? itemsBelow(where, "title", title).value(0) : nullptr;
        const QVector<QQuickItem *> all =
            entry != nullptr ? itemsBelow(entry, "text", button) : QVector<QQuickItem *>();
        const auto found = std::find_if(all.cbegin(), all.cend(), [](const QQuickItem *item) {
            return item->inherits("QQuickAbstractButton");
        });
        return found != all.cend() ? *found : nullptr;
    };
    waitUntil([&] { return find() != nullptr; });
    grab(); // moves the items to their places
    const QQuickItem *const item = find();
    QTest::mouseClick(m_window, Qt::LeftButton, {},
                      item->mapToScene(item->boundingRect().center()).toPoint());
}

QImage TestLauncher::grab() const
{
    const QSharedPointer<QQuickItemGrabResult> result = m_window->contentItem()->grabToImage();
    bool isReady = false;
    connect(result.get(), &QQuickItemGrabResult::ready, result.get(), [&] { isReady = true; });
    waitUntil([&] { return isReady; });
    return result->image();
}

void TestLauncher::evaluate(const QString &script)
{
    QQmlExpression expression(qmlContext(m_window), m_window, script);
    expression.evaluate();
    QVERIFY2(!expression.hasError(), qPrintable(expression.error().toString()));
}

void TestLauncher::startsAndTerminatesAnApplication()
{
    QVERIFY(!items("text", "Nothing runs. Start an application.").isEmpty());
    click("Applications", "Viewer", "Start");
    waitUntil([this] { return isShown("Running", "Viewer"); });
    click("Running", "Viewer", "Terminate");
    waitUntil([this] { return !isShown("Running", "Viewer"); });
    QVERIFY(!items("text", "Nothing runs. Start an application.").isEmpty());
}

void TestLauncher::startsAndStopsATask()
{
    click("Tasks", "contacts", "Start");
    click("Tasks", "contacts", "Stop");
    waitUntil([this] { return items("text", "Stop").isEmpty(); });
}

void TestLauncher::showsWhyAStartHasFailed()
{
    m_rig->simulator()
        .faults(OSTREL_CONTROL_INTERFACE, "Start")
        .failNext(OSTREL_ERROR_PREFIX "HandlerFailed", "not today");
    click("Applications", "Clock", "Start");
    waitUntil([this] { return !items("text", "Clock: not today").isEmpty(); });
    const QQuickItem *const dismiss = items("text", "Dismiss").value(0);
    QTest::mouseClick(m_window, Qt::LeftButton, {},
                      dismiss->mapToScene(dismiss->boundingRect().center()).toPoint());
    waitUntil([this] { return items("text", "Clock: not today").isEmpty(); });
}

void TestLauncher::showsThatTheServiceIsMissing()
{
    m_rig->simulator().end();
    waitUntil([this] { return items("text", "The service does not run.").size() == 2; });
    m_rig->simulator().start();
    waitUntil([this] { return isShown("Tasks", "contacts"); });
}

void TestLauncher::fitsIntoItsWindow_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<bool>("isDark");
    QTest::newRow("launcher-wide") << QSize(1000, 450) << false;
    QTest::newRow("launcher-wide-dark") << QSize(1000, 450) << true;
    QTest::newRow("launcher-narrow") << QSize(400, 810) << false;
    QTest::newRow("launcher-narrow-dark") << QSize(400, 810) << true;
}

void TestLauncher::fitsIntoItsWindow()
{
    QFETCH(QSize, size);
    QFETCH(bool, isDark);
    m_window->resize(size);
    evaluate(QString("Material.theme = Material.%1").arg(isDark ? "Dark" : "Light"));
    click("Applications", "Viewer", "Start");
    click("Applications", "Player", "Start");
    click("Tasks", "contacts", "Start");
    waitUntil([this] {
        return isShown("Running", "Viewer") && isShown("Running", "Player")
            && !items("text", "Stop").isEmpty();
    });
    QTest::mouseMove(m_window, QPoint(1, 1)); // beside the buttons

    const QImage picture = grab();
    QCOMPARE(picture.size(), size);
    QCOMPARE(qGray(picture.pixel(2, size.height() - 2)) < 128, isDark);
    const QString folder = qEnvironmentVariable("OSTREL_PICTURES");
    if (!folder.isEmpty()) {
        QVERIFY(picture.save(folder + '/' + QTest::currentDataTag() + ".png"));
    }
    const QVector<QQuickItem *> all = descendants(m_window->contentItem());
    for (const QQuickItem *item : all) {
        const QString text = item->property("text").toString();
        const QRectF place = item->mapRectToScene(item->boundingRect());
        QVERIFY2(text.isEmpty() || (place.left() >= 0 && place.right() <= size.width()),
                 qPrintable(text));
        QVERIFY2(!item->property("truncated").toBool(), qPrintable(text));
    }
}

void TestLauncher::programInTheDocumentRuns()
{
    const QString block =
        QRegularExpression("```qml\\n(.*?)```", QRegularExpression::DotMatchesEverythingOption)
            .match(readFile(SOURCE_DIR "/docs/qml.md"))
            .captured(1);
    QQmlComponent component(m_engine.get());
    component.setData(block.toUtf8(), QUrl("qml.md"));
    const std::unique_ptr<QObject> view(component.create());
    QVERIFY2(view, qPrintable(component.errorString()));
    qobject_cast<QQuickItem *>(view.get())->setParentItem(m_window->contentItem());
    click("Applications", "Viewer", "Start");
    waitUntil([this] {
        const QVector<QQuickItem *> all = descendants(m_window->contentItem());
        return std::any_of(all.cbegin(), all.cend(), [](const QQuickItem *item) {
            return item->property("text").toString().startsWith("demo.Viewer, process ");
        });
    });
}

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    qputenv("QT_QUICK_CONTROLS_STYLE", "Material");
    Ostrel::Testing::isolate();
    const QGuiApplication application(argc, argv);
    TestLauncher test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_launcher.moc"
