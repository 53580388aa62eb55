// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_MONITOR_TEST_H
#define TESTS_MONITOR_TEST_H

#include "kit.h"
#include "main_window.h"
#include "message_bar.h"
#include "table_page.h"
#include "tables.h"
#include "warnings.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtTest/QSignalSpy>
#include <QtWidgets/QAction>
#include <QtWidgets/QApplication>

#include <memory>
#include <optional>

// Tests of the window, without a screen. Each function begins with a window that has listed what
// the simulator runs, and without settings.
class MonitorTest : public QObject
{
    Q_OBJECT

protected:
    MonitorTest();

    MainWindow &window() { return *m_window; }

    // Returns when the bus has noticed, too.
    void endService();

    void openWindow();
    void closeWindow() { m_window.reset(); }

    // The visible rows of the table in front, each with its columns: "a | b".
    QStringList rows(const QVector<int> &columns) const;
    void waitForRows(const QVector<int> &columns, const QStringList &expected) const;

    // Presses the keys of an action of the window.
    void press(const QAction *action);

    // Returns the dialog that has been opened, when it takes the keys.
    static QWidget *waitForDialog();
    // Types into what has the focus, and presses a key after it.
    static void type(const QString &text, Qt::Key after);

    // The rows of the log, as "instance: event".
    QStringList logged() { return loggedIn(window().files().history()); }
    static QStringList loggedIn(const History &history);
    // Returns the first event whose row this is, when it has come.
    EventId waitForEvent(const QString &text);

    // Enters the name of an application to start.
    void enter(const QString &application);

    // What has been logged as a warning since the last call.
    QStringList takeWarnings();

    // The visible widget with this accessible name.
    template <typename Widget> Widget *child(const QString &accessibleName) const
    {
        const QList<Widget *> all = m_window->findChildren<Widget *>();
        for (Widget *widget : all) {
            if (widget->accessibleName() == accessibleName && widget->isVisible()) {
                return widget;
            }
        }
        qFatal("the window has no %s", qPrintable(accessibleName));
    }

    // The calls of a method that the service has received, with their arguments.
    QStringList calls(const QString &member) const;

    // Has someone else start an application.
    static void startElsewhere(const QString &application);

    PrivateBus m_bus;
    Simulator m_simulator;
    std::unique_ptr<MainWindow> m_window;
    std::optional<Warnings> m_warnings;

protected Q_SLOTS:
    void init();
    void cleanup();
};

#define OSTREL_MONITOR_TEST_MAIN(Test)                                                             \
    int main(int argc, char **argv)                                                                \
    {                                                                                              \
        qputenv("QT_QPA_PLATFORM", "offscreen");                                                   \
        QCoreApplication::setOrganizationName("ostrel");                                           \
        QCoreApplication::setApplicationName("ostrel-monitor");                                    \
        Ostrel::Testing::isolate();                                                                \
        const QApplication application(argc, argv);                                                \
        Test test;                                                                                 \
        return QTest::qExec(&test, argc, argv);                                                    \
    }

#endif
