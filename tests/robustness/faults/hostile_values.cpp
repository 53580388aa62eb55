// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "hostile_values.h"

#include <algorithm>

namespace
{

// The members that are not empty.
struct Row
{
    const char *signature;
    const char *words;
    const char *text = nullptr;
    int number = 0;
    const char *applications = "";
    const char *services = "";
    const char *activeTasks = "";
    const char *availableTasks = "";
};

// As deep as a message may be.
constexpr int depth = 32;

HostileValue fromRow(const Row &row)
{
    const auto latin1 = [](const char *text) { return text; };
    return {latin1(row.signature),    latin1(row.words),
            latin1(row.text),         row.number,
            latin1(row.applications), latin1(row.services),
            latin1(row.activeTasks),  latin1(row.availableTasks)};
}

HostileValue deepArray()
{
    HostileValue value;
    value.signature = QString(depth, 'a') + 'i';
    value.words = QString("1 ").repeated(depth) + '3';
    return value;
}

HostileValue deepStructure()
{
    HostileValue value;
    value.signature = QString(depth, '(') + 'i' + QString(depth, ')');
    value.words = "3";
    return value;
}

HostileValue deepVariant()
{
    HostileValue value;
    value.signature = "v";
    value.words = QString("v ").repeated(depth) + "i 3";
    return value;
}

} // namespace

const std::vector<HostileValue> &hostileValues()
{
    static const std::vector<HostileValue> all = [] {
        const std::vector<Row> rows{
            {"y", "65", "A", 65},
            {"b", "true", "true", 1},
            {"n", "-3", "-3", -3},
            {"q", "3", "3", 3},
            {"i", "-3", "-3", -3},
            {"u", "3000000000", "3000000000", -1294967296},
            {"x", "-3", "-3", -3},
            {"t", "18446744073709551615", "18446744073709551615", -1},
            {"d", "1.5", "1.5", 2},
            {"s", "17", "17", 17},
            {"s", "''", ""},
            {"o", "/a"},
            {"g", "as"},
            {"h", "0"},
            {"v", "s 17"},
            {"v", "(si) 17 3"},
            {"ay", "2 52 50", "42", 42},
            {"as", "2 17 y"},
            {"ai", "0"},
            {"ai", "1 3"},
            {"av", "1 (si) x 3"},
            {"ah", "1 0"},
            {"aas", "1 1 x"},
            {"a(ss)", "0"},
            {"a(ss)", "1 n s", nullptr, 0, "n 0 0 0 {}", "n s 0 0 {}", "n 0 {}", "n {}"},
            {"a(si)", "2 n 3 m 4", nullptr, 0, "n 3 0 0 {}; m 4 0 0 {}", "n  0 0 {}; m  0 0 {}",
             "n 3 {}; m 4 {}", "n {}; m {}"},
            {"a(siuua{sv})", "1 a.b 7 1 2 1 k i 3", nullptr, 0, "a.b 7 1 2 {k=3}", "a.b  0 2 {k=3}",
             "a.b 7 {}", "a.b {}"},
            {"a(ssiua{sv})", "1 a.b s 8 4 0", nullptr, 0, "a.b 0 0 4 {}", "a.b s 8 4 {}",
             "a.b 0 {}", "a.b {}"},
            {"a(sia{sv})", "1 n 3 1 k i 3", nullptr, 0, "n 3 0 0 {}", "n  0 0 {}", "n 3 {k=3}",
             "n {}"},
            {"a(sa{sv})", "1 n 1 k i 3", nullptr, 0, "n 0 0 0 {}", "n  0 0 {}", "n 0 {}",
             "n {k=3}"},
            {"a{sv}", "0"},
            {"a{sv}", "1 k i 3"},
            {"a{ss}", "1 k x"},
            {"a{is}", "1 3 x"},
            {"a{sa{sv}}", "1 k 1 l i 3"},
            {"(s)", "x"},
            {"(si)", "n 3"},
            {"(sia{sv})", "n 3 0"},
            {"((i)as)", "3 1 x"},
        };
        std::vector<HostileValue> values(rows.size());
        std::transform(rows.cbegin(), rows.cend(), values.begin(), fromRow);
        values.push_back(deepArray());
        values.push_back(deepStructure());
        values.push_back(deepVariant());
        return values;
    }();
    return all;
}
