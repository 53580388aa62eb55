// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_DESK_PROBLEM_H
#define MONITOR_DESK_PROBLEM_H

#include <QtWidgets/QLabel>

class QLineEdit;

// Says below a field what is wrong with what is entered there, until that changes. It takes no room
// otherwise.
class Problem : public QLabel
{
    Q_OBJECT

public:
    explicit Problem(QLineEdit *field, QWidget *parent = nullptr);

    // Shows the problem, and moves the focus to the field.
    void set(const QString &text);
    void clear();

private:
    QLineEdit *m_field;
};

#endif
