// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "scenario/scenario_player.h"

#include "print.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QPointer>
#include <QtCore/QTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

ScenarioPlayer::ScenarioPlayer(const Scenario &scenario, const Parts &parts)
    : m_scenario(scenario)
    , m_parts(parts)
{
    parts.service.setDirector(
        [this](const QDBusMessage &call, const Method &method) { return direct(call, method); });
    connect(&parts.service, &Service::signalSent, this, &ScenarioPlayer::onSignal);
    connect(&parts.service, &Service::wasReset, this, &ScenarioPlayer::begin);
    connect(&parts.replies, &Replies::isHeld, this, &ScenarioPlayer::onHeld);
    connect(&parts.children, &Children::aboutToDie, this, [this] { reportRest(); });
    rewind();
}

ScenarioPlayer::~ScenarioPlayer()
{
    m_parts.service.setDirector(nullptr);
}

void ScenarioPlayer::begin()
{
    rewind();
    if (isAtEnd()) {
        reportEnd();
    }
    for (int i = 0; i < m_tracks.size(); ++i) {
        if (currentStep(i) != nullptr) {
            enterStep(i);
        }
    }
}

void ScenarioPlayer::rewind()
{
    m_run = std::make_unique<QObject>();
    m_tracks = QVector<Track>(m_scenario.tracks.size());
    m_open = static_cast<int>(
        std::count_if(m_scenario.tracks.cbegin(), m_scenario.tracks.cend(),
                      [](const QVector<Step> &steps) { return !steps.isEmpty(); }));
    m_restarts.clear();
    m_postponed.clear();
}

bool ScenarioPlayer::reportRest() const
{
    for (int i = 0; i < m_tracks.size(); ++i) {
        if (const Step *const step = currentStep(i)) {
            print(stderr, QStringLiteral("%1: %2 has not happened").arg(step->place, step->name));
            return false;
        }
    }
    return true;
}

Service::Fault ScenarioPlayer::direct(const QDBusMessage &call, const Method &method)
{
    for (int i = 0; i < m_tracks.size(); ++i) {
        const Step *const step = waitingStep(i, Moment::Call);
        if (step != nullptr && isAt(*step->at, call, method)) {
            return [this, i](const QDBusMessage &message, Interface &interface) {
                const Call current{message, interface};
                happen(i, &current);
            };
        }
    }
    const auto rule = std::find_if(
        m_scenario.always.cbegin(), m_scenario.always.cend(), [&call, &method](const Step &each) {
            return each.at->kind == Moment::Call && isAt(*each.at, call, method);
        });
    if (rule == m_scenario.always.cend()) {
        return nullptr;
    }
    return [this, rule](const QDBusMessage &message, Interface &interface) {
        const Call current{message, interface};
        m_place = rule->place;
        for (const Action &action : rule->actions) {
            act(action, &current);
        }
    };
}

void ScenarioPlayer::onSignal(const QDBusMessage &signal)
{
    const Method member{signal.interface(), signal.member()};
    for (const Step &rule : qAsConst(m_scenario.always)) {
        if (rule.at->kind == Moment::Signal && isAt(*rule.at, signal, member)) {
            m_place = rule.place;
            for (const Action &action : rule.actions) {
                act(action, nullptr);
            }
        }
    }
    for (int i = 0; i < m_tracks.size(); ++i) {
        const Step *const step = waitingStep(i, Moment::Signal);
        if (step != nullptr && isAt(*step->at, signal, member)) {
            happen(i, nullptr);
        }
    }
}

void ScenarioPlayer::onHeld()
{
    // Perhaps this is the reply that a step waits for.
    for (int i = 0; i < m_tracks.size(); ++i) {
        const int action = m_tracks.at(i).action;
        if (action >= 0
            && std::holds_alternative<ReleaseAction>(currentStep(i)->actions.at(action))) {
            proceed(i, nullptr);
        }
    }
}

// Null at the end of the track.
const Step *ScenarioPlayer::currentStep(int track) const
{
    const QVector<Step> &steps = m_scenario.tracks.at(track);
    const int step = m_tracks.at(track).step;
    return step < steps.size() ? &steps.at(step) : nullptr;
}

// The step whose moment has not come yet, if it is one of this kind.
const Step *ScenarioPlayer::waitingStep(int track, Moment::Kind kind) const
{
    const Step *const step = currentStep(track);
    const bool waits = step != nullptr && m_tracks.at(track).action < 0 && step->at;
    return waits && step->at->kind == kind ? step : nullptr;
}

void ScenarioPlayer::enterStep(int track)
{
    m_tracks[track].action = -1;
    const Step *const step = currentStep(track);
    if (step == nullptr) {
        --m_open;
        if (isAtEnd()) {
            reportEnd();
        }
    } else if (!step->at) {
        QTimer::singleShot(step->after, Qt::PreciseTimer, m_run.get(),
                           [this, track] { onTime(track); });
    }
}

void ScenarioPlayer::onTime(int track)
{
    if (m_isAway) {
        m_postponed.append(track);
    } else {
        happen(track, nullptr);
    }
}

void ScenarioPlayer::happen(int track, const Call *call)
{
    m_tracks[track].action = 0;
    proceed(track, call);
}

void ScenarioPlayer::proceed(int track, const Call *call)
{
    const Step &step = *currentStep(track);
    Track &current = m_tracks[track];
    m_place = step.place;
    while (current.action < step.actions.size()) {
        if (!act(step.actions.at(current.action), call, track)) {
            return;
        }
        ++current.action;
    }
    ++current.step;
    enterStep(track);
}

void ScenarioPlayer::reportEnd()
{
    print(stdout, QStringLiteral("%1: all steps have happened").arg(m_scenario.file));
    Q_EMIT hasEnded();
}

bool ScenarioPlayer::act(const Action &action, const Call *call, int track)
{
    if (const auto *const replied = std::get_if<ReplyAction>(&action)) {
        reply(*replied, *call);
    } else if (const auto *const emission = std::get_if<EmitAction>(&action)) {
        emitSignal(*emission);
    } else if (const auto *const released = std::get_if<ReleaseAction>(&action)) {
        return release(*released);
    } else if (const auto *const kill = std::get_if<KillByOomAction>(&action)) {
        killByOom(*kill);
    } else if (const auto *const restarted = std::get_if<RestartAction>(&action)) {
        restart({track, restarted->pause});
        return false;
    } else {
        if (track >= 0) {
            ++m_tracks[track].step; // It happens now.
        }
        m_parts.children.die();
    }
    return true;
}

void ScenarioPlayer::reply(const ReplyAction &reply, Call call)
{
    switch (reply.when) {
    case ReplyAction::Now:
        m_parts.replies.now(reply.maker)(call.message, call.interface);
        break;
    case ReplyAction::Delayed:
        m_parts.replies.delayed(reply.maker, reply.delay)(call.message, call.interface);
        break;
    case ReplyAction::Renewed:
        m_parts.replies.renewed(reply.maker, reply.delay)(call.message, call.interface);
        break;
    case ReplyAction::Held:
        m_parts.replies.held(reply.maker, reply.heldAs)(call.message, call.interface);
        break;
    case ReplyAction::Never:
        break;
    }
}

void ScenarioPlayer::emitSignal(const EmitAction &emission)
{
    if (!m_parts.service.sendSignal(emission.signal)) {
        fail(QStringLiteral("The signal cannot be sent"));
    }
}

bool ScenarioPlayer::release(const ReleaseAction &release)
{
    const uint wanted = release.order.isEmpty()
        ? 0
        : *std::max_element(release.order.cbegin(), release.order.cend()) + 1;
    if (m_parts.replies.heldCount(release.method) < wanted) {
        return !release.waits;
    }
    // It can only fail for an index that is not there.
    static_cast<void>(m_parts.replies.release(release.method, release.order));
    return true;
}

void ScenarioPlayer::killByOom(const KillByOomAction &kill)
{
    if (m_parts.control.isRunning(kill.instance)) {
        m_parts.control.killByOom(kill.instance);
    } else {
        fail(QStringLiteral("No instance \"%1\" is running").arg(kill.instance));
    }
}

void ScenarioPlayer::restart(Restart restart)
{
    m_restarts.append(restart);
    if (m_restarts.size() == 1) {
        leave();
    }
}

void ScenarioPlayer::leave()
{
    // Not now, while QtDBus delivers a message of the connection.
    QTimer::singleShot(0, m_run.get(), [this] {
        m_isAway = true;
        m_parts.presence.leave();
        m_parts.service.dropState();
        m_parts.children.killAll([player = QPointer<ScenarioPlayer>(this)] {
            if (player != nullptr) {
                QTimer::singleShot(player->m_restarts.constFirst().pause, Qt::PreciseTimer,
                                   player->m_run.get(), [player] { player->comeBack(); });
            }
        });
    });
}

void ScenarioPlayer::comeBack()
{
    if (!m_parts.presence.enter()) {
        QCoreApplication::exit(EXIT_FAILURE);
        return;
    }
    m_isAway = false;
    const int track = m_restarts.constFirst().track;
    ++m_tracks[track].action;
    proceed(track, nullptr);
    const QVector<int> postponed = std::exchange(m_postponed, {});
    for (const int each : postponed) {
        happen(each, nullptr);
    }
    m_restarts.removeFirst();
    if (!m_restarts.isEmpty()) {
        leave();
    }
}

// The scenario cannot go on as it is written.
void ScenarioPlayer::fail(const QString &problem) const
{
    print(stderr, QStringLiteral("%1: %2").arg(m_place, problem));
    QCoreApplication::exit(EXIT_FAILURE);
}
