// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_JSON_PATH_H
#define SIMULATOR_JSON_PATH_H

#include <QtCore/QString>
#include <QtCore/QVector>

#include <variant>

// The way from the root of a JSON document to a value: names of members, and indexes of elements.
using JsonPath = QVector<std::variant<QString, int>>;

// An error in a JSON document.
struct JsonError
{
    JsonPath path;
    QString problem;
};

#endif
