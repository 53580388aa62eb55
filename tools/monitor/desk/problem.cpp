// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "desk/problem.h"

#include "display.h"

#include <QtGui/QAccessible>
#include <QtWidgets/QLineEdit>

Problem::Problem(QLineEdit *field, QWidget *parent)
    : QLabel(parent)
    , m_field(field)
{
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setFrameShape(StyledPanel);
    // The colours of the messages of the window, which can be read in every palette.
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::ToolTipBase);
    connect(field, &QLineEdit::textChanged, this, &Problem::clear);
    hide();
}

void Problem::set(const QString &text)
{
    setText(shown(text));
    setAccessibleName(this->text());
    m_field->setAccessibleDescription(this->text());
    show();
    m_field->setFocus();
    m_field->selectAll();
    QAccessibleEvent event(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
}

void Problem::clear()
{
    if (!text().isEmpty()) {
        setText({});
        m_field->setAccessibleDescription({});
        hide();
    }
}
