// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "display.h"

#include "json.h"
#include "text.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QLocale>

namespace
{

constexpr int longestText = 300;
constexpr int mostLines = 20;

// A piece of it is enough, and a large value takes long.
QString beginning(const QString &text)
{
    if (text.size() <= longestText) {
        return text;
    }
    const int length = text.at(longestText - 1).isHighSurrogate() ? longestText - 1 : longestText;
    return text.left(length) + QChar(0x2026);
}

} // namespace

QString shown(const QString &text)
{
    return onOneLine(beginning(text));
}

QString shownName(const QString &file)
{
    constexpr int longest = 40;
    const QString name = shown(QFileInfo(file).fileName());
    // Both ends say more than the middle.
    return name.size() <= longest
        ? name
        : name.left(longest / 2) + QChar(0x2026) + name.right(longest / 2 - 1);
}

QString shown(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::UnknownType:
        return {};
    case QMetaType::QString:
        return shown(value.toString());
    case QMetaType::QDateTime:
        return shown(value.toDateTime());
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
        return value.toString();
    default:
        // A document is an array or an object, so the value is wrapped, and the brackets removed.
        const QByteArray array =
            QJsonDocument(QJsonArray{toJson(value)}).toJson(QJsonDocument::Compact);
        return shown(QString::fromUtf8(array.mid(1, array.size() - 2)));
    }
}

QString shown(const QDateTime &time)
{
    if (!time.isValid()) {
        return {};
    }
    const QDateTime local = time.toLocalTime();
    const QString timeOfDay = local.toString(QStringLiteral("HH:mm:ss"));
    return local.date() == QDate::currentDate()
        ? timeOfDay
        : QLocale().toString(local.date(), QLocale::ShortFormat) + QLatin1Char(' ') + timeOfDay;
}

QString shownDuration(qint64 microseconds)
{
    constexpr double perMillisecond = 1000;
    const double milliseconds = double(microseconds) / perMillisecond;
    constexpr double few = 100;
    return QCoreApplication::translate("Duration", "%1 ms")
        .arg(QLocale().toString(milliseconds, 'f', milliseconds < few ? 1 : 0));
}

QString toolTip(const Details &details)
{
    QString rows;
    int lines = 0;
    for (const Detail &detail : details) {
        if (++lines > mostLines) {
            rows += QStringLiteral("<tr><td>%1</td></tr>").arg(QChar(0x2026));
            break;
        }
        rows += QStringLiteral("<tr><td>%1:&nbsp;</td><td>%2</td></tr>")
                    .arg(shown(detail.name).toHtmlEscaped(), shown(detail.value).toHtmlEscaped());
    }
    return rows.isEmpty() ? QString() : QStringLiteral("<table>%1</table>").arg(rows);
}
