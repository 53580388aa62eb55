// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "command.h"
#include "command_line.h"
#include "instances.h"
#include "report.h"
#include "session_bus.h"

#include <Ostrel/Control>

#include <QtCore/QCoreApplication>
#include <QtCore/QTimer>

#include <algorithm>
#include <limits>
#include <optional>

namespace
{

using Ostrel::Control;
using Ostrel::Error;
using Ostrel::RunningApplication;

struct Awaited
{
    QString instance;
    std::optional<quint32> state;
    bool isEnd = false;
    // In milliseconds.
    std::optional<int> timeout;
    bool asJson = false;

    QString text() const
    {
        return isEnd ? QStringLiteral("the end of \"%1\"").arg(instance)
            : state  ? QStringLiteral("the state %1 of \"%2\"").arg(*state).arg(instance)
                     : QStringLiteral("the start of \"%1\"").arg(instance);
    }
};

// Waits for something in the life of an instance, and ends the event loop.
class Wait : public QObject
{
    Q_OBJECT

public:
    explicit Wait(Awaited awaited);

    void begin();

private:
    void onStarted(const QString &appInstanceId);
    void onTerminated(const QString &appInstanceId);
    void onStateChanged(const QString &appInstanceId, quint32 state);
    void onServiceAvailableChanged(bool available);
    void onList(const QVector<RunningApplication> &applications, const Error &error);
    void onUnlisted(const QVector<RunningApplication> &applications);

    void look(quint32 state);
    void fail(Error::Code code, const QString &message);
    void finish(const Error &error);

    Awaited m_awaited;
    Control m_control;
    bool m_isHeardOf = false;
    bool m_isFinished = false;
};

Wait::Wait(Awaited awaited)
    : m_awaited(std::move(awaited))
{
    connect(&m_control, &Control::started, this, &Wait::onStarted);
    connect(&m_control, &Control::terminated, this, &Wait::onTerminated);
    connect(&m_control, &Control::stateChanged, this, &Wait::onStateChanged);
    connect(&m_control, &Control::serviceAvailableChanged, this, &Wait::onServiceAvailableChanged);
    // Without this, the end of the bus is not noticed.
    m_control.isServiceAvailable();
}

// The Control has subscribed, so that nothing is missed between the list and the signals.
void Wait::begin()
{
    if (m_awaited.timeout) {
        QTimer::singleShot(*m_awaited.timeout, this, [this] {
            fail(Error::Failed,
                 QStringLiteral("%1 did not come within %2 s")
                     .arg(m_awaited.text())
                     .arg(*m_awaited.timeout / 1'000));
        });
    }
    m_control.getRunningApplications(this,
                                     [this](const QVector<RunningApplication> &applications,
                                            const QVector<Ostrel::RunningService> & /*services*/,
                                            const Error &error) { onList(applications, error); });
}

void Wait::onStarted(const QString &appInstanceId)
{
    if (appInstanceId != m_awaited.instance) {
        return;
    }
    m_isHeardOf = true;
    if (!m_awaited.isEnd && !m_awaited.state) {
        finish({});
    }
}

void Wait::onStateChanged(const QString &appInstanceId, quint32 state)
{
    if (appInstanceId == m_awaited.instance) {
        m_isHeardOf = true;
        look(state);
    }
}

// The instance has this state.
void Wait::look(quint32 state)
{
    if (!m_awaited.isEnd && state == m_awaited.state.value_or(state)) {
        finish({});
    }
}

void Wait::onTerminated(const QString &appInstanceId)
{
    if (appInstanceId != m_awaited.instance) {
        return;
    }
    if (m_awaited.isEnd) {
        finish({});
    } else {
        fail(Error::ApplicationNotRunning,
             QStringLiteral("\"%1\" has ended").arg(m_awaited.instance));
    }
}

void Wait::onServiceAvailableChanged(bool available)
{
    // A new service knows nothing of the instance.
    if (!available) {
        fail(Error::Failed,
             QStringLiteral("%1 did not come: %2")
                 .arg(m_awaited.text(),
                      QDBusConnection::sessionBus().isConnected()
                          ? QStringLiteral("the service has ended")
                          : QStringLiteral("the message bus has ended")));
    }
}

void Wait::onList(const QVector<RunningApplication> &applications, const Error &error)
{
    if (m_isFinished) {
        return;
    }
    if (error) {
        finish(error);
        return;
    }
    const auto listed = std::find_if(
        applications.cbegin(), applications.cend(), [this](const RunningApplication &application) {
            return instanceOf(m_control, application.pid, application.properties)
                == m_awaited.instance;
        });
    if (listed != applications.cend()) {
        look(listed->state);
    } else if (!m_isHeardOf) {
        // A signal that was sent after the list may have come before it.
        onUnlisted(applications);
    }
}

// No record is known to be about the instance.
void Wait::onUnlisted(const QVector<RunningApplication> &applications)
{
    const QString advice = adviceOnInstance(m_control, m_awaited.instance, applications);
    const bool isComplete = std::none_of(
        applications.cbegin(), applications.cend(), [this](const RunningApplication &application) {
            return instanceOf(m_control, application.pid, application.properties).isNull();
        });
    if (m_awaited.isEnd && isComplete && advice.isNull()) {
        finish({});
        return;
    }
    if (isComplete && (m_awaited.isEnd || m_awaited.state)) {
        fail(Error::ApplicationNotRunning,
             QStringLiteral("\"%1\" does not run").arg(m_awaited.instance));
    }
    printHint(advice.isNull() && !isComplete
                  ? QStringLiteral("the list of what runs does not name all instances, so this "
                                   "waits for a signal about \"%1\"")
                        .arg(m_awaited.instance)
                  : advice);
}

void Wait::fail(Error::Code code, const QString &message)
{
    finish(Error(code, message));
}

void Wait::finish(const Error &error)
{
    if (!m_isFinished) {
        m_isFinished = true;
        QCoreApplication::exit(conclude(error, m_awaited.asJson, {}));
    }
}

int runWait(const QStringList &arguments)
{
    const QString state = QStringLiteral("state");
    const QString terminated = QStringLiteral("terminated");

    CommandLine line(
        QStringLiteral("wait"),
        QStringLiteral("Waits until an instance of an application runs, has a state, or has "
                       "ended. Fails when\nthat cannot come any more: the instance, the service "
                       "or the message bus has ended."));
    line.addJsonFlag();
    line.addTimeoutOption(QStringLiteral("Fail after this time; without it, wait for ever."));
    line.addOption(state, QStringLiteral("N"),
                   QStringLiteral("Wait until the instance has this state, a number of the "
                                  "service's."));
    line.addFlag(terminated, QStringLiteral("Wait until the instance does not run any more."));
    line.addPositional(QStringLiteral("INSTANCE"),
                       QStringLiteral("Identifies the instance, as 'start' and 'watch' print it, "
                                      "and 'ps' if it is known."));
    return line.run(arguments, [&]() -> Result<int> {
        const auto instance = line.text(0);
        const auto timeout = line.seconds(QStringLiteral("timeout"));
        const auto number = line.number(state, 0, std::numeric_limits<quint32>::max());
        if (const auto error = firstError(instance, timeout, number)) {
            return Failure(*error);
        }
        if (line.isSet(state) && line.isSet(terminated)) {
            return Failure(QStringLiteral("--state and --terminated exclude each other"));
        }
        Awaited awaited{*instance, std::nullopt, line.isSet(terminated), *timeout,
                        line.wantsJson()};
        if (*number) {
            awaited.state = quint32(**number);
        }
        const SessionBus bus;
        Wait wait(awaited);
        wait.begin();
        return QCoreApplication::exec();
    });
}

} // namespace

Command waitCommand()
{
    return {QStringLiteral("wait"), QStringLiteral("Wait for an instance to start, change or end"),
            runWait};
}

#include "wait_command.moc"
