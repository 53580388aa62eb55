// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_JSON_NODE_H
#define SIMULATOR_JSON_NODE_H

#include "json/json_path.h"

#include <QtCore/QJsonValue>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

// A value in a JSON document that knows its place there. It throws a JsonError if the value is not
// what is read from it.
class JsonNode
{
public:
    explicit JsonNode(const QJsonValue &value, const JsonPath &path = {});

    const QJsonValue &value() const { return m_value; }
    const JsonPath &path() const { return m_path; }

    QString string() const;
    bool boolean() const;
    double real() const;
    uint number() const;
    double wholeNumber(double least, double greatest) const;
    QStringList strings() const;
    QVector<JsonNode> elements() const;
    // Of an object, in alphabetical order.
    QStringList names() const;

    // Checks that this is an object with these members and no others.
    void expectMembers(const QStringList &required, const QStringList &optional) const;
    bool has(const QString &name) const;
    JsonNode member(const QString &name) const;

    // Throws an error about this value.
    [[noreturn]] void refuse(const QString &problem) const;

private:
    void expect(QJsonValue::Type type) const;
    void expectWhole(const QString &text) const;

    QJsonValue m_value;
    JsonPath m_path;
};

#endif
