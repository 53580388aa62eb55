// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "details_panel.h"
#include "monitor_test.h"

#include <QtCore/QRegularExpression>
#include <QtCore/QSettings>
#include <QtGui/QAccessible>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMenu>
#include <QtWidgets/QMenuBar>
#include <QtWidgets/QSplitter>

// The window itself: what it remembers, and who can use it.
class TestMonitorWindow : public MonitorTest
{
    Q_OBJECT

private Q_SLOTS:
    void remembersItsState();
    void damagedSettingsAreNoHarm();
    void mnemonicsAndShortcutsAreUnique();
    void screenReaderFindsNames();
    void tabKeyReachesEveryPart();
    void fitsWithLargeFonts();
    void textCanBeReadInDarkAndLightPalettes();
};

namespace
{

QString mnemonicOf(const QString &text)
{
    return QRegularExpression("&([^&])").match(text).captured(1).toLower();
}

} // namespace

void TestMonitorWindow::remembersItsState()
{
    window().resize(900, 640);
    window().tables().addTaskType("maintenance");
    window().tables().addTaskType("a/b");
    window().tables().setCurrentIndex(2);
    window().tables().currentPage()->horizontalHeader()->resizeSection(0, 123);
    window().actions().details->setChecked(false);
    enter("demo.Clock");
    waitUntil([this] { return child<QComboBox>("Application to start")->count() == 1; });
    takeWarnings(); // of a type that the simulator does not have
    window().close();
    openWindow();

    QCOMPARE(window().size(), QSize(900, 640));
    QCOMPARE(window().tables().taskTypes(), QStringList({"maintenance", "a/b"}));
    QCOMPARE(window().tables().currentIndex(), 2);
    QCOMPARE(window().tables().currentPage()->horizontalHeader()->sectionSize(0), 123);
    QVERIFY(!window().actions().details->isChecked());
    QVERIFY(!window().findChild<DetailsPanel *>()->isVisible());
    QCOMPARE(child<QComboBox>("Application to start")->itemText(0), QString("demo.Clock"));
    takeWarnings();
}

void TestMonitorWindow::damagedSettingsAreNoHarm()
{
    closeWindow();
    QSettings settings;
    for (const char *key : {"geometry", "window", "columns", "rows", "columns/ApplicationsTable"}) {
        settings.setValue(key, QByteArray("\x00\xff\x01nothing", 10));
    }
    settings.setValue("tab", 77);
    settings.setValue("taskTypes", 5);
    settings.setValue("applications", QStringList{QString(), "\n", "a.b"});
    openWindow();
    QVERIFY(window().tables().currentPage() != nullptr);
    QCOMPARE(child<QComboBox>("Application to start")->count(), 1);
    takeWarnings();
}

void TestMonitorWindow::mnemonicsAndShortcutsAreUnique()
{
    const auto check = [](const QList<QAction *> &actions) {
        QStringList mnemonics;
        for (const QAction *action : actions) {
            if (!action->isSeparator()) {
                const QString mnemonic = mnemonicOf(action->text());
                QVERIFY2(!mnemonic.isEmpty(), qPrintable(action->text()));
                QVERIFY2(!mnemonics.contains(mnemonic), qPrintable(action->text()));
                mnemonics.append(mnemonic);
            }
        }
    };
    check(window().menuBar()->actions());
    QStringList shortcuts;
    for (const QAction *menu : window().menuBar()->actions()) {
        check(menu->menu()->actions());
        for (const QAction *action : menu->menu()->actions()) {
            const QString keys = action->shortcut().toString();
            QVERIFY2(action->isSeparator() || !keys.isEmpty(), qPrintable(action->text()));
            QVERIFY2(action->isSeparator() || !shortcuts.contains(keys), qPrintable(keys));
            shortcuts.append(keys);
        }
    }
    QVERIFY(shortcuts.size() > 15);
}

void TestMonitorWindow::screenReaderFindsNames()
{
    window().tables().addTaskType("sync");
    window().messages().add("wrong");
    int seen = 0;
    for (QWidget *widget : window().findChildren<QWidget *>()) {
        if (widget->focusPolicy() == Qt::NoFocus || widget->focusProxy() != nullptr
            || !widget->isVisible()) {
            continue;
        }
        QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(widget);
        QVERIFY(accessible != nullptr);
        QVERIFY2(!accessible->text(QAccessible::Name).isEmpty(), widget->metaObject()->className());
        ++seen;
    }
    QVERIFY(seen > 5);
}

void TestMonitorWindow::tabKeyReachesEveryPart()
{
    window().tables().setFocus();
    QSet<QWidget *> reached;
    for (int i = 0; i < 50; ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        reached.insert(QApplication::focusWidget());
    }
    QVERIFY(reached.contains(window().tables().currentPage()));
    QVERIFY(reached.contains(window().findChild<DetailsPanel *>()));
    QVERIFY(reached.contains(child<QLineEdit>("Filter")));
    const QWidget *name = child<QLineEdit>("Application to start");
    QVERIFY(reached.contains(name->parentWidget())
            || reached.contains(const_cast<QWidget *>(name)));
}

void TestMonitorWindow::fitsWithLargeFonts()
{
    closeWindow();
    const QFont usual = QApplication::font();
    QFont large = usual;
    large.setPointSize(24);
    QApplication::setFont(large);
    openWindow();
    QApplication::setFont(usual);
    const TablePage *page = window().tables().currentPage();
    QVERIFY(page->verticalHeader()->defaultSectionSize() >= QFontMetrics(large).height());
    // Nothing makes the window wider than a small screen.
    QVERIFY2(window().minimumSizeHint().width() <= 1024,
             qPrintable(QString::number(window().minimumSizeHint().width())));
}

void TestMonitorWindow::textCanBeReadInDarkAndLightPalettes()
{
    closeWindow();
    const QPalette usual = QApplication::palette();
    for (const bool isDark : {false, true}) {
        QPalette palette(isDark ? QColor(40, 40, 40) : QColor(230, 230, 230));
        QApplication::setPalette(palette);
        openWindow();
        window().messages().add("wrong");
        for (const QLabel *label : window().findChildren<QLabel *>()) {
            const QColor text = label->palette().color(label->foregroundRole());
            const QColor back = label->palette().color(label->backgroundRole());
            QVERIFY2(qAbs(text.lightness() - back.lightness()) > 90, qPrintable(label->text()));
        }
        closeWindow();
    }
    QApplication::setPalette(usual);
}

OSTREL_MONITOR_TEST_MAIN(TestMonitorWindow)

#include "tst_monitor_window.moc"
