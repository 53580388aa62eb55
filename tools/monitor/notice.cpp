// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "notice.h"

#include "display.h"

#include <QtGui/QAccessible>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QStyle>

Notice::Notice(const QString &button, QWidget *parent)
    : QFrame(parent)
    , m_label(new QLabel)
    , m_button(new QPushButton(button))
{
    setFrameShape(StyledPanel);
    setAutoFillBackground(true);
    auto *icon = new QLabel;
    const int size = style()->pixelMetric(QStyle::PM_SmallIconSize);
    icon->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxInformation).pixmap(size));
    m_label->setTextFormat(Qt::PlainText);
    m_label->setWordWrap(true);
    // A long word does not make the window wide.
    m_label->setMinimumWidth(1);
    m_label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_button->setVisible(!button.isEmpty());
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(6, 4, 6, 4);
    layout->addWidget(icon);
    layout->addWidget(m_label, 1);
    layout->addWidget(m_button);
    connect(m_button, &QPushButton::clicked, this, &Notice::clicked);
    hide();
}

void Notice::setText(const QString &text, const QString &advice)
{
    const QString all =
        advice.isEmpty() ? shown(text) : shown(text) + QLatin1Char('\n') + shown(advice);
    if (all == m_label->text()) {
        return;
    }
    m_label->setText(all);
    setAccessibleName(all);
    setVisible(!all.isEmpty());
    if (!all.isEmpty()) {
        QAccessibleEvent event(this, QAccessible::Alert);
        QAccessible::updateAccessibility(&event);
    }
}

QString Notice::text() const
{
    return m_label->text();
}

void Notice::setButtonText(const QString &text)
{
    m_button->setText(text);
}

void Notice::setButtonVisible(bool visible)
{
    m_button->setVisible(visible);
}
