// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTRELCTL_EVENTS_H
#define OSTRELCTL_EVENTS_H

#include "termination.h"

#include <QtCore/QJsonObject>
#include <QtCore/QObject>
#include <QtDBus/QDBusConnection>

// Quits the event loop at Ctrl-C, and with an error when the message bus ends.
class UntilInterrupted : public QObject
{
    Q_OBJECT

public:
    // An end of the bus that the event loop has handled before is not noticed.
    UntilInterrupted(QDBusConnection bus, bool asJson);

private Q_SLOTS:
    void onDisconnected() const;

private:
    Termination m_termination;
    bool m_asJson;
};

// Prints one event with the time in microseconds: as text, or as JSON with "time" (UTC),
// "monotonic" (the monotonic clock) and "event" added. Quits the event loop when nobody reads the
// output any more.
void printEvent(bool asJson, const QString &event, QJsonObject object, const QString &text);

// Prints whether the service runs, as an event.
void printService(bool asJson, bool available);

#endif
