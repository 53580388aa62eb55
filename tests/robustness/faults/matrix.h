// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_FAULTS_MATRIX_H
#define TESTS_FAULTS_MATRIX_H

#include "fault.h"

#include <array>

// What came of one operation under one fault.
struct Outcome
{
    // For the table: an error's code, whether a signal was taken (+) or not (-), or "ok".
    QString mark;
    // All that the caller saw, and what is wrong besides.
    QString text;
};

// Tries an operation under a fault, and whether it still works afterwards.
Outcome tryOperation(Rig &rig, const Fault &fault, const Operation &operation);

// Tries all operations, those of task invokers on each bus, under all faults, and prints a table of
// it.
class Matrix
{
public:
    // Tries them, and returns what did not come out as it should: a text each.
    QStringList run(const std::vector<Fault> &faults);

    int cells() const { return m_cells; }

private:
    using Row = std::vector<std::optional<Outcome>>;

    Row row(const Fault &fault);
    // The same in processes of their own.
    static Row rowApart(const Fault &fault);

    // For each bus.
    std::array<std::optional<Rig>, 2> m_rigs;
    int m_cells = 0;
};

// What a process of its own does; the result is its exit status.
int tryApart(const QString &fault, const QStringList &columnNames);

#endif
