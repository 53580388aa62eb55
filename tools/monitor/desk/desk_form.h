// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_DESK_DESK_FORM_H
#define MONITOR_DESK_DESK_FORM_H

#include <QtWidgets/QFormLayout>

#include <vector>

class QLabel;
class QLineEdit;
class QPushButton;
class QSpinBox;

// A form in a narrow column. Its rows can be hidden, and take no room then.
class DeskForm : public QFormLayout
{
    Q_OBJECT

public:
    explicit DeskForm(QWidget *parent);

    // A field with a label. The label ends in a colon, and has the mnemonic of the field.
    // below: what is below the field; may be null.
    void addField(const QString &label, QWidget *field, const QString &tip,
                  QWidget *below = nullptr);
    QLineEdit *addLine(const QString &label, const QString &tip);
    QSpinBox *addNumber(const QString &label, const QString &tip, int least, int greatest);
    // Plain text that can be selected.
    QLabel *addText(const QString &label, const QString &tip);
    // These take the whole width.
    QPushButton *addButton(const QString &text, const QString &tip);
    void addWide(QWidget *widget);

    void setRowVisible(const QWidget *field, bool visible);

private:
    struct Row
    {
        QWidget *label = nullptr;
        const QWidget *field = nullptr;
        // The field, or what it is in.
        QWidget *cell = nullptr;
        bool isVisible = true;
    };

    void lay(const Row &row);

    std::vector<Row> m_rows;
};

#endif
