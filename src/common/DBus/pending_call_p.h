// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_PENDING_CALL_P_H
#define OSTREL_DBUS_PENDING_CALL_P_H

#include "DBus/process_end_p.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>
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

// Runs handler(reply) when the call has finished, from the event loop of context's thread, unless
// context has been deleted. Reply is a QDBusPendingReply; a reply with other types becomes an
// error. The handler may delete any object, context included.
template <typename Reply, typename Handler>
void watchPendingCall(const QDBusPendingCall &call, const QObject *context, Handler handler)
{
    // An object cannot have a parent in another thread. So the watcher follows destroyed() below.
    const bool elsewhere = context != nullptr && context->thread() != QThread::currentThread();
    auto *watcher =
        new PendingCallWatcher(call, elsewhere ? nullptr : const_cast<QObject *>(context));

    // The handler may delete the watcher's parent, and the watcher with it.
    const auto handle = [context, elsewhere,
                         handler = std::move(handler)](QDBusPendingCallWatcher *finished) {
        const Reply reply = *finished;
        if (elsewhere) {
            // From now on the watcher's thread may delete it at any moment.
            QObject::disconnect(context, nullptr, finished, nullptr);
        }
        finished->deleteLater();
        handler(reply);
    };
    if (context != nullptr && watcher->isFinished()) {
        // The watcher would need two passes of the event loop to emit finished(). Later messages of
        // the bus would overtake it. Unlike the watcher, what is posted to context follows it to
        // another thread.
        QMetaObject::invokeMethod(
            const_cast<QObject *>(context),
            [watcher = QPointer<QDBusPendingCallWatcher>(watcher), handle] {
                // The program may have deleted the children of its context.
                if (!watcher.isNull()) {
                    handle(watcher);
                }
            },
            Qt::QueuedConnection);
    } else if (!QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context, handle)) {
        delete watcher;
        return;
    }

    if (elsewhere) {
        // Directly: context may outlive the event loop that would run a deleteLater(). It may also
        // have been moved to another thread, and left the watcher behind.
        QObject::connect(
            context, &QObject::destroyed, watcher,
            [watcher] {
                if (watcher->thread() == QThread::currentThread()
                    || watcher->thread()->isFinished()) {
                    delete watcher;
                } else {
                    watcher->deleteLater();
                }
            },
            Qt::DirectConnection);
        // The reply may be handled, and the watcher deleted, as soon as it has moved.
        watcher->moveToThread(context->thread());
    }
}

} // namespace Ostrel

#endif
