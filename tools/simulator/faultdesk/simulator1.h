// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_SIMULATOR1_H
#define SIMULATOR_SIMULATOR1_H

#include "bus/call_log.h"
#include "bus/interface.h"
#include "bus/service.h"
#include "faultdesk/replies.h"
#include "interfaces/control1.h"
#include "interfaces/window_management1.h"
#include "programs/children.h"

#include <QtCore/QHash>
#include <QtCore/QObject>
#include <QtCore/QVector>

#include <functional>

class ScenarioPlayer;

// ".Simulator1", the fault desk: arranges faults for later calls, and returns the calls that the
// service has received.
class Simulator1 : public QObject, public Interface
{
    Q_OBJECT

public:
    // What the desk uses besides the service.
    struct Parts
    {
        const WindowManagement1 &windowManagement;
        Control1 &control;
        Children &children;
        Replies &replies;
    };

    Simulator1(Service &service, const Parts &parts);

    void setScenario(const ScenarioPlayer &player);

    void handle(const QDBusMessage &call, const Answer &answer) override;
    bool isSimulated() const override { return false; }
    void reset() override;

private:
    // A call of the desk whose reply waits until a count is reached.
    struct Waiter
    {
        QDBusMessage call;
        std::function<uint()> counted;
        uint wanted = 0;
    };

    // Returns the reply, or an invalid message if it is sent later.
    using Handler = QDBusMessage (Simulator1::*)(const QDBusMessage &call);
    static const QHash<QString, Handler> &handlers();

    QDBusMessage failNext(const QDBusMessage &call);
    QDBusMessage failNextWith(const QDBusMessage &call);
    QDBusMessage delayNext(const QDBusMessage &call);
    QDBusMessage answerNext(const QDBusMessage &call);
    QDBusMessage ignoreNext(const QDBusMessage &call);
    QDBusMessage holdNext(const QDBusMessage &call);
    QDBusMessage release(const QDBusMessage &call);
    QDBusMessage dieInNext(const QDBusMessage &call);
    QDBusMessage waitForCalls(const QDBusMessage &call);
    QDBusMessage waitForHeld(const QDBusMessage &call);
    QDBusMessage calls(const QDBusMessage &call);
    QDBusMessage clearCalls(const QDBusMessage &call);
    QDBusMessage windows(const QDBusMessage &call);
    QDBusMessage listNext(const QDBusMessage &call);
    QDBusMessage emitOne(const QDBusMessage &call);
    QDBusMessage emitMany(const QDBusMessage &call);
    QDBusMessage killByOom(const QDBusMessage &call);
    QDBusMessage waitForScenario(const QDBusMessage &call);
    QDBusMessage rootFs(const QDBusMessage &call);
    QDBusMessage resetAll(const QDBusMessage &call);

    QDBusMessage arrange(const QDBusMessage &call, const Service::Fault &fault, uint calls = 1);
    QDBusMessage answerNext(const QDBusMessage &call, const Method &method,
                            const QVariantList &values);
    QDBusMessage wait(const Waiter &waiter);
    void answerWaiters();

    Service &m_service;
    Parts m_parts;
    QVector<Waiter> m_waiters;
    const ScenarioPlayer *m_scenario = nullptr;
};

#endif
