// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "desk/values_field.h"

#include "desk/desk_form.h"
#include "desk/entered_values.h"
#include "desk/problem.h"

#include <QtWidgets/QLineEdit>

ValuesField::ValuesField(DeskForm *form)
    : QObject(form)
    , m_form(form)
    , m_values(new QLineEdit)
    , m_problem(new Problem(m_values))
{
    form->addField(tr("Val&ues:"), m_values,
                   tr("JSON values, separated by commas. { \"type\": \"u\", \"data\": 1 } is a "
                      "value of another type"),
                   m_problem);
    m_types = form->addLine(tr("T&ypes:"),
                            tr("The D-Bus signature of the values. If it is empty, the types "
                               "follow from the JSON"));
    m_types->setPlaceholderText(tr("as in the JSON"));
    connect(m_types, &QLineEdit::textChanged, this, &ValuesField::showExample);
    connect(m_types, &QLineEdit::textChanged, m_problem, &Problem::clear);
    connect(m_values, &QLineEdit::returnPressed, this, &ValuesField::returnPressed);
    connect(m_types, &QLineEdit::returnPressed, this, &ValuesField::returnPressed);
    showExample();
}

void ValuesField::setTypes(const QString &types)
{
    m_types->setText(types);
}

void ValuesField::setVisible(bool visible)
{
    m_form->setRowVisible(m_values, visible);
    m_form->setRowVisible(m_types, visible);
    m_problem->clear();
}

std::optional<QVariantList> ValuesField::values()
{
    const Result<QVariantList> values = enteredValues(m_values->text(), m_types->text());
    if (!values) {
        m_problem->set(values.error());
        return std::nullopt;
    }
    m_problem->clear();
    return *values;
}

void ValuesField::showExample()
{
    const QString example = exampleValues(m_types->text());
    m_values->setPlaceholderText(example.isEmpty() ? tr("none") : example);
}
