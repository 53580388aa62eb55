// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "desk/instance_field.h"

#include "display.h"

#include <QtCore/QAbstractItemModel>
#include <QtGui/QKeyEvent>
#include <QtWidgets/QLineEdit>

InstanceField::InstanceField(QWidget *parent)
    : QComboBox(parent)
{
    setEditable(true);
    setInsertPolicy(NoInsert);
    setCompleter(nullptr);
    lineEdit()->setPlaceholderText(tr("demo.Viewer.instance_1"));
}

void InstanceField::setSource(const QAbstractItemModel *model, int column)
{
    m_model = model;
    m_column = column;
}

void InstanceField::showPopup()
{
    refresh();
    if (count() > 0) {
        QComboBox::showPopup();
    }
}

void InstanceField::keyPressEvent(QKeyEvent *event)
{
    // These choose without the list.
    if (event->key() == Qt::Key_Up || event->key() == Qt::Key_Down) {
        refresh();
    }
    QComboBox::keyPressEvent(event);
}

void InstanceField::refresh()
{
    const QString entered = currentText();
    clear();
    for (int row = 0; m_model != nullptr && row < m_model->rowCount() && count() < mostNames;
         ++row) {
        const QString name = m_model->index(row, m_column).data().toString();
        // A shortened name is no instance.
        if (!name.isEmpty() && shown(name) == name && !name.endsWith(QChar(0x2026))) {
            addItem(name);
        }
    }
    setCurrentIndex(findText(entered, Qt::MatchExactly | Qt::MatchCaseSensitive));
    setEditText(entered);
}
