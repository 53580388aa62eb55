// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "json/json_text.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QSet>

#include <cstring>

namespace
{

bool isOneOf(char character, const char *characters)
{
    return character != '\0' && std::strchr(characters, character) != nullptr;
}

} // namespace

JsonText::JsonText(const QByteArray &text)
    : m_text(text)
{
}

int JsonText::lineOf(const JsonPath &path) const
{
    return lineAt(positionOf(path));
}

QVector<int> JsonText::linesOfElements(const JsonPath &array) const
{
    QVector<int> lines;
    int line = 1;
    int counted = 0;
    const QVector<int> positions = positionsOfElements(positionOf(array));
    for (const int position : positions) {
        line += m_text.mid(counted, position - counted).count('\n');
        counted = position;
        lines.append(line);
    }
    return lines;
}

std::optional<JsonText::Duplicate> JsonText::firstDuplicate() const
{
    // An array has no names.
    QVector<std::optional<QSet<QString>>> open;
    bool nameComes = false;
    for (int position = 0; position < m_text.size(); ++position) {
        const char character = m_text.at(position);
        if (character == '{') {
            open.append(QSet<QString>());
            nameComes = true;
        } else if (character == '[') {
            open.append(std::nullopt);
            nameComes = false;
        } else if (isOneOf(character, "]}") && !open.isEmpty()) {
            open.removeLast();
            nameComes = false;
        } else if (character == ',' && !open.isEmpty()) {
            nameComes = open.constLast().has_value();
        } else if (character == '"') {
            if (nameComes) {
                const QString name = nameAt(position);
                if (open.constLast()->contains(name)) {
                    return Duplicate{name, lineAt(position)};
                }
                open.last()->insert(name);
                nameComes = false;
            }
            position = afterString(position) - 1;
        }
    }
    return std::nullopt;
}

int JsonText::positionOf(const JsonPath &path) const
{
    const int mark = m_text.startsWith("\xef\xbb\xbf") ? 3 : 0;
    int position = afterSpace(mark);
    for (const auto &step : path) {
        std::optional<int> next;
        if (const auto *const name = std::get_if<QString>(&step)) {
            next = positionOfMember(position, *name);
        } else {
            const int index = std::get<int>(step);
            const QVector<int> elements = positionsOfElements(position);
            next = index < elements.size() ? std::optional(elements.at(index)) : std::nullopt;
        }
        if (!next) {
            break;
        }
        position = *next;
    }
    return position;
}

std::optional<int> JsonText::positionOfMember(int object, const QString &name) const
{
    if (at(object) != '{') {
        return std::nullopt;
    }
    int position = afterSpace(object + 1);
    while (at(position) == '"') {
        const int colon = afterSpace(afterString(position));
        const int value = afterSpace(colon + 1);
        if (nameAt(position) == name) {
            return value;
        }
        // After the value comes a comma or the end.
        position = afterSpace(afterSpace(afterValue(value)) + 1);
    }
    return std::nullopt;
}

QVector<int> JsonText::positionsOfElements(int array) const
{
    QVector<int> positions;
    if (at(array) != '[') {
        return positions;
    }
    int position = afterSpace(array + 1);
    while (position < m_text.size() && at(position) != ']') {
        positions.append(position);
        position = afterSpace(afterValue(position));
        if (at(position) != ',') {
            break;
        }
        position = afterSpace(position + 1);
    }
    return positions;
}

int JsonText::afterSpace(int position) const
{
    while (isOneOf(at(position), " \t\r\n")) {
        ++position;
    }
    return position;
}

int JsonText::afterString(int position) const
{
    ++position;
    while (position < m_text.size() && m_text.at(position) != '"') {
        position += m_text.at(position) == '\\' ? 2 : 1;
    }
    return position + 1;
}

int JsonText::afterValue(int position) const
{
    int depth = 0;
    do {
        const char character = at(position);
        if (character == '"') {
            position = afterString(position);
        } else if (isOneOf(character, "[{")) {
            ++depth;
            ++position;
        } else if (isOneOf(character, "]}")) {
            --depth;
            ++position;
        } else if (isOneOf(character, ",: \t\r\n")) {
            ++position;
        } else {
            // A number, true, false or null.
            while (position < m_text.size() && !isOneOf(at(position), "[]{},:\" \t\r\n")) {
                ++position;
            }
        }
    } while (depth > 0 && position < m_text.size());
    return position;
}

QString JsonText::nameAt(int position) const
{
    const QByteArray quoted = m_text.mid(position, afterString(position) - position);
    return QJsonDocument::fromJson('[' + quoted + ']').array().at(0).toString();
}
