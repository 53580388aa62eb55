// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_DESK_SERVICE_PAGE_H
#define MONITOR_DESK_SERVICE_PAGE_H

#include "desk/desk_calls.h"
#include "desk/desk_page.h"

class InstanceField;
class Problem;
class QLabel;
class QLineEdit;
class QSpinBox;
class QTreeWidget;

// What the simulator does besides calls and signals, and what it knows.
class ServicePage : public DeskPage
{
    Q_OBJECT

public:
    explicit ServicePage(DeskCalls &calls);

    InstanceField &instance() { return *m_instance; }

protected:
    void showEvent(QShowEvent *event) override;

private:
    enum Scenario {
        Answered,
        // The desk has been asked, and has not replied.
        Asked,
        // It has replied to a later call meanwhile.
        Waiting,
    };

    void buildWindows();
    void showDesk();
    void followScenario();
    void kill();
    void arrangeList();
    // Without a click, so without an error: it fails if the service goes, which the dock says.
    void listWindows();
    // What shows the reply to a new call, unless there is a newer one.
    DeskCalls::Handler windowsHandler();
    void showWindows(const QDBusMessage &reply);
    void reset();

    DeskCalls &m_calls;
    InstanceField *m_instance;
    Problem *m_instanceProblem;
    QSpinBox *m_applications;
    QSpinBox *m_services;
    QTreeWidget *m_windows;
    QLabel *m_scenario;
    QLineEdit *m_rootFs;
    Scenario m_scenarioState = Answered;
    // How often the windows were asked for.
    int m_lists = 0;
};

#endif
