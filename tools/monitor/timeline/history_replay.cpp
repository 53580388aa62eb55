// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "history_replay.h"

#include "history.h"
#include "trace_words.h"
#include "trace_writer.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QSaveFile>

#include <map>

namespace
{

class Replay
{
public:
    Replay(const History &history, const std::function<void(const TraceEvent &)> &receive)
        : m_history(history)
        , m_receive(receive)
    {
    }

    void all()
    {
        for (int i = 0; i < m_history.laneCount(); ++i) {
            lane(m_history.lane(i));
        }
        for (int row = 0; row < m_history.rowCount(); ++row) {
            event(m_history.event(m_history.eventAt(row)));
        }
        counts();
    }

private:
    void metadata(const HistoryLane &lane, const QString &name, const QJsonObject &arguments)
    {
        m_receive({TraceEvent::Metadata, name, m_history.firstTime(), 0, lane.group, lane.number,
                   arguments});
    }

    void lane(const HistoryLane &lane)
    {
        if (lane.group != m_group) {
            m_group = lane.group;
            metadata(lane, QStringLiteral("process_name"),
                     {{QStringLiteral("name"), TraceWords::nameOf(lane.group)}});
            metadata(lane, QStringLiteral("process_sort_index"),
                     {{QStringLiteral("sort_index"), lane.group}});
        }
        metadata(lane, QStringLiteral("thread_name"), {{QStringLiteral("name"), lane.name}});
        metadata(lane, QStringLiteral("thread_sort_index"),
                 {{QStringLiteral("sort_index"), lane.number}});
    }

    void event(const HistoryEvent &event)
    {
        const HistoryLane &lane = m_history.lane(event.lane);
        QJsonObject arguments = QJsonDocument::fromJson(event.arguments).object();
        TraceEvent made;
        made.time = event.time;
        made.group = lane.group;
        made.lane = lane.number;
        // A call is only a stretch; another stretch begins with a moment.
        const bool isMoment = !event.isStretch() || event.kind == HistoryEvent::Started
            || event.kind == HistoryEvent::State || event.kind == HistoryEvent::ServiceCame;
        QJsonObject ending;
        if (isMoment && arguments.contains(TraceWords::end)) {
            ending.insert(TraceWords::end, arguments.take(TraceWords::end));
        }
        if (isMoment) {
            made.name = m_history.string(event.name);
            made.arguments = arguments;
            m_receive(made);
        }
        if (!event.isStretch()) {
            return;
        }
        made.phase = TraceEvent::Complete;
        made.name = m_history.string(event.stretchName);
        made.duration = m_history.endOf(event) - event.time;
        made.arguments = isMoment ? ending : arguments;
        if (event.isOpen()) {
            made.arguments.insert(
                event.kind == HistoryEvent::Call ? TraceWords::reply : TraceWords::end,
                event.kind == HistoryEvent::Call ? TraceWords::noReply : TraceWords::traceEnded);
        }
        m_receive(made);
    }

    // How many instances run, from each moment when that changes.
    void counts()
    {
        if (m_history.serviceLane() < 0) {
            return;
        }
        std::map<qint64, int> changes;
        for (int i = 0; i < m_history.laneCount(); ++i) {
            if (m_history.lane(i).group == TraceWords::Instances) {
                addRuns(m_history.lane(i), changes);
            }
        }
        int running = 0;
        for (const auto &[time, change] : changes) {
            running += change;
            if (change != 0) {
                m_receive({TraceEvent::Counter,
                           TraceWords::runningInstances,
                           time,
                           0,
                           TraceWords::Service,
                           m_history.lane(m_history.serviceLane()).number,
                           {{TraceWords::instances, running}}});
            }
        }
    }

    // A state begins where the one before it ends, as long as the instance runs. What goes on does
    // not end.
    void addRuns(const HistoryLane &lane, std::map<qint64, int> &changes) const
    {
        for (const EventId id : lane.stretches) {
            const HistoryEvent &event = m_history.event(id);
            ++changes[event.time];
            if (!event.isOpen()) {
                --changes[m_history.endOf(event)];
            }
        }
    }

    const History &m_history;
    const std::function<void(const TraceEvent &)> &m_receive;
    int m_group = 0;
};

} // namespace

void replay(const History &history, const std::function<void(const TraceEvent &)> &receive)
{
    Replay(history, receive).all();
}

Result<> saveHistory(const History &history, const QString &file)
{
    QSaveFile output(file);
    if (!output.open(QIODevice::WriteOnly)) {
        return Failure(QStringLiteral("cannot create %1: %2").arg(file, output.errorString()));
    }
    TraceWriter writer;
    Result<> first = writer.use(output.handle(), file);
    const auto note = [&first](const Result<> &written) {
        if (first && !written) {
            first = written;
        }
    };
    replay(history, [&](const TraceEvent &event) { note(writer.write(event)); });
    note(writer.close());
    if (first && !output.commit()) {
        return Failure(QStringLiteral("cannot write %1: %2").arg(file, output.errorString()));
    }
    return first;
}
