// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_MESSAGE_BAR_H
#define MONITOR_MESSAGE_BAR_H

#include <QtWidgets/QWidget>

class QLabel;

// The errors that the user has not dismissed yet, one below the other. It takes no room without
// any.
class MessageBar : public QWidget
{
    Q_OBJECT

public:
    explicit MessageBar(QWidget *parent = nullptr);

    // hint: what the user can do; may be empty. Nothing in the strings is taken for HTML.
    void add(const QString &message, const QString &hint = QString());

    // From the oldest to the newest.
    QStringList messages() const;

public Q_SLOTS:
    void dismissAll();

Q_SIGNALS:
    void changed();

private:
    void dismiss(QWidget *line);

    QList<QWidget *> m_lines;
};

#endif
