// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_JSON_FILE_H
#define SIMULATOR_JSON_FILE_H

#include "result.h"
#include "json/json_node.h"
#include "json/json_text.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QString>

// A JSON file. Its errors are messages for the user: "FILE:LINE: what is wrong there".
class JsonFile
{
public:
    // Whether an array may end after any of its elements, or within one, which is then left out.
    enum class End {
        Required,
        MayBeMissing
    };

    static Result<JsonFile> read(const QString &name, End end = End::Required);

    JsonNode root() const;
    const JsonText &text() const { return m_text; }

    QString message(const JsonError &error) const;

private:
    JsonFile(const QString &name, const QByteArray &text);
    Result<> parse(End end);
    bool parseWithoutEnd();

    QString m_name;
    QByteArray m_bytes;
    JsonText m_text;
    QJsonDocument m_document;
};

// Reads a file with a function that takes a JsonFile and may throw a JsonError.
template <typename Read>
auto readJson(const QString &name, const Read &read, JsonFile::End end = JsonFile::End::Required)
    -> Result<decltype(read(std::declval<const JsonFile &>()))>
{
    const Result<JsonFile> file = JsonFile::read(name, end);
    if (!file) {
        return Failure(file.error());
    }
    try {
        return read(*file);
    } catch (const JsonError &error) {
        return Failure(file->message(error));
    }
}

#endif
