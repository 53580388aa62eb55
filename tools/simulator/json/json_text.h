// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_JSON_TEXT_H
#define SIMULATOR_JSON_TEXT_H

#include "json/json_path.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVector>

#include <optional>

// A text that QJsonDocument has accepted. Finds what the document does not say: the lines of its
// values, from 1, and names that an object has twice.
class JsonText
{
public:
    explicit JsonText(const QByteArray &text);

    // Of the value, or of the innermost value around it if it is not there.
    int lineOf(const JsonPath &path) const;

    // Of each element of the array.
    QVector<int> linesOfElements(const JsonPath &array) const;

    struct Duplicate
    {
        QString name;
        int line = 0;
    };
    std::optional<Duplicate> firstDuplicate() const;

    int lineAt(int position) const { return m_text.left(position).count('\n') + 1; }

private:
    int positionOf(const JsonPath &path) const;
    std::optional<int> positionOfMember(int object, const QString &name) const;
    QVector<int> positionsOfElements(int array) const;

    // The position after what begins at this one.
    int afterSpace(int position) const;
    int afterString(int position) const;
    int afterValue(int position) const;
    char at(int position) const { return position < m_text.size() ? m_text.at(position) : '\0'; }
    QString nameAt(int position) const;

    QByteArray m_text;
};

#endif
