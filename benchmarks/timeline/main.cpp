// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// What a frame of the timeline costs, an event, a filter and a file, and how that grows with the
// number of events. It needs no display. A frame has 16 milliseconds.

#include "event_log_view.h"
#include "history_replay.h"
#include "timeline_view.h"
#include "trace_words.h"

#include <benchmark/benchmark.h>

#include <QtCore/QTemporaryDir>
#include <QtGui/QImage>
#include <QtWidgets/QApplication>

#include <memory>

namespace
{

constexpr int width = 1920;
constexpr int height = 1080;

TraceEvent moment(const QString &name, qint64 time, int lane)
{
    return {TraceEvent::Instant, name, time, 0, TraceWords::Instances, lane, {}};
}

// Events in turn to each of the lanes, a millisecond apart; and a service.
void fill(History &history, int lanes, int events)
{
    history.append(
        {TraceEvent::Instant, TraceWords::serviceCame, 0, 0, TraceWords::Service, 0, {}});
    for (int i = 0; i < events; ++i) {
        const int lane = i % lanes + 1;
        if (i < lanes) {
            history.append({TraceEvent::Metadata,
                            QStringLiteral("thread_name"),
                            0,
                            0,
                            TraceWords::Instances,
                            lane,
                            {{QStringLiteral("name"), QStringLiteral("instance %1").arg(lane)}}});
        }
        const int turn = i / lanes;
        history.append(moment(turn == 0 ? QString(TraceWords::startedSignal)
                                        : TraceWords::state + QString::number(turn % 7),
                              i * 1000LL, lane));
    }
    history.flush();
}

enum Range {
    Whole,
    ZoomedIn,
};

// A frame, whatever has changed. The arguments: how many lanes and events.
void frame(benchmark::State &state, Range range)
{
    History history;
    fill(history, int(state.range(0)), int(state.range(1)));
    TimelineView view;
    view.setHistory(&history);
    view.resize(width, height);
    view.show();
    QCoreApplication::processEvents();
    view.zoomToFit();
    if (range == ZoomedIn) {
        view.zoom(100);
    }
    QImage image(view.viewport()->size(), QImage::Format_ARGB32_Premultiplied);
    for ([[maybe_unused]] auto each : state) {
        view.viewport()->render(&image);
    }
}

// What comes with a new event while the timeline and the log show what is there, but for the frame.
void append(benchmark::State &state)
{
    const int lanes = int(state.range(0));
    History history;
    fill(history, lanes, int(state.range(1)));
    TimelineView view;
    view.setHistory(&history);
    EventLogView log;
    log.setHistory(&history);
    qint64 time = history.lastTime();
    int lane = 0;
    for ([[maybe_unused]] auto each : state) {
        history.append(moment(QStringLiteral("state 1"), ++time, lane++ % lanes + 1));
        history.flush();
    }
}

// Many events at once, as from a file, for each event.
void load(benchmark::State &state)
{
    const int events = int(state.range(1));
    for ([[maybe_unused]] auto each : state) {
        History history;
        fill(history, int(state.range(0)), events);
        benchmark::DoNotOptimize(history.rowCount());
    }
    state.SetItemsProcessed(state.iterations() * events);
}

// What the log needs to find the events that contain a string, which it does in parts. Only the
// last one does, in its details.
void filter(benchmark::State &state)
{
    History history;
    fill(history, int(state.range(0)), int(state.range(1)));
    TraceEvent last = moment(QStringLiteral("state 1"), history.lastTime(), 1);
    last.arguments = {{QStringLiteral("key"), QStringLiteral("needle")}};
    history.append(last);
    history.flush();
    EventLogModel log;
    log.setHistory(&history);
    for ([[maybe_unused]] auto each : state) {
        log.setFilter(QStringLiteral("Needle"));
        log.complete();
        if (log.rowCount() != 1) {
            state.SkipWithError("the filter does not find the event");
        }
        log.setFilter(QString());
    }
}

void save(benchmark::State &state)
{
    History history;
    fill(history, int(state.range(0)), int(state.range(1)));
    const QTemporaryDir folder;
    for ([[maybe_unused]] auto each : state) {
        if (!saveHistory(history, folder.filePath(QStringLiteral("trace.json")))) {
            state.SkipWithError("the file cannot be written");
        }
    }
}

void saveLog(benchmark::State &state)
{
    History history;
    fill(history, int(state.range(0)), int(state.range(1)));
    EventLogView log;
    log.setHistory(&history);
    const QTemporaryDir folder;
    for ([[maybe_unused]] auto each : state) {
        if (!log.save(folder.filePath(QStringLiteral("log.txt")))) {
            state.SkipWithError("the file cannot be written");
        }
    }
}

void sizes(benchmark::internal::Benchmark *benchmark)
{
    benchmark->Args({1'000, 10'000})
        ->Args({10'000, 100'000})
        // All in sight, or all in one lane.
        ->Args({40, 10'000})
        ->Args({40, 100'000})
        ->Args({1, 100'000})
        ->Args({40, 900'000})
        ->Unit(benchmark::kMillisecond);
}

void fewSizes(benchmark::internal::Benchmark *benchmark)
{
    benchmark->Args({1'000, 10'000})->Args({10'000, 100'000})->Unit(benchmark::kMicrosecond);
}

void largeSizes(benchmark::internal::Benchmark *benchmark)
{
    benchmark->Args({10'000, 100'000})->Args({40, 900'000})->Unit(benchmark::kMillisecond);
}

BENCHMARK_CAPTURE(frame, whole, Whole)->Apply(sizes);
BENCHMARK_CAPTURE(frame, zoomed, ZoomedIn)->Apply(sizes);
BENCHMARK(append)->Apply(fewSizes);
BENCHMARK(load)->Apply(fewSizes);
BENCHMARK(filter)->Apply(largeSizes);
BENCHMARK(save)->Apply(largeSizes);
BENCHMARK(saveLog)->Apply(largeSizes);

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
