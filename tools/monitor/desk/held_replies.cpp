// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "desk/held_replies.h"

#include "desk/desk_calls.h"
#include "desk/desk_form.h"
#include "desk/entered_values.h"
#include "desk/problem.h"

#include <QtWidgets/QComboBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QSpinBox>

HeldReplies::HeldReplies(DeskCalls &calls, const std::function<Member()> &method,
                         DeskForm *heldForm, DeskForm *waitForm)
    : m_calls(calls)
    , m_method(method)
    , m_waitForm(waitForm)
    , m_order(new QLineEdit)
    , m_problem(new Problem(m_order))
    , m_count(waitForm->addNumber(tr("&Count:"), tr("How many there have to be"), 0,
                                  DeskCalls::mostCalls))
    , m_what(new QComboBox)
    , m_outcome(new QLabel)
{
    m_order->setText(QStringLiteral("0"));
    heldForm->addField(tr("&Indexes:"), m_order,
                       tr("The held replies of the method that are sent, in this order. The oldest "
                          "has 0"),
                       m_problem);
    QPushButton *release =
        heldForm->addButton(tr("Re&lease"), tr("Send these replies of the method"));
    m_count->setValue(1);
    m_what->addItems({tr("calls"), tr("held replies")});
    waitForm->addField(tr("&Kind:"), m_what, tr("What is waited for. The log of the calls counts"));
    QPushButton *wait = waitForm->addButton(
        tr("&Wait"), tr("Say when the method has so many calls or held replies"));
    m_outcome->setWordWrap(true);
    m_outcome->setTextFormat(Qt::PlainText);
    waitForm->addWide(m_outcome);
    waitForm->setRowVisible(m_outcome, false);

    connect(m_order, &QLineEdit::returnPressed, this, &HeldReplies::release);
    connect(release, &QPushButton::clicked, this, &HeldReplies::release);
    connect(wait, &QPushButton::clicked, this, &HeldReplies::wait);
    connect(&calls, &DeskCalls::stateChanged, this,
            [this] { m_waitForm->setRowVisible(m_outcome, false); });
}

void HeldReplies::release()
{
    const Result<QList<uint>> order = enteredIndexes(m_order->text());
    if (!order) {
        m_problem->set(order.error());
        return;
    }
    const Member method = m_method();
    m_calls.call(tr("Cannot release replies of %1").arg(method.label()), QStringLiteral("Release"),
                 {method.interface, method.name, QVariant::fromValue(*order)},
                 [this, method](const QDBusMessage & /*reply*/) {
                     Q_EMIT m_calls.done(tr("Replies of %1 have been sent").arg(method.label()));
                 });
}

void HeldReplies::wait()
{
    const Member method = m_method();
    const bool forHeld = m_what->currentIndex() != 0;
    const QString what =
        tr("%1 %2 of %3")
            .arg(QString::number(m_count->value()), m_what->currentText(), method.label());
    const int wait = ++m_wait;
    m_outcome->setText(tr("Waiting for %1").arg(what));
    m_waitForm->setRowVisible(m_outcome, true);
    m_calls.call(tr("Cannot wait for %1").arg(what),
                 forHeld ? QStringLiteral("WaitForHeld") : QStringLiteral("WaitForCalls"),
                 {method.interface, method.name, uint(m_count->value())},
                 [this, wait, what](const QDBusMessage & /*reply*/) {
                     Q_EMIT m_calls.done(tr("There are %1").arg(what));
                     // The line is about the last one.
                     if (wait == m_wait) {
                         m_outcome->setText(tr("There are %1").arg(what));
                     }
                 });
}
