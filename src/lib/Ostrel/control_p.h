// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_CONTROL_P_H
#define OSTREL_CONTROL_P_H

#include "Ostrel/control.h"

#include "DBus/process_end_p.h"

#include <QtDBus/QDBusAbstractInterface>
#include <QtDBus/QDBusPendingReply>

namespace Ostrel
{

// Receives the end of the bus connection.
class BusEnd : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

Q_SIGNALS:
    void ended();
};

// The proxy of the service. It declares no method of the service: QtDBus would derive the kind of
// call from its return type.
class ControlPrivate : public QDBusAbstractInterface
{
    Q_OBJECT

public:
    explicit ControlPrivate(Control *q);

    using AnyReply = QDBusPendingReply<>;

    // Calls a method and waits for the reply. Any thread may call this. The caller keeps the delay
    // until it has read the reply.
    template <typename... Arguments>
    QDBusPendingCall finishedCall(const ProcessEnd::Delay &delay, const QString &method,
                                  const Arguments &...arguments);

    // The outcome of a finished call.
    static Control::StartResult startResult(const QDBusPendingCall &call);
    static Error readRunning(const AnyReply &reply, QVector<RunningApplication> &applications,
                             QVector<RunningService> &services);

    bool isServiceAvailable();

private Q_SLOTS:
    void onStateChanged(const QString &appInstanceId, const QVariantMap &debugParams);

private:
    void onBusEnded();
    void onOwnerChanged(const QString &service, const QString &oldOwner, const QString &newOwner);
    void setServiceAvailable(bool available);

    Control *q;
    bool m_serviceAvailable = false;
    BusEnd *m_busEnd = nullptr;
    QString m_owner; // the last one announced
};

} // namespace Ostrel

#endif
