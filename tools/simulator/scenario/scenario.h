// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_SCENARIO_H
#define SIMULATOR_SCENARIO_H

#include "bus/call_log.h"
#include "faultdesk/replies.h"

#include <QtCore/QJsonArray>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QVector>
#include <QtDBus/QDBusMessage>

#include <chrono>
#include <optional>
#include <variant>

// A call that arrives, or a signal that the service sends.
struct Moment
{
    enum Kind {
        Call,
        Signal
    };

    Kind kind = Call;
    Method member;
    // Any, if it is empty.
    QString path;
    // What the first arguments have to be.
    QJsonArray arguments;
};

// Whether a call or a signal is what the moment waits for. method: with the interface that the
// call goes to, which it need not name.
bool isAt(const Moment &moment, const QDBusMessage &message, const Method &method);

// Replies to the call of the moment.
struct ReplyAction
{
    enum When {
        Now,
        Delayed,
        Renewed,
        Held,
        Never
    };

    Replies::Maker maker;
    When when = Now;
    std::chrono::milliseconds delay{0};
    // Held under this name; null for that of the method.
    Method heldAs{};
};

struct EmitAction
{
    QDBusMessage signal;
};

// Waits until so many replies are held, and sends them. Or sends them only if they are held.
struct ReleaseAction
{
    Method method;
    QList<uint> order;
    bool waits = true;
};

struct KillByOomAction
{
    QString instance;
};

struct DieAction
{
};

// Leaves the bus, forgets everything, and comes back.
struct RestartAction
{
    std::chrono::milliseconds pause{0};
};

using Action =
    std::variant<ReplyAction, EmitAction, ReleaseAction, KillByOomAction, DieAction, RestartAction>;

struct Step
{
    // "FILE:LINE", and what it is there.
    QString place;
    QString name;
    // At this moment, or after this time.
    std::optional<Moment> at;
    std::chrono::milliseconds after{0};
    QVector<Action> actions;
};

// More would not fit into memory.
constexpr int mostSteps = 100'000;

// What happens when.
struct Scenario
{
    QString file;
    // The steps of a track happen one after the other, each one once. A track waits for no other.
    QVector<QVector<Step>> tracks;
    // Each time, except at a call that a step waits for.
    QVector<Step> always;
};

#endif
