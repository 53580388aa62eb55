// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include <Ostrel/Control>
#include <Ostrel/Testing/Main>
#include <Ostrel/Testing/SimulatorTest>

#include <QtWidgets/QLabel>

using namespace Ostrel::Testing;

// A test of a program with windows.
class UserOfWindows : public SimulatorTest
{
    Q_OBJECT

private Q_SLOTS:
    void showsAReply();
};

void UserOfWindows::showsAReply()
{
    QLabel label;
    label.show();
    Ostrel::Control control;
    control.start("demo.Viewer", &label, [&label](const Ostrel::Control::StartResult &result) {
        label.setText(result.appInstanceId);
    });
    OSTREL_COMPARE_CALLS(simulator(), call(Method::Start).with("demo.Viewer"));
    QTRY_COMPARE(label.text(), "demo.Viewer.instance_1");
}

OSTREL_TEST_MAIN(UserOfWindows)

#include "user_of_windows.moc"
