// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "json/json_file.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonParseError>

namespace
{

constexpr int greatestSize = 16 * 1024 * 1024;

Result<QByteArray> contentsOf(const QString &name)
{
    QFile file(name);
    const QFileInfo info(name);
    // Reading a FIFO blocks, and a device may never end.
    if (info.exists() && !info.isFile() && !info.isDir()) {
        return Failure(QStringLiteral("is not a regular file"));
    }
    if (!file.open(QIODevice::ReadOnly)) {
        return Failure(file.errorString());
    }
    const QByteArray text = file.read(greatestSize + 1);
    if (file.error() != QFileDevice::NoError) {
        return Failure(file.errorString());
    }
    if (text.size() > greatestSize) {
        return Failure(QStringLiteral("is larger than 16 MiB"));
    }
    return text;
}

// A message is one line.
QString printable(const QString &text)
{
    QString printed;
    for (const QChar character : text) {
        if (character.category() == QChar::Other_Control) {
            printed += QStringLiteral("\\u%1").arg(character.unicode(), 4, 16, QLatin1Char('0'));
        } else {
            printed += character;
        }
    }
    return printed;
}

QString toString(const JsonPath &path)
{
    QString text;
    for (const auto &step : path) {
        if (const auto *const name = std::get_if<QString>(&step)) {
            text += (text.isEmpty() ? QString() : QStringLiteral(".")) + *name;
        } else {
            text += QStringLiteral("[%1]").arg(std::get<int>(step));
        }
    }
    return text;
}

} // namespace

JsonFile::JsonFile(const QString &name, const QByteArray &text)
    : m_name(name)
    , m_bytes(text)
    , m_text(text)
{
}

Result<JsonFile> JsonFile::read(const QString &name, End end)
{
    const Result<QByteArray> contents = contentsOf(name);
    if (!contents) {
        return Failure(QStringLiteral("%1: %2").arg(name, contents.error()));
    }
    JsonFile file(name, *contents);
    return file.parse(end).map([&file] { return file; });
}

// What has been written of an array, an element on a line. Returns false if it is none.
bool JsonFile::parseWithoutEnd()
{
    const int lastLine = m_bytes.lastIndexOf('\n');
    for (const int size : {m_bytes.size(), qMax(0, lastLine)}) {
        QByteArray text = m_bytes.left(size);
        if (text.trimmed().endsWith(',')) {
            text.truncate(text.lastIndexOf(','));
        }
        text += ']';
        const QJsonDocument document = QJsonDocument::fromJson(text);
        if (document.isArray()) {
            m_document = document;
            m_bytes = text;
            m_text = JsonText(text);
            return true;
        }
    }
    return false;
}

Result<> JsonFile::parse(End end)
{
    QJsonParseError error{};
    m_document = QJsonDocument::fromJson(m_bytes, &error);
    const bool isRead = error.error == QJsonParseError::NoError
        || (end == End::MayBeMissing && m_bytes.startsWith('[') && parseWithoutEnd());
    if (!isRead) {
        // The position of the error is after the wrong character, except for these.
        const bool isAhead = error.error == QJsonParseError::GarbageAtEnd
            || error.error == QJsonParseError::IllegalNumber;
        const QByteArray before = m_bytes.left(qMax(0, isAhead ? error.offset : error.offset - 1));
        // A column is a character.
        const int column = QString::fromUtf8(before.mid(before.lastIndexOf('\n') + 1)).size() + 1;
        return Failure(QStringLiteral("%1:%2: column %3: %4")
                           .arg(m_name)
                           .arg(m_text.lineAt(before.size()))
                           .arg(column)
                           .arg(error.errorString()));
    }
    // The document has the last one of them.
    if (const auto duplicate = m_text.firstDuplicate()) {
        return Failure(
            QStringLiteral("%1:%2: \"%3\" is there already")
                .arg(m_name, QString::number(duplicate->line), printable(duplicate->name)));
    }
    return {};
}

JsonNode JsonFile::root() const
{
    return JsonNode(m_document.isArray() ? QJsonValue(m_document.array())
                                         : QJsonValue(m_document.object()));
}

QString JsonFile::message(const JsonError &error) const
{
    const QString place = error.path.isEmpty() ? QStringLiteral("the file ")
                                               : toString(error.path) + QStringLiteral(": ");
    return QStringLiteral("%1:%2: ").arg(m_name).arg(m_text.lineOf(error.path))
        + printable(place + error.problem);
}
