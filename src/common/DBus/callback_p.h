// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_CALLBACK_P_H
#define OSTREL_DBUS_CALLBACK_P_H

#include <QtCore/QMetaType>
#include <QtCore/QObject>

#include <functional>
#include <memory>

namespace Ostrel
{

// Not std::function<void()> itself: another plugin may have registered that, and been unloaded.
struct RelayedCall
{
    std::function<void()> run;
};

} // namespace Ostrel

Q_DECLARE_METATYPE(Ostrel::RelayedCall)

namespace Ostrel
{

// Carries a call to a context object: Qt's connection follows that object's thread and its
// deletion.
class CallbackRelay : public QObject
{
    Q_OBJECT

Q_SIGNALS:
    // Spelled as registered, or Qt could not queue it.
    void run(const Ostrel::RelayedCall &call);
};

// Returns a callback that runs in the thread of context, unless context has been deleted. If that
// is the caller's thread, it runs within the call. An empty callback does nothing.
template <typename... Arguments>
std::function<void(Arguments...)> onBehalfOf(const QObject *context,
                                             const std::function<void(Arguments...)> &callback)
{
    qRegisterMetaType<RelayedCall>();
    const auto relay = std::make_shared<CallbackRelay>();
    QObject::connect(relay.get(), &CallbackRelay::run, context,
                     [](const RelayedCall &call) { call.run(); });
    return [relay, callback](Arguments... arguments) {
        if (callback) {
            Q_EMIT relay->run({[callback, arguments...] { callback(arguments...); }});
        }
    };
}

} // namespace Ostrel

#endif
