// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_PENDING_CALL_P_H
#define OSTREL_DBUS_PENDING_CALL_P_H

#include "DBus/process_end_p.h"

#include <QtCore/QObject>
#include <QtCore/QThread>
#include <QtDBus/QDBusPendingCall>
#include <QtDBus/QDBusPendingReply>

#include <utility>

namespace Ostrel
{

// A watcher that may be destroyed after QtDBus.
class PendingCallWatcher : public QDBusPendingCallWatcher // clazy:exclude=missing-qobject-macro
{
public:
    using QDBusPendingCallWatcher::QDBusPendingCallWatcher;

    ~PendingCallWatcher() override
    {
        if (ProcessEnd::hasBegun()) {
            ProcessEnd::keep(d.take());
        }
    }
};

// Runs handler(reply) once the call has been answered, from the event loop of context's thread, and
// never after context is gone. Reply is a QDBusPendingReply, whose types the answer has to match;
// another answer arrives as an error. The handler may delete anything, context included.
template <typename Reply, typename Handler>
void watchPendingCall(const QDBusPendingCall &call, const QObject *context, Handler handler)
{
    // An object cannot have a parent in another thread. There the watcher follows context by hand.
    const bool elsewhere = context != nullptr && context->thread() != QThread::currentThread();
    auto *watcher =
        new PendingCallWatcher(call, elsewhere ? nullptr : const_cast<QObject *>(context));

    // The handler may delete the watcher's parent, and the watcher with it.
    const auto handle = [handler = std::move(handler)](QDBusPendingCallWatcher *finished) {
        const Reply reply = *finished;
        finished->deleteLater();
        handler(reply);
    };
    if (context != nullptr && watcher->isFinished()) {
        // The watcher would take two passes of the event loop to tell, and be overtaken by what
        // the bus delivers later.
        QMetaObject::invokeMethod(
            watcher, [watcher, handle] { handle(watcher); }, Qt::QueuedConnection);
    } else if (!QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context, handle)) {
        delete watcher;
        return;
    }

    if (elsewhere) {
        // Directly: context may outlive the event loop that would run a deleteLater().
        QObject::connect(
            context, &QObject::destroyed, watcher, [watcher] { delete watcher; },
            Qt::DirectConnection);
        // The reply may be handled, and the watcher deleted, as soon as it has moved.
        watcher->moveToThread(context->thread());
    }
}

} // namespace Ostrel

#endif
