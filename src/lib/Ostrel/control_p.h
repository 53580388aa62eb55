// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_CONTROL_P_H
#define OSTREL_CONTROL_P_H

#include "Ostrel/control.h"

#include "DBus/process_end_p.h"

#include <QtDBus/QDBusAbstractInterface>
#include <QtDBus/QDBusPendingCall>

namespace Ostrel
{

// The service's end of the conversation. It declares no method of the service: QtDBus would take
// its return type for how the call is to be made.
class ControlPrivate : public QDBusAbstractInterface
{
    Q_OBJECT

public:
    explicit ControlPrivate(Control *q);

    // Calls a method and waits for the reply. Any thread may do so. The delay lasts until the reply
    // has been read.
    template <typename... Arguments>
    QDBusPendingCall finishedCall(const ProcessEnd::Delay &delay, const QString &method,
                                  const Arguments &...arguments);

    // Reads the reply to a call that starts an application.
    static Control::StartResult startResult(const QDBusPendingCall &call);

private Q_SLOTS:
    void onStateChanged(const QString &appInstanceId, const QVariantMap &debugParams);

private:
    Control *q;
};

} // namespace Ostrel

#endif
