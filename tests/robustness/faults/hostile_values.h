// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_FAULTS_HOSTILE_VALUES_H
#define TESTS_FAULTS_HOSTILE_VALUES_H

#include <QtCore/QString>

#include <vector>

// A value of a type that may come where another one belongs, in the form of the peer's orders.
struct HostileValue
{
    QString signature;
    QString words;

    // The value as a string and as a number.
    QString text;
    int number = 0;
    // The value as a list of records.
    QString applications;
    QString services;
    QString activeTasks;
    QString availableTasks;

    // The signature and the words.
    QString typed() const { return signature + ' ' + words; }
};

// Each basic type, and arrays, structures, maps and variants of several kinds and depths.
const std::vector<HostileValue> &hostileValues();

#endif
