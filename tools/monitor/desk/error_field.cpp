// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "desk/error_field.h"

#include "Ostrel/error_p.h"

#include <QtCore/QMetaEnum>
#include <QtWidgets/QCompleter>
#include <QtWidgets/QLineEdit>

using Ostrel::Error;

ErrorField::ErrorField(QWidget *parent)
    : QComboBox(parent)
{
    setEditable(true);
    setInsertPolicy(NoInsert);
    const auto codes = QMetaEnum::fromType<Error::Code>();
    for (int i = 0; i < codes.keyCount(); ++i) {
        const QString busName = Ostrel::busErrorNameOf(static_cast<Error::Code>(codes.value(i)));
        addItem(QString::fromLatin1(codes.key(i)), busName);
        setItemData(i, busName, Qt::ToolTipRole);
    }
    setCurrentText(Error(Error::HandlerFailed).name());
    completer()->setFilterMode(Qt::MatchContains);
    completer()->setCompletionMode(QCompleter::PopupCompletion);
}

QString ErrorField::busName() const
{
    const QString text = currentText().trimmed();
    const int known = findText(text, Qt::MatchExactly | Qt::MatchCaseSensitive);
    if (known >= 0) {
        return itemData(known).toString();
    }
    return text.contains(QLatin1Char('.')) ? text : QStringLiteral(OSTREL_ERROR_PREFIX) + text;
}
