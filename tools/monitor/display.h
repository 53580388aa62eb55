// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_DISPLAY_H
#define MONITOR_DISPLAY_H

#include <QtCore/QDateTime>
#include <QtCore/QString>
#include <QtCore/QVariant>
#include <QtCore/QVector>

// How values from the bus are shown: on one line, and short enough for a view to lay out at once.
QString shown(const QString &text);
QString shown(const QVariant &value);
// The name of a file, without its folder, and short enough for a line with other things.
QString shownName(const QString &file);

// The most names that a field offers.
constexpr int mostNames = 500;

// The time of day, with the date if that is not today's.
QString shown(const QDateTime &time);

// A duration in microseconds: "12.3 ms".
QString shownDuration(qint64 microseconds);

// A name and a value of what is selected.
struct Detail
{
    QString name;
    QVariant value;
};

using Details = QVector<Detail>;

// The details as a tooltip. Qt shows what looks like HTML as such, so everything is escaped.
QString toolTip(const Details &details);

#endif
