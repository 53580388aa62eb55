// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_BUS_VALUES_H
#define SIMULATOR_BUS_VALUES_H

#include "json/json_node.h"

#include <QtCore/QString>
#include <QtCore/QVariantList>
#include <QtCore/QVariantMap>

// Values of a JSON file as values that the bus can carry. All throw a JsonError for a value that it
// cannot.

// An object as a map. The types of its values follow from the JSON, unless a value is an object
// with a "type" and its "data".
QVariantMap busMap(const JsonNode &object);

// An array as values with these types.
QVariantList busValues(const JsonNode &array, const QString &signature);

// An array as values whose types follow from the JSON.
QVariantList busValues(const JsonNode &array);

// A signature, and the path of an object.
QString readSignature(const JsonNode &node);
QString readObjectPath(const JsonNode &node);

#endif
