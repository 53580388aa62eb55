// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTRELCTL_EVENTS_H
#define OSTRELCTL_EVENTS_H

#include "termination.h"

#include <QtCore/QJsonObject>
#include <QtCore/QObject>
#include <QtDBus/QDBusConnection>

// Quits the event loop at Ctrl-C, and with an error when the bus goes away.
class UntilInterrupted : public QObject
{
    Q_OBJECT

public:
    explicit UntilInterrupted(QDBusConnection bus);

private Q_SLOTS:
    void onDisconnected();

private:
    Termination m_termination;
};

// Prints one event with the time: as text, or as JSON with "time" (UTC) and "event" added. Quits
// the event loop when nobody reads the output any more.
void printEvent(bool asJson, const QString &event, QJsonObject object, const QString &text);

#endif
