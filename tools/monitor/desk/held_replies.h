// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_DESK_HELD_REPLIES_H
#define MONITOR_DESK_HELD_REPLIES_H

#include "desk/members.h"

#include <QtCore/QObject>

#include <functional>

class DeskCalls;
class DeskForm;
class Problem;
class QComboBox;
class QLabel;
class QLineEdit;
class QSpinBox;

// Releases the held replies of a method, and waits for its calls.
class HeldReplies : public QObject
{
    Q_OBJECT

public:
    // The method is the one that is chosen at the moment. Fills the two forms.
    HeldReplies(DeskCalls &calls, const std::function<Member()> &method, DeskForm *heldForm,
                DeskForm *waitForm);

private:
    void release();
    void wait();

    DeskCalls &m_calls;
    std::function<Member()> m_method;
    DeskForm *m_waitForm;
    QLineEdit *m_order;
    Problem *m_problem;
    QSpinBox *m_count;
    QComboBox *m_what;
    QLabel *m_outcome;
    int m_wait = 0;
};

#endif
