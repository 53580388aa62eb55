// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TOOLS_BUSCTL_MESSAGES_H
#define TOOLS_BUSCTL_MESSAGES_H

#include "bus_message.h"
#include "trace_recorder.h"

#include <QtCore/QByteArray>
#include <QtCore/QJsonObject>

#include <functional>
#include <optional>

// Reads the lines of 'busctl monitor --json=short', and records what is about the service.
class BusctlMessages
{
public:
    // receive: gets the events of the trace.
    explicit BusctlMessages(std::function<void(const TraceEvent &)> receive);

    // Returns whether the line is a message on the bus.
    bool read(const QByteArray &line);

    // Ends the trace. Returns false if there was no message.
    bool finish();

private:
    void onCall(qint64 time, const BusMessage &message);
    void onSignal(qint64 time, const BusMessage &message, const QJsonObject &payload);
    void onOwnerChanged(qint64 time, const QJsonObject &payload);
    void onOwner(qint64 time, const QString &owner);

    std::function<void(const TraceEvent &)> m_receive;
    std::optional<TraceRecorder> m_recorder;
    qint64 m_last = 0;
    // The service's connection: empty without a service, nothing as long as it is unknown.
    std::optional<QString> m_owner;
    // Of the last call to the service that is waiting for a reply, to learn the owner from that.
    QString m_caller;
    quint32 m_callSerial = 0;
};

#endif
