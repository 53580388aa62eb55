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

ScenarioPlayer::ScenarioPlayer(const Scenario &scenario, const Parts &parts)
    : m_scenario(scenario)
    , m_parts(parts)
{
    parts.service.setDirector(
        [this](const QDBusMessage &call, const Method &method) { return direct(call, method); });
    // Queued: a signal at a signal must not nest, and comes after all that led to the first one.
    qRegisterMetaType<QDBusMessage>();
    connect(&parts.service, &Service::signalSent, this, &ScenarioPlayer::onSignal,
            Qt::QueuedConnection);
    connect(&parts.service, &Service::wasReset, this, &ScenarioPlayer::begin);
    connect(&parts.replies, &Replies::isHeld, this, &ScenarioPlayer::onHeld);
}

ScenarioPlayer::~ScenarioPlayer()
{
    m_parts.service.setDirector(nullptr);
}

void ScenarioPlayer::begin()
{
    m_run = std::make_unique<QObject>();
    m_step = 0;
    enterStep();
}

bool ScenarioPlayer::reportRest() const
{
    if (!isAtEnd()) {
        print(stderr,
              QStringLiteral("%1: steps[%2] has not happened")
                  .arg(m_scenario.steps.at(m_step).place)
                  .arg(m_step));
    }
    return isAtEnd();
}

Service::Fault ScenarioPlayer::direct(const QDBusMessage &call, const Method &method)
{
    const Step *const step = waitingStep(Moment::Call);
    if (step != nullptr && isAt(*step->at, call, method)) {
        return [this](const QDBusMessage &message, Interface &interface) {
            const Call current{message, interface};
            happen(&current);
        };
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
    const Step *const step = waitingStep(Moment::Signal);
    if (step != nullptr && isAt(*step->at, signal, member)) {
        happen(nullptr);
    }
}

void ScenarioPlayer::onHeld()
{
    // Perhaps this is the reply that a step waits for.
    if (m_action >= 0
        && std::holds_alternative<ReleaseAction>(
            m_scenario.steps.at(m_step).actions.at(m_action))) {
        proceed(nullptr);
    }
}

// The step whose moment has not come yet, if it is one of this kind.
const Step *ScenarioPlayer::waitingStep(Moment::Kind kind) const
{
    if (isAtEnd() || m_action >= 0) {
        return nullptr;
    }
    const Step &step = m_scenario.steps.at(m_step);
    return step.at && step.at->kind == kind ? &step : nullptr;
}

void ScenarioPlayer::enterStep()
{
    m_action = -1;
    if (isAtEnd()) {
        print(stdout, QStringLiteral("%1: all steps have happened").arg(m_scenario.file));
        Q_EMIT hasEnded();
        return;
    }
    const Step &step = m_scenario.steps.at(m_step);
    if (!step.at) {
        QTimer::singleShot(step.after, Qt::PreciseTimer, m_run.get(), [this] { happen(nullptr); });
    }
}

void ScenarioPlayer::happen(const Call *call)
{
    m_action = 0;
    proceed(call);
}

void ScenarioPlayer::proceed(const Call *call)
{
    const QVector<Action> &actions = m_scenario.steps.at(m_step).actions;
    m_place = m_scenario.steps.at(m_step).place;
    while (m_action < actions.size()) {
        if (!act(actions.at(m_action), call)) {
            return;
        }
        ++m_action;
    }
    ++m_step;
    enterStep();
}

bool ScenarioPlayer::act(const Action &action, const Call *call)
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
        restart(*restarted);
        return false;
    } else {
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
    case ReplyAction::Held:
        m_parts.replies.held(reply.maker)(call.message, call.interface);
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
        return false;
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

void ScenarioPlayer::restart(RestartAction restart)
{
    // Not now, while QtDBus delivers a message of the connection.
    QTimer::singleShot(0, m_run.get(), [this, pause = restart.pause] {
        m_parts.presence.leave();
        m_parts.service.dropState();
        m_parts.children.killAll([player = QPointer<ScenarioPlayer>(this), pause] {
            if (player != nullptr) {
                QTimer::singleShot(pause, Qt::PreciseTimer, player->m_run.get(),
                                   [player] { player->comeBack(); });
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
    ++m_action;
    proceed(nullptr);
}

// The scenario cannot go on as it is written.
void ScenarioPlayer::fail(const QString &problem) const
{
    print(stderr, QStringLiteral("%1: %2").arg(m_place, problem));
    QCoreApplication::exit(EXIT_FAILURE);
}
