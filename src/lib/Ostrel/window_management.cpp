// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "Ostrel/window_management.h"
#include "Ostrel/window_management_p.h"

#include "DBus/checked_call_p.h"
#include "DBus/names_p.h"
#include "DBus/pending_call_p.h"
#include "DBus/process_end_p.h"
#include "DBus/receive_limit_p.h"
#include "DBus/service_name_p.h"
#include "DBus/timeout_p.h"
#include "Ostrel/error_p.h"

#include <QtDBus/QDBusConnection>

namespace Ostrel
{

WindowManagementInterface::WindowManagementInterface()
    : QDBusAbstractInterface(serviceName, QStringLiteral(OSTREL_WINDOW_MANAGEMENT_PATH),
                             OSTREL_WINDOW_MANAGEMENT_INTERFACE,
                             ProcessEnd::bus(QDBusConnection::SessionBus), nullptr)
{
    liftReceiveLimit(connection());
    ProcessEnd::watch();
}

WindowManagementInterface::~WindowManagementInterface() = default;

void WindowManagementPrivate::updateWindowStatus(
    const QString &window, int status, int arg1, int arg2, const QObject *context,
    const std::function<void(ApplicationState, const Error &)> &callback)
{
    using Reply = QDBusPendingReply<quint32>;
    watchPendingCall<Reply>(
        checkedCall(*m_interface, QStringLiteral("UpdateWindowStatus"), window, status, arg1, arg2),
        context, [callback](const Reply &reply) {
            if (reply.isError()) {
                callback(ApplicationStateUnknown, fromDBusError(reply.error()));
            } else {
                callback(static_cast<ApplicationState>(reply.value()),
                         Error(Error::NoError, QString()));
            }
        });
}

WindowManagement::WindowManagement(QObject *parent)
    : QObject(parent)
    , d(std::make_unique<WindowManagementPrivate>())
{
}

WindowManagement::~WindowManagement() = default;

void WindowManagement::setTimeout(int milliseconds)
{
    setCallTimeout(d->proxy(), milliseconds);
}

int WindowManagement::timeout() const
{
    return d->proxy().timeout();
}

void WindowManagement::updateWindowStatus(
    const QString &window, int status, int arg1, int arg2, const QObject *context,
    const std::function<void(ApplicationState, const Error &)> &callback)
{
    d->updateWindowStatus(window, status, arg1, arg2, context, callback);
}

} // namespace Ostrel
