// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "desk/signal_page.h"

#include "desk/desk_calls.h"
#include "desk/desk_form.h"
#include "desk/entered_values.h"
#include "desk/members.h"
#include "desk/problem.h"
#include "desk/values_field.h"

#include "bus/name_forms.h"

#include <QtDBus/QDBusObjectPath>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QSpinBox>

#include <algorithm>

namespace
{

// The desk sends no more at once.
constexpr int mostSignals = 1000000;

// A known signal by its short or its full name, or any other one by its full name.
Member signalOf(const QString &name)
{
    const QVector<Member> &known = serviceSignals();
    const auto found = std::find_if(known.cbegin(), known.cend(), [&name](const Member &member) {
        return name == member.label() || name == member.interface + QLatin1Char('.') + member.name;
    });
    if (found != known.cend()) {
        return *found;
    }
    Member other;
    other.interface = name.left(qMax(0, name.lastIndexOf(QLatin1Char('.'))));
    other.name = name.mid(name.lastIndexOf(QLatin1Char('.')) + 1);
    return other;
}

} // namespace

SignalPage::SignalPage(DeskCalls &calls)
    : DeskPage(tr("Signal"))
    , m_calls(calls)
    , m_form(addForm())
    , m_signal(new QComboBox)
{
    m_signal->setEditable(true);
    m_signal->setInsertPolicy(QComboBox::NoInsert);
    for (const Member &each : serviceSignals()) {
        m_signal->addItem(each.label());
    }
    m_signalProblem = new Problem(m_signal->lineEdit());
    m_path = new QLineEdit;
    m_pathProblem = new Problem(m_path);
    m_form->addField(
        tr("Si&gnal:"), m_signal,
        tr("A signal of the service, or any other with the full name of its interface"),
        m_signalProblem);
    m_form->addField(tr("&Path:"), m_path, tr("The path of the object that the signal is from"),
                     m_pathProblem);
    m_values = new ValuesField(m_form);
    m_isNumbered = new QCheckBox(tr("&Many, numbered"));
    m_isNumbered->setAccessibleName(tr("Many, numbered"));
    m_isNumbered->setToolTip(
        tr("Send it so many times. %n in a string is the index of the signal, from 0"));
    m_form->addWide(m_isNumbered);
    const int usual = 100;
    m_count = m_form->addNumber(tr("&How many:"), tr("How many signals are sent"), 0, mostSignals);
    m_count->setValue(usual);
    QPushButton *button = m_form->addButton(tr("&Send"), tr("Broadcast the signal"));
    addGap();

    connect(m_isNumbered, &QCheckBox::toggled, this,
            [this](bool isNumbered) { m_form->setRowVisible(m_count, isNumbered); });
    m_form->setRowVisible(m_count, false);
    connect(button, &QPushButton::clicked, this, &SignalPage::sendSignal);
    for (QLineEdit *line : {m_signal->lineEdit(), m_path}) {
        connect(line, &QLineEdit::returnPressed, this, &SignalPage::sendSignal);
    }
    connect(m_values, &ValuesField::returnPressed, this, &SignalPage::sendSignal);
    connect(m_signal, &QComboBox::currentTextChanged, this, &SignalPage::showSignal);
    const auto showBeginning = [this] { m_signal->lineEdit()->setCursorPosition(0); };
    connect(m_signal, qOverload<int>(&QComboBox::currentIndexChanged), this, showBeginning);
    showBeginning();
    showSignal();
}

void SignalPage::showSignal()
{
    // Others keep what is entered.
    const Member signal = signalOf(m_signal->currentText().trimmed());
    if (!signal.shortInterface.isEmpty()) {
        m_path->setText(signal.path);
        m_path->setCursorPosition(0);
        m_values->setTypes(signal.signature);
    }
}

void SignalPage::sendSignal()
{
    const QString label = m_signal->currentText().trimmed();
    const Member signal = signalOf(label);
    if (!isInterfaceName(signal.interface) || !isMemberName(signal.name)) {
        m_signalProblem->set(
            tr("This is no interface and signal, such as \"com.example.Clock.Tick\""));
        return;
    }
    const Result<QString> path = enteredPath(m_path->text().trimmed());
    if (!path) {
        m_pathProblem->set(path.error());
        return;
    }
    const std::optional<QVariantList> values = m_values->values();
    if (!values) {
        return;
    }
    const bool isNumbered = m_isNumbered->isChecked();
    QVariantList arguments{QVariant::fromValue(QDBusObjectPath(*path)), signal.interface,
                           signal.name, QVariant(*values)};
    if (isNumbered) {
        arguments.append(uint(m_count->value()));
    }
    const QString done = isNumbered
        ? tr("%1 has been sent %2 times").arg(label).arg(m_count->value())
        : tr("%1 has been sent").arg(label);
    m_calls.call(tr("Cannot send %1").arg(label),
                 isNumbered ? QStringLiteral("EmitMany") : QStringLiteral("Emit"), arguments,
                 [this, done](const QDBusMessage & /*reply*/) { Q_EMIT m_calls.done(done); });
}
