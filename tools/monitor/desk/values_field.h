// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_DESK_VALUES_FIELD_H
#define MONITOR_DESK_VALUES_FIELD_H

#include <QtCore/QObject>
#include <QtCore/QVariantList>

#include <optional>

class DeskForm;
class Problem;
class QLineEdit;

// Two rows of a form: values for the bus, and their types.
class ValuesField : public QObject
{
    Q_OBJECT

public:
    explicit ValuesField(DeskForm *form);

    // The types that the values have unless the user enters others.
    void setTypes(const QString &types);
    void setVisible(bool visible);

    // Nothing if these are no values, which the field says then.
    std::optional<QVariantList> values();

Q_SIGNALS:
    void returnPressed();

private:
    void showExample();

    DeskForm *m_form;
    QLineEdit *m_values;
    Problem *m_problem;
    QLineEdit *m_types;
};

#endif
