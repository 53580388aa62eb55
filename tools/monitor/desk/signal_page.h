// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_DESK_SIGNAL_PAGE_H
#define MONITOR_DESK_SIGNAL_PAGE_H

#include "desk/desk_page.h"

class DeskCalls;
class Problem;
class QCheckBox;
class QComboBox;
class QLineEdit;
class QSpinBox;
class ValuesField;

// Has the service send a signal.
class SignalPage : public DeskPage
{
    Q_OBJECT

public:
    explicit SignalPage(DeskCalls &calls);

private:
    void showSignal();
    void sendSignal();

    DeskCalls &m_calls;
    DeskForm *m_form;
    QComboBox *m_signal;
    Problem *m_signalProblem;
    QLineEdit *m_path;
    Problem *m_pathProblem;
    ValuesField *m_values;
    QCheckBox *m_isNumbered;
    QSpinBox *m_count;
};

#endif
