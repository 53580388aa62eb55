// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_SCENARIO_PLAYER_H
#define SIMULATOR_SCENARIO_PLAYER_H

#include "bus/presence.h"
#include "bus/service.h"
#include "faultdesk/replies.h"
#include "interfaces/control1.h"
#include "programs/children.h"
#include "scenario/scenario.h"

#include <QtCore/QObject>

#include <memory>

// Makes a scenario happen.
class ScenarioPlayer : public QObject
{
    Q_OBJECT

public:
    // What the actions need.
    struct Parts
    {
        Service &service;
        Replies &replies;
        Control1 &control;
        Children &children;
        Presence &presence;
    };

    ScenarioPlayer(const Scenario &scenario, const Parts &parts);
    ~ScenarioPlayer() override;

    // Begins with the first step, now and after each reset of the service.
    void begin();

    // Whether all steps have happened.
    bool isAtEnd() const { return m_step == m_scenario.steps.size(); }

    // Says which step has not happened. Returns true if there is none.
    bool reportRest() const;

Q_SIGNALS:
    // The last step has happened.
    void hasEnded();

private:
    // The call of a step that waits for one, while its actions happen.
    struct Call
    {
        const QDBusMessage &message;
        Interface &interface;
    };

    Service::Fault direct(const QDBusMessage &call, const Method &method);
    void onSignal(const QDBusMessage &signal);
    void onHeld();

    const Step *waitingStep(Moment::Kind kind) const;
    void enterStep();
    void happen(const Call *call);
    void proceed(const Call *call);

    // Returns false if the next action has to wait for the end of this one.
    bool act(const Action &action, const Call *call);
    void reply(const ReplyAction &reply, Call call);
    void emitSignal(const EmitAction &emission);
    bool release(const ReleaseAction &release);
    void killByOom(const KillByOomAction &kill);
    void restart(RestartAction restart);
    void comeBack();
    void fail(const QString &problem) const;

    Scenario m_scenario;
    Parts m_parts;
    int m_step = 0;
    // Of the step that is happening, the action whose turn it is; none if it waits for its moment.
    int m_action = -1;
    QString m_place;
    // Deleting it drops what waits for a time.
    std::unique_ptr<QObject> m_run = std::make_unique<QObject>();
};

#endif
