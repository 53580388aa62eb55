// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus_monitor.h"
#include "desk_test.h"
#include "notice.h"

#include <QtCore/QJsonObject>
#include <QtCore/QRegularExpression>
#include <QtCore/QSettings>
#include <QtCore/QTemporaryDir>
#include <QtGui/QAccessible>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QMenu>
#include <QtWidgets/QMenuBar>

#include <csignal>

// Where the dock with the fault desk is there, and who can use it.
class TestMonitorDesk : public DeskTest
{
    Q_OBJECT

private Q_SLOTS:
    void isThereOnlyWhereTheServiceHasADesk();
    void startsNoService();
    void isBackWhenTheServiceIs();
    void remembersWhetherTheUserWantsIt();
    void closingItIsTheUsersWish();
    void doesNotCrashWhenTheWindowIsClosedDuringACall();
    void serviceThatGoesEndsAWait();
    void isDisabledWhileAFileIsOpen();
    void mnemonicsAreUnique();
    void screenReaderFindsNames();
    void tabKeyReachesEveryControl();
    void fitsIntoANarrowColumn();
    void textCanBeReadInDarkAndLightPalettes();
    void endOfTheBusDisablesIt(); // Nothing works after this one.
};

void TestMonitorDesk::isThereOnlyWhereTheServiceHasADesk()
{
    openDesk();
    m_simulator.end();
    waitUntil([this] { return !pages().isEnabled(); });
    // Another service comes, which has none.
    QDBusConnection other = QDBusConnection::connectToBus(m_bus.address(), "other service");
    QVERIFY(other.registerService(OSTREL_SERVICE_NAME));
    waitUntil([this] { return !dock().isVisible(); });
    QVERIFY(!window().actions().faultDesk->isVisible());
    QVERIFY(other.unregisterService(OSTREL_SERVICE_NAME));
    QDBusConnection::disconnectFromBus("other service");
    m_simulator.start();
    waitUntil([this] { return dock().isVisible(); });
    QVERIFY(window().actions().faultDesk->isVisible());
    QVERIFY(pages().isEnabled());
    takeWarnings(); // of the lists of a service without objects
}

void TestMonitorDesk::startsNoService()
{
    closeWindow();
    endService();
    BusMonitor monitor(m_bus);
    openWindow();
    waitUntil([this] { return dock().isSettled(); });
    QVERIFY(!window().actions().faultDesk->isVisible());
    constexpr int noAutoStart = 2;
    const QVector<QJsonObject> messages = monitor.ownMessages();
    int asked = 0;
    for (const QJsonObject &message : messages) {
        if (message["member"] == "RootFs") {
            ++asked;
            QVERIFY(message["flags"].toInt() & noAutoStart);
        }
    }
    QCOMPARE(asked, 1);
}

void TestMonitorDesk::isBackWhenTheServiceIs()
{
    waitUntil([this] { return window().actions().faultDesk->isVisible(); });
    // So it dies before it replies to what the page asks.
    ::kill(static_cast<pid_t>(m_simulator.process().processId()), SIGSTOP);
    openDesk();
    openPage("More");
    const auto *notice = dock().findChild<Notice *>();
    QVERIFY(!notice->isVisible());
    m_simulator.process().kill();
    waitUntil([&] { return notice->isVisible(); });
    QCOMPARE(notice->text(), QString("The service has gone, and with it what was arranged."));
    QVERIFY(!pages().isEnabled());
    QVERIFY(dock().isVisible());
    m_simulator.start();
    waitUntil([this] { return pages().isEnabled(); });
    QVERIFY(!notice->isVisible());
    QCOMPARE(messages(), QStringList());
}

void TestMonitorDesk::remembersWhetherTheUserWantsIt()
{
    // Not before it is asked for.
    waitUntil([this] { return window().actions().faultDesk->isVisible(); });
    QVERIFY(!dock().isVisible());
    openDesk();
    window().close();
    openWindow();
    waitUntil([this] { return dock().isVisible(); });
    // The service need not run meanwhile.
    window().close();
    closeWindow();
    endService();
    openWindow();
    QVERIFY(!dock().isVisible());
    window().close();
    m_simulator.start();
    openWindow();
    waitUntil([this] { return dock().isVisible(); });
}

void TestMonitorDesk::closingItIsTheUsersWish()
{
    openDesk();
    for (QAbstractButton *button : dock().findChildren<QAbstractButton *>()) {
        if (button->objectName() == "qt_dockwidget_closebutton") {
            QTest::mouseClick(button, Qt::LeftButton);
        }
    }
    QVERIFY(!dock().isVisible());
    QVERIFY(!window().actions().faultDesk->isChecked());
    press(window().actions().faultDesk);
    QVERIFY(dock().isVisible());
}

void TestMonitorDesk::doesNotCrashWhenTheWindowIsClosedDuringACall()
{
    openDesk();
    QTest::mouseClick(button("Wait"), Qt::LeftButton);
    QTest::mouseClick(button("Arrange"), Qt::LeftButton);
    openPage("Calls");
    closeWindow();
    m_simulator.desk("RootFs");
    openWindow();
    QVERIFY(!dock().isVisible());
}

void TestMonitorDesk::serviceThatGoesEndsAWait()
{
    openDesk();
    QTest::mouseClick(button("Wait"), Qt::LeftButton);
    QVERIFY(texts().contains("Waiting for 1 calls of Control1.Start"));
    // The call has arrived before the service ends.
    QDBusConnection::sessionBus().call(QDBusMessage::createMethodCall(
        OSTREL_SERVICE_NAME, OSTREL_SIMULATOR_PATH, OSTREL_SIMULATOR_INTERFACE, "RootFs"));
    m_simulator.end();
    waitUntil([this] { return !messages().isEmpty(); });
    QVERIFY2(messages().at(0).startsWith("Cannot wait for 1 calls of Control1.Start: NoReply: "),
             qPrintable(messages().at(0)));
    waitUntil([this] { return !pages().isEnabled(); });
    QVERIFY(!texts().contains("Waiting for 1 calls of Control1.Start"));
}

namespace
{

QString mnemonicOf(const QString &text)
{
    return QRegularExpression("&([^&])").match(text).captured(1).toLower();
}

} // namespace

// The window shows nothing then of what the desk would do.
void TestMonitorDesk::isDisabledWhileAFileIsOpen()
{
    openDesk();
    QVERIFY(button("Arrange")->isEnabled());
    const QTemporaryDir folder;
    QVERIFY(window().files().save(folder.filePath("trace.json")));
    QVERIFY(window().files().open(folder.filePath("trace.json")));
    QVERIFY(!button("Arrange")->isEnabled());
    window().files().backToLive();
    QVERIFY(button("Arrange")->isEnabled());
}

void TestMonitorDesk::mnemonicsAreUnique()
{
    openDesk();
    for (int page = 0; page < pages().count(); ++page) {
        pages().setCurrentIndex(page);
        QStringList texts;
        for (const QAction *menu : window().menuBar()->actions()) {
            texts.append(menu->text());
        }
        for (const auto *label : pages().currentWidget()->findChildren<QLabel *>()) {
            if (label->buddy() != nullptr) {
                texts.append(label->text());
            }
        }
        for (const auto *button : pages().currentWidget()->findChildren<QAbstractButton *>()) {
            texts.append(button->text());
        }
        QStringList mnemonics;
        for (const QString &text : texts) {
            const QString mnemonic = mnemonicOf(text);
            QVERIFY2(mnemonic.isEmpty() || !mnemonics.contains(mnemonic), qPrintable(text));
            mnemonics.append(mnemonic);
        }
        QVERIFY(mnemonics.size() > 6);
    }
}

void TestMonitorDesk::screenReaderFindsNames()
{
    openDesk();
    int seen = 0;
    for (int page = 0; page < pages().count(); ++page) {
        pages().setCurrentIndex(page);
        for (QWidget *widget : dock().findChildren<QWidget *>()) {
            if (widget->focusPolicy() == Qt::NoFocus || widget->focusProxy() != nullptr
                || !widget->isVisible() || widget->objectName() == "qt_spinbox_lineedit") {
                continue;
            }
            QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(widget);
            QVERIFY(accessible != nullptr);
            QVERIFY2(!accessible->text(QAccessible::Name).isEmpty(),
                     widget->metaObject()->className());
            ++seen;
        }
    }
    QVERIFY(seen > 25);
}

void TestMonitorDesk::tabKeyReachesEveryControl()
{
    openDesk();
    for (int page = 0; page < pages().count(); ++page) {
        pages().setCurrentIndex(page);
        pages().setFocus();
        QSet<QWidget *> reached;
        for (int i = 0; i < 60; ++i) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            reached.insert(QApplication::focusWidget());
        }
        for (QWidget *widget : pages().currentWidget()->findChildren<QWidget *>()) {
            const bool isControl = qobject_cast<QAbstractButton *>(widget) != nullptr
                || qobject_cast<QComboBox *>(widget) != nullptr
                || qobject_cast<QAbstractSpinBox *>(widget) != nullptr;
            if (isControl && widget->isVisible() && widget->focusPolicy() != Qt::NoFocus) {
                QVERIFY2(reached.contains(widget), qPrintable(widget->accessibleName()));
            }
        }
    }
}

void TestMonitorDesk::fitsIntoANarrowColumn()
{
    openDesk();
    QVERIFY2(dock().minimumSizeHint().width() <= 300,
             qPrintable(QString::number(dock().minimumSizeHint().width())));
    window().resizeDocks({&dock()}, {300}, Qt::Horizontal);
    window().resize(1000, 700);
    QCoreApplication::processEvents();
    QCOMPARE(dock().width(), 300);
    for (int page = 0; page < pages().count(); ++page) {
        pages().setCurrentIndex(page);
        QCoreApplication::processEvents();
        for (const QWidget *widget : pages().currentWidget()->findChildren<QPushButton *>()) {
            const int right = widget->mapTo(&dock(), widget->rect().topRight()).x();
            QVERIFY2(right <= 300, qPrintable(QString::number(right)));
        }
    }
}

void TestMonitorDesk::textCanBeReadInDarkAndLightPalettes()
{
    closeWindow();
    const QPalette usual = QApplication::palette();
    for (const bool isDark : {false, true}) {
        QApplication::setPalette(QPalette(isDark ? QColor(40, 40, 40) : QColor(230, 230, 230)));
        openWindow();
        openDesk();
        fill("Error", "no error");
        QTest::mouseClick(button("Arrange"), Qt::LeftButton);
        int seen = 0;
        for (const QLabel *label : dock().findChildren<QLabel *>()) {
            const QColor text = label->palette().color(label->foregroundRole());
            const QColor back = label->palette().color(label->backgroundRole());
            QVERIFY2(qAbs(text.lightness() - back.lightness()) > 90, qPrintable(label->text()));
            ++seen;
        }
        QVERIFY(seen > 5);
        QSettings().clear();
        closeWindow();
    }
    QApplication::setPalette(usual);
}

void TestMonitorDesk::endOfTheBusDisablesIt()
{
    openDesk();
    openPage("Calls");
    m_bus.end();
    waitUntil([this] { return !pages().isEnabled(); });
    QVERIFY(texts().contains("The service has gone, and with it what was arranged."));
    QCOMPARE(messages(), QStringList());
}

OSTREL_MONITOR_TEST_MAIN(TestMonitorDesk)

#include "tst_monitor_desk.moc"
