// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "start_timings.h"

#include "command.h"
#include "json.h"
#include "report.h"
#include "session_bus.h"
#include "table.h"

#include <Ostrel/Control>

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QHash>
#include <QtCore/QJsonArray>
#include <QtCore/QTimer>
#include <QtCore/QVector>

#include <algorithm>
#include <array>
#include <functional>

namespace
{

using Ostrel::Control;
using Ostrel::Error;

// Microseconds since the call; -1 for what has not come.
struct Times
{
    qint64 reply = -1;
    qint64 started = -1;
    qint64 state = -1;
    qint64 terminated = -1;
};

struct Column
{
    QString name;
    qint64 Times::*time;
};

std::array<Column, 3> columns()
{
    return {Column{QStringLiteral("reply"), &Times::reply},
            Column{QStringLiteral("started"), &Times::started},
            Column{QStringLiteral("state"), &Times::state}};
}

struct Run
{
    Control::StartResult result;
    Times times;
};

QJsonObject toJson(const Run &run)
{
    QJsonObject timings;
    for (const Column &column : columns()) {
        const qint64 time = run.times.*column.time;
        timings.insert(column.name, time < 0 ? QJsonValue() : time);
    }
    return {{QStringLiteral("appInstanceId"), run.result.appInstanceId},
            {QStringLiteral("details"), toJson(run.result.details)},
            {QStringLiteral("timings"), timings}};
}

struct Summary
{
    qint64 minimum;
    qint64 median;
    qint64 maximum;
};

// Of a vector that is not empty.
Summary summaryOf(QVector<qint64> times)
{
    std::sort(times.begin(), times.end());
    const int middle = times.size() / 2;
    const qint64 median =
        times.size() % 2 == 1 ? times.at(middle) : (times.at(middle - 1) + times.at(middle)) / 2;
    return {times.constFirst(), median, times.constLast()};
}

Summary summaryOf(const QVector<Run> &runs, const Column &column)
{
    QVector<qint64> times;
    for (const Run &run : runs) {
        times.append(run.times.*column.time);
    }
    return summaryOf(times);
}

void printRun(const Run &run)
{
    printLine(run.result.appInstanceId);
    QVector<QStringList> rows;
    for (const Column &column : columns()) {
        const qint64 time = run.times.*column.time;
        rows.append({column.name, time < 0 ? QStringLiteral("-") : QString::number(time)});
    }
    printTable({QStringLiteral("EVENT"), QStringLiteral("MICROSECONDS")}, rows, 0);
}

void printSummary(const QVector<Run> &runs)
{
    QVector<QStringList> rows;
    for (const Column &column : columns()) {
        const Summary summary = summaryOf(runs, column);
        rows.append({column.name, QString::number(summary.minimum), QString::number(summary.median),
                     QString::number(summary.maximum)});
    }
    printTable({QStringLiteral("EVENT"), QStringLiteral("MINIMUM"), QStringLiteral("MEDIAN"),
                QStringLiteral("MAXIMUM")},
               rows, 0);
}

class StartTimings : public QObject
{
    Q_OBJECT

public:
    explicit StartTimings(const StartMeasurement &measurement);

    void start();

private:
    void onReply(const Control::StartResult &result);
    void onSignal(const QString &appInstanceId, qint64 Times::*time);
    void onServiceAvailableChanged(bool available);
    void failIfServiceIsLost();
    void onDeadline();
    void goOn();
    void end();
    void fail(const QString &reason);
    void finish(const Error &error);

    qint64 elapsed() const { return m_clock.nsecsElapsed() / 1'000; }

    // The signals may come before the reply, which says which instance was started.
    Times &times() { return m_times[m_run.result.appInstanceId]; }
    QString missing();

    StartMeasurement m_measurement;
    Control m_control;
    QTimer m_deadline;
    QElapsedTimer m_clock;
    bool m_isServiceLost = false;
    bool m_isReplied = false;
    bool m_isEnding = false;
    bool m_isEndReplied = false;
    bool m_isFinished = false;
    Run m_run;
    QHash<QString, Times> m_times;
    QVector<Run> m_runs;
};

StartTimings::StartTimings(const StartMeasurement &measurement)
    : m_measurement(measurement)
{
    constexpr int usualTimeout = 25'000;
    m_control.setTimeout(measurement.timeout);
    m_deadline.setSingleShot(true);
    m_deadline.setInterval(measurement.timeout < 0 ? usualTimeout : measurement.timeout);
    connect(&m_deadline, &QTimer::timeout, this, &StartTimings::onDeadline);

    connect(&m_control, &Control::started, this,
            [this](const QString &appInstanceId) { onSignal(appInstanceId, &Times::started); });
    connect(&m_control, &Control::stateChanged, this,
            [this](const QString &appInstanceId) { onSignal(appInstanceId, &Times::state); });
    connect(&m_control, &Control::terminated, this,
            [this](const QString &appInstanceId) { onSignal(appInstanceId, &Times::terminated); });
    connect(&m_control, &Control::serviceAvailableChanged, this,
            &StartTimings::onServiceAvailableChanged);
    // Without this, the end of the bus is not noticed.
    m_control.isServiceAvailable();
}

void StartTimings::start()
{
    m_isReplied = false;
    m_isEnding = false;
    m_isEndReplied = false;
    m_run = {};
    m_times.clear();
    m_clock.start();
    m_control.start(m_measurement.app, this,
                    [this](const Control::StartResult &result) { onReply(result); });
}

void StartTimings::onReply(const Control::StartResult &result)
{
    const qint64 time = elapsed();
    if (result.error) {
        finish(result.error);
        return;
    }
    m_isReplied = true;
    m_run.result = result;
    times().reply = time;
    m_deadline.start();
    goOn();
    failIfServiceIsLost();
}

void StartTimings::onSignal(const QString &appInstanceId, qint64 Times::*time)
{
    constexpr int mostInstances = 10'000;
    const qint64 now = elapsed();
    const bool isOther =
        m_isReplied ? appInstanceId != m_run.result.appInstanceId : m_times.size() >= mostInstances;
    if (m_isFinished || isOther) {
        return;
    }
    qint64 &first = m_times[appInstanceId].*time;
    if (first < 0) {
        first = now;
    }
    if (m_isReplied) {
        goOn();
    }
}

void StartTimings::onServiceAvailableChanged(bool available)
{
    // A reply that was sent before may come after this. Without one, the call fails by itself.
    m_isServiceLost = m_isServiceLost || !available;
    failIfServiceIsLost();
}

void StartTimings::failIfServiceIsLost()
{
    if (m_isServiceLost && m_isReplied) {
        fail(QDBusConnection::sessionBus().isConnected()
                 ? QStringLiteral("the service has ended")
                 : QStringLiteral("the message bus has ended"));
    }
}

void StartTimings::onDeadline()
{
    fail(QStringLiteral("waited for %1 s").arg(m_deadline.interval() / 1'000));
}

// The signals that are awaited, for an error message.
QString StartTimings::missing()
{
    if (m_isEnding) {
        return QStringLiteral("\"Terminated\"");
    }
    const QString started = QStringLiteral("\"Started\"");
    const QString state = QStringLiteral("\"StateChanged\"");
    return times().started >= 0 ? state
        : times().state >= 0    ? started
                                : started + QStringLiteral(" and ") + state;
}

void StartTimings::goOn()
{
    const bool hasEnded = times().terminated >= 0;
    if (!m_isEnding) {
        if (times().started >= 0 && times().state >= 0) {
            end();
        } else if (hasEnded) {
            fail(QStringLiteral("the instance has ended"));
        }
    } else if (hasEnded && m_isEndReplied) {
        m_deadline.stop();
        start();
    }
}

// What was to be measured has come.
void StartTimings::end()
{
    m_isEnding = true;
    m_run.times = times();
    m_runs.append(m_run);
    const bool isLast = m_runs.size() == m_measurement.repeat.value_or(1);
    if (!m_measurement.repeat) {
        finish({});
        return;
    }
    m_deadline.start();
    m_control.terminate(m_run.result.appInstanceId, this, [this, isLast](const Error &error) {
        const bool endedBefore = error.code() == Error::ApplicationNotRunning;
        if (isLast || (error && !endedBefore)) {
            finish(endedBefore ? Error() : error);
            return;
        }
        m_isEndReplied = true;
        if (endedBefore) {
            times().terminated = elapsed();
        }
        goOn();
    });
}

void StartTimings::fail(const QString &reason)
{
    if (!m_isEnding) {
        m_run.times = times();
    }
    finish(Error(Error::Failed,
                 QStringLiteral("%1 did not come for %2: %3")
                     .arg(missing(), m_run.result.appInstanceId, reason)));
}

void StartTimings::finish(const Error &error)
{
    if (m_isFinished) {
        return;
    }
    m_isFinished = true;
    const bool asJson = m_measurement.asJson;
    QJsonObject result;
    if (!m_measurement.repeat) {
        if (m_isReplied && asJson) {
            result = toJson(m_run);
        } else if (m_isReplied) {
            printRun(m_run);
        }
    } else if (asJson) {
        QJsonArray runs;
        for (const Run &run : qAsConst(m_runs)) {
            runs.append(toJson(run));
        }
        result.insert(QStringLiteral("runs"), runs);
        if (!m_runs.isEmpty()) {
            QJsonObject timings;
            for (const Column &column : columns()) {
                const Summary summary = summaryOf(m_runs, column);
                timings.insert(column.name,
                               QJsonObject{{QStringLiteral("minimum"), summary.minimum},
                                           {QStringLiteral("median"), summary.median},
                                           {QStringLiteral("maximum"), summary.maximum}});
            }
            result.insert(QStringLiteral("timings"), timings);
        }
    } else if (!m_runs.isEmpty()) {
        printSummary(m_runs);
    }
    QCoreApplication::exit(conclude(error, asJson, result));
}

} // namespace

int measureStarts(const StartMeasurement &measurement)
{
    const SessionBus bus;
    StartTimings timings(measurement);
    timings.start();
    return QCoreApplication::exec();
}

#include "start_timings.moc"
