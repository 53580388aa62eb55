// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_CALLBACK_P_H
#define OSTREL_DBUS_CALLBACK_P_H

#include <QtCore/QObject>

#include <functional>
#include <memory>

Q_DECLARE_METATYPE(std::function<void()>)

namespace Ostrel
{

// Carries a call to a context object: Qt's connection follows that object's thread and its
// deletion.
class CallbackRelay : public QObject
{
    Q_OBJECT

Q_SIGNALS:
    void run(const std::function<void()> &call);
};

// A callback that runs on behalf of context: in its thread, and not after it is gone. Where that is
// the thread of the caller, it runs within the call. An empty callback does nothing.
template <typename... Arguments>
std::function<void(Arguments...)> onBehalfOf(const QObject *context,
                                             const std::function<void(Arguments...)> &callback)
{
    const auto relay = std::make_shared<CallbackRelay>();
    QObject::connect(relay.get(), &CallbackRelay::run, context,
                     [](const std::function<void()> &call) { call(); });
    return [relay, callback](Arguments... arguments) {
        if (callback) {
            Q_EMIT relay->run([callback, arguments...] { callback(arguments...); });
        }
    };
}

} // namespace Ostrel

#endif
