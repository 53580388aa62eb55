// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_DESK_TEST_H
#define TESTS_DESK_TEST_H

#include "desk/desk_dock.h"
#include "monitor_test.h"

#include <QtWidgets/QComboBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QSpinBox>
#include <QtWidgets/QStatusBar>
#include <QtWidgets/QTabWidget>

// Tests of the dock with the fault desk, by what is typed and clicked in it.
class DeskTest : public MonitorTest
{
    Q_OBJECT

protected:
    DeskDock &dock() { return *window().findChild<DeskDock *>(); }

    // Shows the dock by the keys of its action.
    void openDesk()
    {
        waitUntil([this] { return window().actions().faultDesk->isVisible(); });
        press(window().actions().faultDesk);
        QVERIFY(dock().isVisible());
    }

    QTabWidget &pages() { return *dock().findChild<QTabWidget *>(); }

    void openPage(const QString &name)
    {
        for (int i = 0; i < pages().count(); ++i) {
            if (pages().tabText(i) == name) {
                pages().setCurrentIndex(i);
                return;
            }
        }
        qFatal("the dock has no page %s", qPrintable(name));
    }

    void choose(const QString &label, const QString &text)
    {
        auto *box = child<QComboBox>(label);
        QVERIFY2(box->findText(text) >= 0, qPrintable(text));
        box->setCurrentIndex(box->findText(text));
    }

    // Types into a field instead of what is there.
    void fill(const QString &label, const QString &text)
    {
        auto *field = child<QLineEdit>(label);
        field->setFocus();
        field->selectAll();
        // That of a combo box leaves the focus to the box.
        QWidget *focused = field->focusProxy() != nullptr ? field->focusProxy() : field;
        QTest::keyClick(focused, Qt::Key_Delete);
        QTest::keyClicks(focused, text);
    }

    void set(const QString &label, int number) { child<QSpinBox>(label)->setValue(number); }

    QPushButton *button(const QString &text)
    {
        for (QPushButton *button : dock().findChildren<QPushButton *>()) {
            if (button->isVisible() && button->text().remove('&') == text) {
                return button;
            }
        }
        qFatal("the dock has no button %s", qPrintable(text));
    }

    // Clicks on a button, and waits for what the window says after it.
    void click(const QString &text, const QString &outcome)
    {
        window().statusBar()->clearMessage();
        QTest::mouseClick(button(text), Qt::LeftButton);
        waitUntil([&] {
            return window().statusBar()->currentMessage() == outcome || !messages().isEmpty();
        });
        QCOMPARE(messages(), QStringList());
    }

    void arrange(const QString &method, const QString &fault, const QString &outcome)
    {
        choose("Method", method);
        choose("Next call", fault);
        click("Arrange", outcome);
    }

    QStringList messages() { return window().messages().messages(); }

    // The visible lines of plain text in the dock.
    QStringList texts()
    {
        QStringList texts;
        for (const QLabel *label : dock().findChildren<QLabel *>()) {
            if (label->isVisible() && label->textFormat() == Qt::PlainText) {
                texts.append(label->text());
            }
        }
        return texts;
    }

    // Starts an application through the library. What comes is appended to the list.
    void start(const QString &application, QStringList &outcomes)
    {
        window().connection().control().start(
            application, &window(), [&outcomes](const Ostrel::Control::StartResult &result) {
                outcomes.append(result.error
                                    ? result.error.busErrorName() + ' ' + result.error.message()
                                    : result.appInstanceId);
            });
    }
};

#endif
