// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "scenario/recorded_scenario.h"

#include "faultdesk/signal_sender.h"
#include "scenario/recorded_call.h"
#include "trace_words.h"
#include "json/bus_values.h"

#include "DBus/names_p.h"

#include <QtCore/QHash>

#include <algorithm>
#include <numeric>

namespace
{

const QString nameKey = QStringLiteral("name");
const QString detailsKey = QStringLiteral("args");

// What the service did at a time.
struct Deed
{
    qint64 time = 0;
    // The call that this replies to; for other deeds, -1.
    int call = -1;
    Step step;
};

// A track, and the time in it.
struct Track
{
    qint64 begin = 0;
    std::chrono::milliseconds elapsed{0};
    QVector<Step> steps;

    void append(const Deed &deed)
    {
        Step step = deed.step;
        step.after =
            std::max(std::chrono::milliseconds(0), toMilliseconds(deed.time - begin) - elapsed);
        elapsed += step.after;
        if (const auto *const restart = std::get_if<RestartAction>(&step.actions.constFirst())) {
            elapsed += restart->pause;
        }
        steps.append(step);
    }
};

// The details of a signal, whose types a trace does not have.
QVariantMap detailsOf(const JsonNode &event)
{
    const bool hasDetails = event.has(detailsKey);
    if (!hasDetails || event.member(detailsKey).names() == QStringList(TraceWords::leftOut)) {
        return {};
    }
    return busMap(event.member(detailsKey));
}

// Whether no signal has announced a state.
bool isListed(const JsonNode &event)
{
    return event.has(detailsKey) && event.member(detailsKey).has(TraceWords::seen);
}

class Recording
{
public:
    explicit Recording(const Members &members)
        : m_members(members)
    {
    }

    void read(const JsonNode &event, const QString &place);
    bool isTrace() const { return m_begin.has_value(); }
    QVector<QVector<Step>> tracks() const;

private:
    void readCall(const JsonNode &event, const QString &place);
    void readServiceMoment(const JsonNode &event, const QString &place);
    void readInstanceMoment(const JsonNode &event, const QString &place);
    void addSignal(const JsonNode &event, const QString &place, const QString &member,
                   const QVariantList &values);
    void add(const JsonNode &event, const QString &place, const QString &name,
             const Action &action);
    bool wasAway(qint64 time) const;

    const Members &m_members;
    std::optional<qint64> m_begin;
    QHash<uint, QString> m_lanes;
    QVector<RecordedCall> m_calls;
    // In the order of the file, which tells apart what happened at the same time.
    QVector<Deed> m_deeds;
    // When the service was away, from and to. The last one may have no end.
    QVector<QPair<qint64, std::optional<qint64>>> m_absences;
    int m_leaving = -1;
};

void Recording::read(const JsonNode &event, const QString &place)
{
    if (!event.value().isObject()) {
        event.refuse(QStringLiteral("is no event of a trace"));
    }
    const QString phase = event.member(QStringLiteral("ph")).string();
    const bool isMoment = phase == QLatin1String("i");
    if (phase == QLatin1String("M")) {
        if (event.member(nameKey).string() == QLatin1String("thread_name")) {
            m_lanes.insert(event.member(QStringLiteral("tid")).number(),
                           event.member(detailsKey).member(nameKey).string());
        }
    } else if (isMoment || phase == QLatin1String("X")) {
        const auto group = event.member(QStringLiteral("pid")).number();
        if (group == TraceWords::Calls) {
            readCall(event, place);
        } else if (group == TraceWords::Service && isMoment) {
            readServiceMoment(event, place);
        } else if (group == TraceWords::Instances && isMoment) {
            readInstanceMoment(event, place);
        }
    }
    if (m_calls.size() + m_deeds.size() > mostSteps) {
        event.refuse(QStringLiteral("is too much: a scenario has %1 steps at most").arg(mostSteps));
    }
}

void Recording::readCall(const JsonNode &event, const QString &place)
{
    const QString outcome = event.member(detailsKey).member(TraceWords::reply).string();
    if (outcome == TraceWords::tooManyCalls) {
        return;
    }
    if (const auto call = readRecordedCall(event, place, m_members)) {
        if (call->reply) {
            m_deeds.append({call->replyTime, m_calls.size(), *call->reply});
        }
        m_calls.append(*call);
    }
}

void Recording::readServiceMoment(const JsonNode &event, const QString &place)
{
    const QString name = event.member(nameKey).string();
    const qint64 time = timeOf(event);
    if (name == TraceWords::traceBegins) {
        m_begin = time;
    } else if (name == TraceWords::selectedByOom) {
        addSignal(event, place, name,
                  {event.member(detailsKey).member(QStringLiteral("processId")).string()});
    } else if (name == TraceWords::serviceLeft) {
        m_leaving = m_deeds.size();
        m_absences.append({time, std::nullopt});
        add(event, place, QStringLiteral("the end of the service"), DieAction());
    } else if (name == TraceWords::serviceCame && m_leaving >= 0) {
        m_absences.last().second = time;
        m_deeds[m_leaving].step.actions = {
            RestartAction{toMilliseconds(time - m_absences.constLast().first)}};
        m_leaving = -1;
    }
}

void Recording::readInstanceMoment(const JsonNode &event, const QString &place)
{
    const QString name = event.member(nameKey).string();
    const QString instance = m_lanes.value(event.member(QStringLiteral("tid")).number());
    if (name == TraceWords::startedSignal || name == TraceWords::terminatedSignal) {
        addSignal(event, place, name, {instance, detailsOf(event)});
    } else if (name.startsWith(TraceWords::state) && !isListed(event)) {
        addSignal(event, place, QStringLiteral("StateChanged"),
                  {instance,
                   QVariantMap{
                       {QStringLiteral("State"), name.midRef(TraceWords::state.size()).toUInt()}}});
    }
}

void Recording::addSignal(const JsonNode &event, const QString &place, const QString &member,
                          const QVariantList &values)
{
    const Result<QDBusMessage> made =
        makeSignal(QStringLiteral(OSTREL_CONTROL_PATH), QStringLiteral(OSTREL_CONTROL_INTERFACE),
                   member, values);
    if (!made) {
        event.refuse(made.error());
    }
    add(event, place, member, EmitAction{*made});
}

void Recording::add(const JsonNode &event, const QString &place, const QString &name,
                    const Action &action)
{
    Step step;
    step.place = place;
    step.name = name;
    step.actions.append(action);
    m_deeds.append({timeOf(event), -1, step});
}

bool Recording::wasAway(qint64 time) const
{
    return std::any_of(m_absences.cbegin(), m_absences.cend(), [time](const auto &absence) {
        return absence.first <= time && (!absence.second || time < *absence.second);
    });
}

QVector<QVector<Step>> Recording::tracks() const
{
    // The first one has what happened before all calls.
    QVector<Track> tracks(1);
    tracks.first().begin = m_begin.value_or(0);
    QVector<int> order(m_calls.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [this](int one, int other) {
        return m_calls.at(one).time < m_calls.at(other).time;
    });
    QHash<int, int> trackOf;
    for (const int call : qAsConst(order)) {
        const RecordedCall &recorded = m_calls.at(call);
        if (!wasAway(recorded.time)) {
            trackOf.insert(call, tracks.size());
            tracks.append({recorded.time, std::chrono::milliseconds(0), {recorded.call}});
        }
    }
    for (const Deed &deed : m_deeds) {
        if (deed.call >= 0) {
            const auto track = trackOf.constFind(deed.call);
            if (track != trackOf.cend()) {
                tracks[*track].append(deed);
            }
            continue;
        }
        const auto next =
            std::upper_bound(tracks.begin() + 1, tracks.end(), deed.time,
                             [](qint64 time, const Track &track) { return time < track.begin; });
        std::prev(next)->append(deed);
    }
    QVector<QVector<Step>> steps;
    for (const Track &track : qAsConst(tracks)) {
        steps.append(track.steps);
    }
    return steps;
}

} // namespace

Scenario recordedScenario(const JsonFile &trace, const QString &name, const Members &members)
{
    Recording recording(members);
    const QVector<JsonNode> events = trace.root().elements();
    const QVector<int> lines = trace.text().linesOfElements({});
    for (int i = 0; i < events.size(); ++i) {
        recording.read(events.at(i), QStringLiteral("%1:%2").arg(name).arg(lines.value(i)));
    }
    if (!recording.isTrace()) {
        trace.root().refuse(QStringLiteral("is an array, and no trace of 'ostrelctl trace'"));
    }
    Scenario scenario;
    scenario.file = name;
    scenario.tracks = recording.tracks();
    return scenario;
}
