// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "name_field.h"

#include "display.h"

#include <QtWidgets/QCompleter>
#include <QtWidgets/QLineEdit>

NameField::NameField(QWidget *parent)
    : QComboBox(parent)
{
    setEditable(true);
    setInsertPolicy(NoInsert);
    setAccessibleName(tr("Application to start"));
    setToolTip(tr("The name of an application to start"));
    lineEdit()->setPlaceholderText(tr("Application"));
    lineEdit()->setAccessibleName(accessibleName());
    completer()->setCompletionMode(QCompleter::PopupCompletion);
    completer()->setFilterMode(Qt::MatchContains);
    setSizeAdjustPolicy(AdjustToMinimumContentsLengthWithIcon);
    const int characters = 18;
    setMinimumContentsLength(characters);
    connect(lineEdit(), &QLineEdit::returnPressed, this, &NameField::entered);
}

void NameField::remember(const QString &name)
{
    const bool isShowable = !name.isEmpty() && shown(name) == name;
    if (!isShowable || count() >= mostNames || findText(name, Qt::MatchCaseSensitive) >= 0) {
        return;
    }
    const QString typed = currentText();
    int place = 0;
    while (place < count() && itemText(place) < name) {
        ++place;
    }
    insertItem(place, name);
    // The first item would become the current one.
    setEditText(typed);
}

QStringList NameField::names() const
{
    QStringList names;
    for (int i = 0; i < count(); ++i) {
        names.append(itemText(i));
    }
    return names;
}
