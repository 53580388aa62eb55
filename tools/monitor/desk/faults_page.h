// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_DESK_FAULTS_PAGE_H
#define MONITOR_DESK_FAULTS_PAGE_H

#include "desk/desk_page.h"

class DeskCalls;
class ErrorField;
class HeldReplies;
class Problem;
class QComboBox;
class QLabel;
class QLineEdit;
class QSpinBox;
class ValuesField;
struct Member;

// What happens in the next call of a method.
class FaultsPage : public DeskPage
{
    Q_OBJECT

public:
    explicit FaultsPage(DeskCalls &calls);

private:
    enum Fault {
        Fail,
        FailWith,
        Delay,
        Hold,
        Ignore,
        Answer,
        Die,
    };

    const Member &method() const;
    void showMethod();
    void showFault();
    void arrange();
    void arrange(const QString &deskMethod, const QVariantList &further, const QString &done);

    DeskCalls &m_calls;
    QComboBox *m_method;
    QComboBox *m_fault;
    DeskForm *m_form;
    ErrorField *m_error;
    Problem *m_errorProblem;
    QLineEdit *m_message;
    ValuesField *m_values;
    QSpinBox *m_delay;
    QSpinBox *m_count;
    QLabel *m_explanation;
    HeldReplies *m_held;
};

#endif
