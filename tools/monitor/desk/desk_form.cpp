// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "desk/desk_form.h"

#include <QtWidgets/QComboBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QSpinBox>

namespace
{

// A label without its mark of the mnemonic and its colon.
QString nameOf(QString label)
{
    return label.remove(QLatin1Char('&')).remove(QLatin1Char(':'));
}

} // namespace

DeskForm::DeskForm(QWidget *parent)
    : QFormLayout(parent)
{
    setFieldGrowthPolicy(ExpandingFieldsGrow);
    setRowWrapPolicy(WrapLongRows);
}

void DeskForm::addField(const QString &label, QWidget *field, const QString &tip, QWidget *below)
{
    field->setAccessibleName(nameOf(label));
    field->setToolTip(tip);
    if (auto *box = qobject_cast<QComboBox *>(field)) {
        // As wide as the dock, not as its longest entry.
        const int characters = 12;
        box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
        box->setMinimumContentsLength(characters);
        box->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        if (box->lineEdit() != nullptr) {
            box->lineEdit()->setAccessibleName(nameOf(label));
        }
    }
    auto *text = new QLabel(label);
    text->setBuddy(field);
    Row row{text, field, field, true};
    if (below != nullptr) {
        row.cell = new QWidget;
        row.cell->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
        auto *layout = new QVBoxLayout(row.cell);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->setSpacing(2);
        layout->addWidget(field);
        layout->addWidget(below);
    }
    m_rows.push_back(row);
    lay(row);
}

QLineEdit *DeskForm::addLine(const QString &label, const QString &tip)
{
    auto *field = new QLineEdit;
    addField(label, field, tip);
    return field;
}

QSpinBox *DeskForm::addNumber(const QString &label, const QString &tip, int least, int greatest)
{
    auto *field = new QSpinBox;
    field->setRange(least, greatest);
    addField(label, field, tip);
    return field;
}

QLabel *DeskForm::addText(const QString &label, const QString &tip)
{
    auto *text = new QLabel;
    text->setTextFormat(Qt::PlainText);
    text->setWordWrap(true);
    text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    addField(label, text, tip);
    return text;
}

QPushButton *DeskForm::addButton(const QString &text, const QString &tip)
{
    auto *button = new QPushButton(text);
    button->setToolTip(tip);
    addWide(button);
    return button;
}

void DeskForm::addWide(QWidget *widget)
{
    m_rows.push_back({nullptr, widget, widget, true});
    lay(m_rows.back());
}

void DeskForm::lay(const Row &row)
{
    if (row.label != nullptr) {
        addRow(row.label, row.cell);
    } else {
        addRow(row.cell);
    }
}

// The layout itself keeps the space around a hidden row.
void DeskForm::setRowVisible(const QWidget *field, bool visible)
{
    while (rowCount() > 0) {
        const TakeRowResult taken = takeRow(0);
        delete taken.labelItem;
        delete taken.fieldItem;
    }
    for (Row &row : m_rows) {
        if (row.field == field) {
            row.isVisible = visible;
            row.cell->setVisible(visible);
            if (row.label != nullptr) {
                row.label->setVisible(visible);
            }
        }
        if (row.isVisible) {
            lay(row);
        }
    }
}
