// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TOOLS_JSON_H
#define TOOLS_JSON_H

#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QVariantMap>

// Received values as JSON: arrays and structures as arrays, maps as objects. NaN, infinities and
// whole numbers beyond 2^53 become strings.
QJsonValue toJson(const QVariant &value);
QJsonObject toJson(const QVariantMap &map);

// The same on one line, as "key=value" separated by blanks.
QString propertiesText(const QVariantMap &map);

#endif
