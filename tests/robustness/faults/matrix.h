// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_FAULTS_MATRIX_H
#define TESTS_FAULTS_MATRIX_H

#include "fault.h"

#include <array>

// The outcome of one operation with one fault.
struct Outcome
{
    // For the table: the code of an error, + or - for a signal that is received or not, or "ok".
    QString mark;
    // Everything that the caller saw, and anything else that is wrong.
    QString text;
};

// Tries an operation with a fault, and whether it works again afterwards.
Outcome tryOperation(Rig &rig, const Fault &fault, const Operation &operation);

// Tries all operations with all faults, those of task invokers on each bus, and prints a table.
class Matrix
{
public:
    // Tries the faults. Returns a string for each outcome that is not the expected one.
    QStringList run(const std::vector<Fault> &faults);

    int cells() const { return m_cells; }

private:
    using Row = std::vector<std::optional<Outcome>>;

    Row row(const Fault &fault);
    // The same in processes of their own.
    static Row rowApart(const Fault &fault);

    // One for each bus.
    std::array<std::optional<Rig>, 2> m_rigs;
    int m_cells = 0;
};

// Runs in a process of its own. Returns its exit status.
int tryApart(const QString &fault, const QStringList &columnNames);

#endif
