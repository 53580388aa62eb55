// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_QML_SCRIPT_VALUES_H
#define OSTREL_QML_SCRIPT_VALUES_H

#include <QtCore/QVariantMap>
#include <QtQml/QJSValue>

#include <optional>

class QJSEngine;

namespace Ostrel
{

// Converts an object of JavaScript to the map that a request sends. Undefined and null are an empty
// map. Returns nothing, and throws an exception in JavaScript, if the value is no object, or too
// deep.
//
// JavaScript has one type of numbers and one of lists. A whole number becomes an int. A list
// becomes a QStringList if it holds nothing but strings.
std::optional<QVariantMap> mapFromScript(QJSEngine *engine, const QJSValue &value);

} // namespace Ostrel

#endif
