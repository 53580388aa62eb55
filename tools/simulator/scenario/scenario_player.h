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

    // Begins with the first steps, now and after each reset of the service.
    void begin();

    // Whether all steps have happened.
    bool isAtEnd() const { return m_open == 0; }

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

    // How far a track is.
    struct Track
    {
        int step = 0;
        // Of the step that is happening, the action whose turn it is; none if it waits for its
        // moment.
        int action = -1;
    };

    struct Restart
    {
        int track = 0;
        std::chrono::milliseconds pause{0};
    };

    void rewind();
    const Step *currentStep(int track) const;
    const Step *waitingStep(int track, Moment::Kind kind) const;
    void enterStep(int track);
    void onTime(int track);
    void happen(int track, const Call *call);
    void proceed(int track, const Call *call);
    void reportEnd();

    // Returns false if the next action has to wait for the end of this one. track: of the action;
    // those of rules need none.
    bool act(const Action &action, const Call *call, int track = -1);
    void reply(const ReplyAction &reply, Call call);
    void emitSignal(const EmitAction &emission);
    bool release(const ReleaseAction &release);
    void killByOom(const KillByOomAction &kill);
    void restart(Restart restart);
    void leave();
    void comeBack();
    void fail(const QString &problem) const;

    Scenario m_scenario;
    Parts m_parts;
    QVector<Track> m_tracks;
    // How many tracks have steps left.
    int m_open = 0;
    QString m_place;
    // The first one is happening.
    QVector<Restart> m_restarts;
    // Tracks whose time came while the service was away.
    bool m_isAway = false;
    QVector<int> m_postponed;
    // Deleting it drops what waits for a time.
    std::unique_ptr<QObject> m_run = std::make_unique<QObject>();
};

#endif
