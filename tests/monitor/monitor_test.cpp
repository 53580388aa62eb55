// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "monitor_test.h"

#include "event_text.h"

#include <QtCore/QRegularExpression>
#include <QtCore/QSettings>
#include <QtDBus/QDBusConnectionInterface>

MonitorTest::MonitorTest()
    : m_simulator(m_bus)
{
    m_simulator.start();
    QDBusConnection::sessionBus();
    QCoreApplication::processEvents();
    m_simulator.end();
}

void MonitorTest::init()
{
    m_simulator.restart();
    m_warnings.emplace(Warnings::Silent);
    QSettings().clear();
    openWindow();
}

void MonitorTest::cleanup()
{
    closeWindow();
    const QStringList warnings = takeWarnings();
    m_warnings.reset();
    QCOMPARE(warnings, QStringList());
}

QStringList MonitorTest::takeWarnings()
{
    QStringList warnings = m_warnings->texts();
    m_warnings.reset();
    m_warnings.emplace(Warnings::Silent);
    // What the platform without a screen says of each window.
    static const QRegularExpression noScreen("^This plugin does not support ");
    for (const QString &text : warnings.filter(noScreen)) {
        warnings.removeAll(text);
    }
    return warnings;
}

QWidget *MonitorTest::waitForDialog()
{
    waitUntil([] {
        const QWidget *dialog = QApplication::activeModalWidget();
        return dialog != nullptr && dialog->isActiveWindow()
            && QApplication::focusWidget() != nullptr;
    });
    return QApplication::activeModalWidget();
}

void MonitorTest::type(const QString &text, Qt::Key after)
{
    QTest::keyClicks(QApplication::focusWidget(), text);
    QTest::keyClick(QApplication::focusWidget(), after);
}

void MonitorTest::endService()
{
    m_simulator.end();
    waitUntil([] {
        const QDBusReply<bool> registered =
            QDBusConnection::sessionBus().interface()->isServiceRegistered(OSTREL_SERVICE_NAME);
        return registered.isValid() && !registered;
    });
}

void MonitorTest::openWindow()
{
    m_window = std::make_unique<MainWindow>(BusChoice());
    m_window->show();
    m_window->activateWindow();
    waitUntil([this] { return m_window->isActiveWindow() && m_window->isSettled(); });
}

QStringList MonitorTest::rows(const QVector<int> &columns) const
{
    QStringList rows;
    const QAbstractItemModel *model = m_window->tables().currentPage()->model();
    for (int row = 0; row < model->rowCount(); ++row) {
        QStringList values;
        for (const int column : columns) {
            values.append(model->index(row, column).data().toString());
        }
        rows.append(values.join(" | "));
    }
    return rows;
}

void MonitorTest::waitForRows(const QVector<int> &columns, const QStringList &expected) const
{
    waitUntil([&] { return rows(columns) == expected; });
}

void MonitorTest::press(const QAction *action)
{
    m_window->activateWindow();
    waitUntil([this] { return m_window->isActiveWindow(); });
    const int keys = action->shortcut()[0];
    QWidget *focus = QApplication::focusWidget();
    QTest::keyClick(focus != nullptr ? focus : m_window.get(),
                    Qt::Key(keys & ~int(Qt::KeyboardModifierMask)),
                    Qt::KeyboardModifiers(keys & int(Qt::KeyboardModifierMask)));
}

QStringList MonitorTest::loggedIn(const History &history)
{
    QStringList texts;
    for (int row = 0; row < history.rowCount(); ++row) {
        const EventId id = history.eventAt(row);
        texts.append(laneText(history, id) + ": " + nameText(history, id));
    }
    return texts;
}

EventId MonitorTest::waitForEvent(const QString &text)
{
    waitUntil([&] { return logged().contains(text); });
    const int row = logged().indexOf(text);
    return row < 0 ? EventId() : window().files().history().eventAt(row);
}

void MonitorTest::enter(const QString &application)
{
    press(m_window->actions().enterName);
    type(application, Qt::Key_Return);
}

QStringList MonitorTest::calls(const QString &member) const
{
    QStringList texts;
    const QVector<Call> calls = m_simulator.calls();
    for (const Call &call : calls) {
        if (call.member == member) {
            QStringList values;
            for (const QVariant &value : call.arguments) {
                values.append(value.toString());
            }
            texts.append(values.join(' '));
        }
    }
    return texts;
}

void MonitorTest::startElsewhere(const QString &application)
{
    Process program(OSTRELCTL, {"start", application});
    program.start();
    // The window goes on meanwhile: it measures when it hears of the call.
    waitUntil([&program] { return program.state() == QProcess::NotRunning; });
    if (program.exitCode() != 0) {
        qFatal("cannot start %s", qPrintable(application));
    }
}
