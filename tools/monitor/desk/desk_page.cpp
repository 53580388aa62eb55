// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "desk/desk_page.h"

#include "desk/desk_form.h"

#include <QtWidgets/QGroupBox>
#include <QtWidgets/QStyle>

DeskPage::DeskPage(const QString &name)
{
    auto *content = new QWidget;
    m_layout = new QVBoxLayout(content);
    m_layout->setContentsMargins(6, 6, 6, 6);
    setWidget(content);
    setWidgetResizable(true);
    setFrameShape(NoFrame);
    // What does not fit is below.
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
    setAccessibleName(name);
    // The page is a part of the window.
    viewport()->setAutoFillBackground(false);
    content->setAutoFillBackground(false);
}

QSize DeskPage::minimumSizeHint() const
{
    const int bar = style()->pixelMetric(QStyle::PM_ScrollBarExtent);
    return {widget()->minimumSizeHint().width() + bar, QScrollArea::minimumSizeHint().height()};
}

DeskForm *DeskPage::addForm(const QString &title)
{
    auto *box = title.isEmpty() ? new QWidget : new QGroupBox(title);
    auto *form = new DeskForm(box);
    if (title.isEmpty()) {
        form->setContentsMargins(0, 0, 0, 0);
    }
    m_layout->addWidget(box);
    return form;
}

void DeskPage::addGap()
{
    m_layout->addStretch(1);
}
