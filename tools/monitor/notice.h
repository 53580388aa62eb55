// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_NOTICE_H
#define MONITOR_NOTICE_H

#include <QtWidgets/QFrame>

class QLabel;
class QPushButton;

// A strip across the window that says in which state it is. Hidden without a text.
class Notice : public QFrame
{
    Q_OBJECT

public:
    // The button may be left out.
    explicit Notice(const QString &button = QString(), QWidget *parent = nullptr);

    // advice: what the user can do; may be empty.
    void setText(const QString &text, const QString &advice = QString());
    QString text() const;

    void setButtonText(const QString &text);
    void setButtonVisible(bool visible);

Q_SIGNALS:
    void clicked();

private:
    QLabel *m_label;
    QPushButton *m_button;
};

#endif
