// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_JSON_NODE_H
#define SIMULATOR_JSON_NODE_H

#include <QtCore/QJsonValue>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>
#include <QtCore/QVector>

// A value in a JSON document, which knows its place there. What is read from it is right or an
// empty value; the first mistake of all that is read is kept.
class JsonNode
{
public:
    // mistake: where the mistake is kept.
    JsonNode(const QJsonValue &value, const QString &place, QString &mistake);

    QString string() const;
    bool boolean() const;
    uint number() const;
    QStringList strings() const;
    QVector<JsonNode> elements() const;

    // An object as a map of values that can be sent on the bus.
    QVariantMap properties() const;

    // Says that this is an object, and that it has these members and no others.
    void expectMembers(const QStringList &required, const QStringList &optional) const;
    bool has(const QString &name) const;
    JsonNode member(const QString &name) const;

    // Says what is wrong with the value.
    void refuse(const QString &mistake) const;

private:
    bool expect(QJsonValue::Type type) const;
    void expectWhole(const QString &text) const;
    QVariant variant(int depth) const;
    QVariantMap variants(int depth) const;

    QJsonValue m_value;
    QString m_place;
    QString *m_mistake;
};

#endif
