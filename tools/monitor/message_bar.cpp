// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "message_bar.h"

#include "display.h"

#include <QtGui/QAccessible>
#include <QtWidgets/QFrame>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QStyle>
#include <QtWidgets/QToolButton>

namespace
{

// The window has other things to show.
constexpr int mostMessages = 4;

QLabel *messageLabel(QWidget *parent)
{
    auto *label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    // A long word, such as the name of a file, does not make the window wide.
    label->setMinimumWidth(1);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    label->setFocusPolicy(Qt::NoFocus);
    return label;
}

} // namespace

MessageBar::MessageBar(QWidget *parent)
    : QWidget(parent)
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    setAccessibleName(tr("Errors"));
    hide();
}

void MessageBar::add(const QString &message, const QString &hint)
{
    if (m_lines.size() >= mostMessages) {
        dismiss(m_lines.constFirst());
    }
    auto *line = new QFrame(this);
    line->setFrameShape(QFrame::StyledPanel);
    line->setAutoFillBackground(true);
    QPalette palette = line->palette();
    palette.setColor(QPalette::Window, this->palette().color(QPalette::ToolTipBase));
    palette.setColor(QPalette::WindowText, this->palette().color(QPalette::ToolTipText));
    line->setPalette(palette);

    auto *icon = new QLabel(line);
    const int size = style()->pixelMetric(QStyle::PM_SmallIconSize);
    icon->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(size));
    QLabel *label = messageLabel(line);
    const QString text =
        hint.isEmpty() ? shown(message) : shown(message) + QLatin1Char('\n') + shown(hint);
    label->setText(text);
    auto *close = new QToolButton(line);
    close->setAutoRaise(true);
    close->setIcon(style()->standardIcon(QStyle::SP_TitleBarCloseButton));
    close->setToolTip(tr("Dismiss"));
    close->setAccessibleName(tr("Dismiss: %1").arg(shown(message)));
    connect(close, &QToolButton::clicked, this, [this, line] { dismiss(line); });

    auto *layout = new QHBoxLayout(line);
    layout->setContentsMargins(6, 4, 6, 4);
    layout->addWidget(icon, 0, Qt::AlignTop);
    layout->addWidget(label, 1);
    layout->addWidget(close, 0, Qt::AlignTop);
    line->setProperty("message", text);
    line->setAccessibleName(text);
    this->layout()->addWidget(line);
    m_lines.append(line);
    show();
    QAccessibleEvent event(line, QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
    Q_EMIT changed();
}

QStringList MessageBar::messages() const
{
    QStringList messages;
    for (const QWidget *line : m_lines) {
        messages.append(line->property("message").toString());
    }
    return messages;
}

void MessageBar::dismissAll()
{
    while (!m_lines.isEmpty()) {
        dismiss(m_lines.constFirst());
    }
}

void MessageBar::dismiss(QWidget *line)
{
    m_lines.removeOne(line);
    line->hide();
    // A button in it may be the one that was clicked.
    line->deleteLater();
    setVisible(!m_lines.isEmpty());
    Q_EMIT changed();
}
