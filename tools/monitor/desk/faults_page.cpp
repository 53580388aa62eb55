// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "desk/faults_page.h"

#include "desk/desk_calls.h"
#include "desk/desk_form.h"
#include "desk/error_field.h"
#include "desk/held_replies.h"
#include "desk/members.h"
#include "desk/problem.h"
#include "desk/values_field.h"

#include "bus/name_forms.h"

#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QSpinBox>

#include <limits>

namespace
{

constexpr int longestDelay = std::numeric_limits<int>::max();
constexpr int usualDelay = 3000;

} // namespace

FaultsPage::FaultsPage(DeskCalls &calls)
    : DeskPage(tr("Faults"))
    , m_calls(calls)
    , m_method(new QComboBox)
    , m_fault(new QComboBox)
    , m_form(addForm())
    , m_error(new ErrorField)
    , m_errorProblem(new Problem(m_error->lineEdit()))
    , m_explanation(new QLabel)
{
    for (const Member &each : serviceMethods()) {
        m_method->addItem(each.label());
    }
    // In the order of the enumeration.
    m_fault->addItems({tr("fails"), tr("fails with values"), tr("is delayed"), tr("is held"),
                       tr("is never answered"), tr("returns other values"),
                       tr("ends the service")});
    m_form->addField(tr("&Method:"), m_method, tr("The method of the service"));
    m_form->addField(tr("&Next call:"), m_fault, tr("What happens in the next call of the method"));
    m_form->addField(tr("Err&or:"), m_error,
                     tr("An error of the service, or the full name of any other one"),
                     m_errorProblem);
    m_message = m_form->addLine(tr("M&essage:"), tr("The message of the error"));
    m_values = new ValuesField(m_form);
    m_delay =
        m_form->addNumber(tr("&Delay:"), tr("How long the reply is held back"), 0, longestDelay);
    m_delay->setSuffix(tr(" ms"));
    m_delay->setValue(usualDelay);
    m_count =
        m_form->addNumber(tr("&How many:"), tr("How many calls are held"), 1, DeskCalls::mostCalls);
    m_explanation->setWordWrap(true);
    m_explanation->setTextFormat(Qt::PlainText);
    m_form->addWide(m_explanation);
    QPushButton *button = m_form->addButton(
        tr("A&rrange"), tr("Arrange this for the next call. Further ones come after it"));
    DeskForm *held = addForm(tr("Held replies"));
    m_held = new HeldReplies(
        calls, [this] { return method(); }, held, addForm(tr("Wait")));
    m_held->setParent(this);
    addGap();

    connect(button, &QPushButton::clicked, this, qOverload<>(&FaultsPage::arrange));
    for (QLineEdit *line : {m_error->lineEdit(), m_message}) {
        connect(line, &QLineEdit::returnPressed, this, qOverload<>(&FaultsPage::arrange));
    }
    connect(m_values, &ValuesField::returnPressed, this, qOverload<>(&FaultsPage::arrange));
    connect(m_method, qOverload<int>(&QComboBox::currentIndexChanged), this,
            &FaultsPage::showMethod);
    connect(m_fault, qOverload<int>(&QComboBox::currentIndexChanged), this, &FaultsPage::showFault);
    m_method->setCurrentText(QStringLiteral("Control1.Start"));
    showFault();
}

const Member &FaultsPage::method() const
{
    return serviceMethods().at(m_method->currentIndex());
}

void FaultsPage::showMethod()
{
    // An error may hold anything.
    m_values->setTypes(m_fault->currentIndex() == Answer ? method().signature : QString());
}

void FaultsPage::showFault()
{
    const int fault = m_fault->currentIndex();
    m_form->setRowVisible(m_error, fault == Fail || fault == FailWith);
    m_form->setRowVisible(m_message, fault == Fail);
    m_form->setRowVisible(m_delay, fault == Delay);
    m_form->setRowVisible(m_count, fault == Hold);
    m_values->setVisible(fault == FailWith || fault == Answer);
    m_errorProblem->clear();
    showMethod();
    static const QStringList explanations{
        tr("The call does nothing, and returns the error."),
        tr("The call does nothing, and returns the error with values instead of a message."),
        tr("The call is carried out at once. Its reply comes later."),
        tr("The calls are carried out. Their replies wait until they are released."),
        tr("The call does nothing, and gets no reply."),
        tr("The call does nothing, and returns these values."),
        tr("The process of the service exits. This window waits until it is back."),
    };
    m_explanation->setText(explanations.value(fault));
}

void FaultsPage::arrange()
{
    const QString label = method().label();
    const auto fault = Fault(m_fault->currentIndex());
    const bool fails = fault == Fail || fault == FailWith;
    if (fails && !isInterfaceName(m_error->busName())) {
        m_errorProblem->set(tr("This is no name of an error"));
        return;
    }
    std::optional<QVariantList> values;
    if (fault == FailWith || fault == Answer) {
        values = m_values->values();
        if (!values) {
            return;
        }
    }
    switch (fault) {
    case Fail:
        arrange(QStringLiteral("FailNext"), {m_error->busName(), m_message->text()},
                tr("The next call of %1 fails").arg(label));
        break;
    case FailWith:
        arrange(QStringLiteral("FailNextWith"), {m_error->busName(), QVariant(*values)},
                tr("The next call of %1 fails").arg(label));
        break;
    case Delay:
        arrange(QStringLiteral("DelayNext"), {uint(m_delay->value())},
                tr("The next call of %1 is delayed").arg(label));
        break;
    case Hold:
        arrange(QStringLiteral("HoldNext"), {uint(m_count->value())},
                tr("The next calls of %1 are held: %2").arg(label).arg(m_count->value()));
        break;
    case Ignore:
        arrange(QStringLiteral("IgnoreNext"), {},
                tr("The next call of %1 is never answered").arg(label));
        break;
    case Answer:
        arrange(QStringLiteral("AnswerNext"), {QVariant(*values)},
                tr("The next call of %1 returns other values").arg(label));
        break;
    case Die:
        arrange(QStringLiteral("DieInNext"), {},
                tr("The next call of %1 ends the service").arg(label));
        break;
    }
}

void FaultsPage::arrange(const QString &deskMethod, const QVariantList &further,
                         const QString &done)
{
    const QVariantList about{method().interface, method().name};
    m_calls.call(tr("Cannot arrange a fault of %1").arg(method().label()), deskMethod,
                 about + further,
                 [this, done](const QDBusMessage & /*reply*/) { Q_EMIT m_calls.done(done); });
}
