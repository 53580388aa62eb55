// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_RECORD_ROWS_H
#define TESTS_RECORD_ROWS_H

#include "busctl.h"
#include "warnings.h"

#include <QtCore/QVariantMap>
#include <QtCore/QVector>
#include <QtDBus/QDBusArgument>
#include <QtTest/QTest>

#include <utility>
#include <vector>

// Tables of values that another process sends, with what a reader makes of them.

// Returns the content of a map as "key=value".
inline QString text(const QVariantMap &properties)
{
    QStringList entries;
    for (auto entry = properties.cbegin(); entry != properties.cend(); ++entry) {
        entries.append(entry.key() + '=' + entry.value().toString());
    }
    return entries.join(',');
}

template <typename Record> QString text(const QVector<Record> &records)
{
    QStringList texts;
    for (const Record &record : records) {
        texts.append(text(record));
    }
    return texts.join("; ");
}

struct Row
{
    const char *signature;
    const char *value; // in busctl's form; '' is an empty string
    const char *content;
};

inline void addRows(const std::vector<Row> &rows)
{
    QTest::addColumn<QString>("signature");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("content");
    for (const Row &row : rows) {
        QTest::addRow("%s: %s", row.signature, row.value)
            << row.signature << row.value << row.content;
    }
}

// Adds values that are no structures, and the content that a reader makes of each.
inline std::vector<Row> andOthers(std::vector<Row> rows, const char *content)
{
    const std::vector<std::pair<const char *, const char *>> others{
        {"s", "x"},         {"i", "3"},  {"y", "3"},      {"b", "true"},        {"n", "-3"},
        {"q", "3"},         {"u", "3"},  {"x", "-3"},     {"t", "3"},           {"d", "1.5"},
        {"o", "/a"},        {"g", "as"}, {"v", "s x"},    {"v", "(si) x 3"},    {"v", "v v i 3"},
        {"as", "2 x y"},    {"as", "0"}, {"ay", "2 1 2"}, {"a{sv}", "1 k i 3"}, {"a{sv}", "0"},
        {"a{is}", "1 3 x"},
    };
    for (const auto &[signature, value] : others) {
        rows.push_back({signature, value, content});
    }
    return rows;
}

// Has busctl send the value of the current row, and reads it into a target that holds another
// value.
template <typename Target>
void readRow(const PrivateBus &bus, Target target, const QStringList &expectedWarnings = {})
{
    QFETCH(QString, signature);
    QFETCH(QString, value);
    const QDBusArgument argument = receive(bus, signature, value);
    QCOMPARE(argument.currentSignature(), '(' + signature + "s)");

    const Warnings warnings;
    QString marker;
    argument.beginStructure();
    const QDBusArgument &returned = argument >> target;
    QCOMPARE(&returned, &argument);
    // The reader has skipped exactly one value.
    QCOMPARE(argument.currentSignature(), "s");
    argument >> marker;
    argument.endStructure();
    QCOMPARE(marker, "marker");
    QTEST(text(target), "content");
    QCOMPARE(warnings.texts(), expectedWarnings);
}

#endif
