// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_JSON_NODE_H
#define SIMULATOR_JSON_NODE_H

#include <QtCore/QJsonValue>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>
#include <QtCore/QVector>

// An error in a JSON document: its place there, and what is wrong.
struct JsonError
{
    QString message;
};

// A value in a JSON document that knows its place there. It throws a JsonError if the value is not
// what is read from it.
class JsonNode
{
public:
    explicit JsonNode(const QJsonValue &value, const QString &place = QString());

    QString string() const;
    bool boolean() const;
    uint number() const;
    QStringList strings() const;
    QVector<JsonNode> elements() const;

    // An object as a map of values that the bus can carry.
    QVariantMap properties() const;

    // Checks that this is an object with these members and no others.
    void expectMembers(const QStringList &required, const QStringList &optional) const;
    bool has(const QString &name) const;
    JsonNode member(const QString &name) const;

    // Throws an error about this value.
    [[noreturn]] void refuse(const QString &problem) const;

private:
    void expect(QJsonValue::Type type) const;
    void expectWhole(const QString &text) const;
    QVariant variant(int depth) const;
    QVariantMap variants(int depth) const;

    QJsonValue m_value;
    QString m_place;
};

#endif
