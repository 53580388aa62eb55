// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTRELCTL_JSON_H
#define OSTRELCTL_JSON_H

#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QVariantMap>

// Whatever the service put into a map, as JSON: arrays and structures as arrays, maps as objects,
// what is no number as a string, and a whole number beyond 2^53 as well.
QJsonValue toJson(const QVariant &value);
QJsonObject toJson(const QVariantMap &map);

// The same on one line, as "key=value" separated by blanks. Numbers are just that.
QString propertiesText(const QVariantMap &map);

#endif
