// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "interfaces/task_invoker_session1.h"

#include "bus/properties.h"
#include "bus/values.h"

#include "DBus/names_p.h"

#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusError>

#include <algorithm>

namespace
{

// Adds what the task is started with to the launch, if its types are right.
Result<> apply(const QVariantMap &startupInfo, Launch &launch)
{
    const QString parametersKey = QStringLiteral("Params");
    const QString environmentKey = QStringLiteral("Environment");
    Result<> types =
        checkTypes(startupInfo,
                   {{parametersKey, QStringLiteral("as")}, {environmentKey, QStringLiteral("as")}});
    if (!types) {
        return types;
    }
    const QStringList environment = startupInfo.value(environmentKey).toStringList();
    launch.arguments += startupInfo.value(parametersKey).toStringList();
    launch.addEnvironment(environment);
    return checkEnvironment(environmentKey, environment);
}

} // namespace

TaskInvokerSession1::TaskInvokerSession1(Service &service, const TaskType &type, Children &children)
    : Interface(QStringLiteral(OSTREL_TASK_INVOKER_SESSIONS_PATH) + type.name,
                QStringLiteral("TaskInvokerSession1"))
    , m_service(service)
    , m_type(type)
    , m_children(children)
{
}

QVariantMap TaskInvokerSession1::properties() const
{
    QVector<OfferedTask> offered;
    for (const Task &task : m_type.tasks) {
        offered.append({task.name, task.properties});
    }
    QVector<StartedTask> started;
    for (const StartedChild &each : m_started) {
        if (each.isRunning) {
            started.append(each.task);
        }
    }
    return {{QStringLiteral("ActiveTasks"), QVariant::fromValue(started)},
            {QStringLiteral("AvailableTasks"), QVariant::fromValue(offered)}};
}

void TaskInvokerSession1::handle(const QDBusMessage &call, const Answer &answer)
{
    const QString task = call.arguments().at(0).toString();
    if (!m_type.task(task)) {
        answer(call.createErrorReply(
            QStringLiteral(OSTREL_ERROR_PREFIX "HandlerNotFound"),
            QStringLiteral("There is no task \"%1\" of the type \"%2\"").arg(task, m_type.name)));
    } else if (call.member() == QLatin1String("Start")) {
        start(call, answer);
    } else {
        stop(call, answer);
    }
}

void TaskInvokerSession1::start(const QDBusMessage &call, const Answer &answer)
{
    const QString name = call.arguments().at(0).toString();
    if (find(name) != nullptr) {
        answer(
            call.createErrorReply(QStringLiteral(OSTREL_ERROR_PREFIX "ApplicationAlreadyRunning"),
                                  QStringLiteral("The task \"%1\" is running already").arg(name)));
        return;
    }
    const Task task = *m_type.task(name);
    Launch launch = task.launch();
    const Result<> applied = apply(qdbus_cast<QVariantMap>(call.arguments().at(1)), launch);
    // The hints come back in the list of active tasks: in a map of variants, a list, a structure.
    const Result<> fits = checkNesting({call.arguments().at(2)}, 5);
    if (const auto error = firstError(applied, fits)) {
        answer(call.createErrorReply(QDBusError::InvalidArgs, *error));
        return;
    }

    // The process lookup finds its processes as those of an application named after type and task.
    const QString type = QString(m_type.name).replace(QLatin1Char('/'), QLatin1Char('.'));
    Child *const child =
        m_children.run(launch, QStringLiteral("/ostrel-helper/%1.%2/app").arg(type, name));
    m_started.append(
        {{name, 0, qdbus_cast<QVariantMap>(call.arguments().at(2))}, child, false, {}});
    connect(child, &Child::started, this, [this, child, call, answer] {
        answer(call.createReply(++m_lastNumber));
        onStarted(child);
    });
    connect(child, &Child::failed, this,
            [this, child, call, answer, program = launch.program](const QString &reason) {
                answer(call.createErrorReply(
                    QStringLiteral(OSTREL_ERROR_PREFIX "HandlerFailed"),
                    QStringLiteral("Cannot start \"%1\": %2").arg(program, reason)));
                const StartedChild failed = take(child);
                for (const auto &done : failed.stops) {
                    done();
                }
            });
    connect(child, &Child::ended, this, [this, child] { onEnded(child); });
}

void TaskInvokerSession1::stop(const QDBusMessage &call, const Answer &answer)
{
    const QString name = call.arguments().at(0).toString();
    StartedChild *const started = find(name);
    if (started == nullptr) {
        answer(call.createErrorReply(QStringLiteral(OSTREL_ERROR_PREFIX "ApplicationNotRunning"),
                                     QStringLiteral("The task \"%1\" is not running").arg(name)));
        return;
    }
    started->stops.append([call, answer] { answer(call.createReply()); });
    if (started->isRunning) {
        started->child->end();
    }
}

void TaskInvokerSession1::onStarted(Child *child)
{
    StartedChild &started = *find(child);
    started.task.pid = child->pid();
    started.isRunning = true;
    announceStarted();
    // A caller stopped the task before the reply to its start.
    if (!started.stops.isEmpty()) {
        child->end();
    }
}

void TaskInvokerSession1::onEnded(Child *child)
{
    const StartedChild ended = take(child);
    for (const auto &done : ended.stops) {
        done();
    }
    announceStarted();
}

TaskInvokerSession1::StartedChild *TaskInvokerSession1::find(const QString &task)
{
    const auto found =
        std::find_if(m_started.begin(), m_started.end(),
                     [&task](const StartedChild &started) { return started.task.name == task; });
    return found != m_started.end() ? found : nullptr;
}

QVector<TaskInvokerSession1::StartedChild>::iterator TaskInvokerSession1::find(const Child *child)
{
    return std::find_if(m_started.begin(), m_started.end(),
                        [child](const StartedChild &started) { return started.child == child; });
}

TaskInvokerSession1::StartedChild TaskInvokerSession1::take(const Child *child)
{
    const auto found = find(child);
    StartedChild taken = *found;
    m_started.erase(found);
    return taken;
}

void TaskInvokerSession1::announceStarted()
{
    m_service.sendSignal(propertiesChanged(*this, {QStringLiteral("ActiveTasks")}));
}
