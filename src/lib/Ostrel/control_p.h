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

// Hears that the bus connection has ended.
class BusEnd : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

Q_SIGNALS:
    void ended();
};

// The service's end of the conversation. It declares no method of the service: QtDBus would take
// its return type for how the call is to be made.
class ControlPrivate : public QDBusAbstractInterface
{
    Q_OBJECT

public:
    explicit ControlPrivate(Control *q);

    using AnyReply = QDBusPendingReply<>;

    // Calls a method and waits for the reply. Any thread may do so. The delay lasts until the reply
    // has been read.
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
    QString m_owner; // the newest that was announced
};

} // namespace Ostrel

#endif
