// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_REPLIES_H
#define SIMULATOR_REPLIES_H

#include "bus/interface.h"
#include "bus/service.h"
#include "result.h"

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QVariantList>
#include <QtCore/QVector>

#include <chrono>
#include <functional>
#include <memory>

// The replies to calls that have a fault: what the service sends, and when.
class Replies : public QObject
{
    Q_OBJECT

public:
    explicit Replies(Service &service);

    // Makes the reply to a call, at once or later.
    using Maker = std::function<void(const QDBusMessage &call, Interface &interface,
                                     const Interface::Answer &answer)>;

    static Maker usual();
    static Maker values(const QVariantList &values);
    static Maker error(const QString &name, const QVariantList &values);

    // Sends the reply as soon as it is made, after a time, when release() says so, or never.
    Service::Fault now(const Maker &maker);
    Service::Fault delayed(const Maker &maker, std::chrono::milliseconds delay);
    // Makes the reply again after the time, and sends that one. For a call that changes nothing
    // the second time.
    Service::Fault renewed(const Maker &maker, std::chrono::milliseconds delay);
    // heldAs: the name for heldCount() and release(); null for the method of the call.
    Service::Fault held(const Maker &maker, const Method &heldAs = {});
    static Service::Fault never();

    uint heldCount(const Method &method) const;

    // Sends the held replies with these indexes, in this order.
    Result<> release(const Method &method, const QList<uint> &order);

    // Drops the held and the delayed replies.
    void drop();

Q_SIGNALS:
    // One more reply is held.
    void isHeld();

private:
    struct Held
    {
        QDBusMessage call;
        QDBusMessage answer;
    };

    Service &m_service;
    QHash<Method, QVector<Held>> m_held;
    // Deleting it drops the delayed replies.
    std::unique_ptr<QObject> m_delays = std::make_unique<QObject>();
};

#endif
