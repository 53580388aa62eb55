// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "faultdesk/replies.h"

#include <QtCore/QTimer>

Replies::Replies(Service &service)
    : m_service(service)
{
}

Replies::Maker Replies::usual()
{
    return [](const QDBusMessage &call, Interface &interface, const Interface::Answer &answer) {
        interface.handle(call, answer);
    };
}

Replies::Maker Replies::values(const QVariantList &values)
{
    return [values](const QDBusMessage &call, Interface &, const Interface::Answer &answer) {
        answer(call.createReply(values));
    };
}

Replies::Maker Replies::error(const QString &name, const QVariantList &values)
{
    return [name, values](const QDBusMessage &call, Interface &, const Interface::Answer &answer) {
        QDBusMessage error = call.createErrorReply(name, QString());
        error.setArguments(values);
        answer(error);
    };
}

Service::Fault Replies::now(const Maker &maker)
{
    return [this, maker](const QDBusMessage &call, Interface &interface) {
        maker(call, interface,
              [this, call](const QDBusMessage &answer) { m_service.send(call, answer); });
    };
}

Service::Fault Replies::delayed(const Maker &maker, std::chrono::milliseconds delay)
{
    return [this, maker, delay](const QDBusMessage &call, Interface &interface) {
        maker(call, interface, [this, delay, call](const QDBusMessage &answer) {
            QTimer::singleShot(delay, Qt::PreciseTimer, m_delays.get(),
                               [this, call, answer] { m_service.send(call, answer); });
        });
    };
}

Service::Fault Replies::renewed(const Maker &maker, std::chrono::milliseconds delay)
{
    return [this, maker, delay](const QDBusMessage &call, Interface &interface) {
        maker(call, interface, [](const QDBusMessage &) {});
        QTimer::singleShot(delay, Qt::PreciseTimer, m_delays.get(),
                           [reply = now(maker), call, &interface] { reply(call, interface); });
    };
}

Service::Fault Replies::held(const Maker &maker, const Method &heldAs)
{
    return [this, maker, heldAs](const QDBusMessage &call, Interface &interface) {
        const Method method =
            heldAs.second.isNull() ? Method{interface.description().name(), call.member()} : heldAs;
        maker(call, interface, [this, method, call](const QDBusMessage &answer) {
            m_held[method].append({call, answer});
            Q_EMIT isHeld();
        });
    };
}

Service::Fault Replies::never()
{
    return [](const QDBusMessage &, Interface &) {};
}

uint Replies::heldCount(const Method &method) const
{
    return static_cast<uint>(m_held.value(method).size());
}

Result<> Replies::release(const Method &method, const QList<uint> &order)
{
    QVector<Held> &held = m_held[method];
    for (int i = 0; i < order.size(); ++i) {
        if (order.at(i) >= static_cast<uint>(held.size()) || order.indexOf(order.at(i)) != i) {
            return Failure(QStringLiteral("%1 held answers; %2 is out of range or named twice")
                               .arg(held.size())
                               .arg(order.at(i)));
        }
    }
    for (const uint number : order) {
        const Held &released = held.at(static_cast<int>(number));
        m_service.send(released.call, released.answer);
    }
    QVector<Held> kept;
    for (int i = 0; i < held.size(); ++i) {
        if (!order.contains(static_cast<uint>(i))) {
            kept.append(held.at(i));
        }
    }
    held = kept;
    return {};
}

void Replies::drop()
{
    m_held.clear();
    m_delays = std::make_unique<QObject>();
}
