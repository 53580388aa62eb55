// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "desk/entered_values.h"

#include "json/bus_values.h"
#include "json/json_text.h"
#include "json/signature.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QRegularExpression>

#include <variant>

namespace
{

QString problemText(const char *text)
{
    return QCoreApplication::translate("EnteredValues", text);
}

// "Value 2, [0].State: takes a number, not a string"
QString textOf(const JsonError &error)
{
    QString place;
    for (int i = 1; i < error.path.size(); ++i) {
        const auto &step = error.path.at(i);
        const int *index = std::get_if<int>(&step);
        place += index != nullptr ? QStringLiteral("[%1]").arg(*index)
                                  : QLatin1Char('.') + std::get<QString>(step);
    }
    if (error.path.isEmpty()) {
        return problemText("What is entered %1").arg(error.problem);
    }
    const QString number = QString::number(std::get<int>(error.path.constFirst()) + 1);
    return place.isEmpty() ? problemText("Value %1: %2").arg(number, error.problem)
                           : problemText("Value %1, %2: %3").arg(number, place, error.problem);
}

QString exampleValue(const QString &type)
{
    const QChar first = type.at(0);
    if (first == QLatin1Char('(')) {
        return QLatin1Char('[') + exampleValues(type.mid(1, type.size() - 2)) + QLatin1Char(']');
    }
    if (first == QLatin1Char('a')) {
        return type.startsWith(QLatin1String("a{")) ? QStringLiteral("{}") : QStringLiteral("[]");
    }
    switch (first.toLatin1()) {
    case 'b':
        return QStringLiteral("true");
    case 's':
    case 'v':
        return QStringLiteral("\"a\"");
    case 'o':
        return QStringLiteral("\"/\"");
    case 'g':
        return QStringLiteral("\"s\"");
    default:
        return QStringLiteral("0");
    }
}

} // namespace

Result<QVariantList> enteredValues(const QString &text, const QString &types)
{
    if (!typesOf(types)) {
        return Failure(problemText("\"%1\" is no signature").arg(types));
    }
    const QByteArray json = '[' + text.toUtf8() + ']';
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError) {
        return Failure(problemText("This is no JSON: %1. Separate values by commas; strings are in "
                                   "quotation marks")
                           .arg(error.errorString()));
    }
    if (const auto duplicate = JsonText(json).firstDuplicate()) {
        return Failure(problemText("\"%1\" is there already").arg(duplicate->name));
    }
    try {
        const JsonNode values{document.array()};
        return types.isEmpty() ? busValues(values) : busValues(values, types);
    } catch (const JsonError &refused) {
        return Failure(textOf(refused));
    }
}

QString exampleValues(const QString &types)
{
    QStringList values;
    if (const auto each = typesOf(types)) {
        for (const QString &type : *each) {
            values.append(exampleValue(type));
        }
    }
    return values.join(QStringLiteral(", "));
}

Result<QList<uint>> enteredIndexes(const QString &text)
{
    static const QRegularExpression between(QStringLiteral("[\\s,]+"));
    QList<uint> indexes;
    const QStringList words = text.split(between, Qt::SkipEmptyParts);
    for (const QString &word : words) {
        bool isNumber = false;
        indexes.append(word.toUInt(&isNumber));
        if (!isNumber) {
            return Failure(
                problemText("\"%1\" is no index; the oldest held reply has 0").arg(word));
        }
    }
    if (indexes.isEmpty()) {
        return Failure(problemText("Enter the indexes of held replies; the oldest has 0"));
    }
    return indexes;
}

Result<QString> enteredPath(const QString &text)
{
    try {
        return readObjectPath(JsonNode(text));
    } catch (const JsonError &refused) {
        return Failure(refused.problem);
    }
}
