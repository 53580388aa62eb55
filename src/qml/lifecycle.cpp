// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "lifecycle.h"
#include "script_values.h"
#include "tasks.h"

#include <Ostrel/Control>

#include <QtCore/QThread>
#include <QtQml/QJSEngine>

namespace Ostrel
{

Lifecycle::Lifecycle(QJSEngine *engine)
    : m_engine(engine)
    , m_callbacks(engine)
{
}

bool Lifecycle::areValid(const QJSValue &string, const QJSValue &callback)
{
    if (!string.isString()) {
        m_engine->throwError(QJSValue::TypeError,
                             QStringLiteral("Expected a string as the identifier or the name"));
        return false;
    }
    if (!ScriptCallback::isValid(callback)) {
        m_engine->throwError(QJSValue::TypeError,
                             QStringLiteral("Expected a function as the callback"));
        return false;
    }
    return true;
}

Control *Lifecycle::control(const QJSValue &id, const QJSValue &callback)
{
    if (!areValid(id, callback)) {
        return nullptr;
    }
    Control *control = Control::instance();
    if (control->thread() != QThread::currentThread()) {
        m_engine->throwError(QStringLiteral("The Control belongs to another thread"));
        return nullptr;
    }
    return control;
}

TaskInvoker *Lifecycle::invoker(const QJSValue &tasks, const QJSValue &name,
                                const QJSValue &callback)
{
    const auto *model = qobject_cast<Tasks *>(tasks.toQObject());
    if (model == nullptr) {
        m_engine->throwError(QJSValue::TypeError, QStringLiteral("Expected a Tasks element"));
        return nullptr;
    }
    if (!areValid(name, callback)) {
        return nullptr;
    }
    TaskInvoker *invoker = model->invoker();
    if (invoker == nullptr) {
        m_engine->throwError(QStringLiteral("The Tasks element has no type"));
    }
    return invoker;
}

void Lifecycle::start(const QJSValue &appId, const QJSValue &callback)
{
    if (Control *service = control(appId, callback)) {
        service->start(appId.toString(), this,
                       [this, callback](const Control::StartResult &result) {
                           finishStart(callback, result);
                       });
    }
}

void Lifecycle::startDebug(const QJSValue &appId, const QJSValue &params, const QJSValue &callback)
{
    Control *service = control(appId, callback);
    const auto map = service != nullptr ? mapFromScript(m_engine, params) : std::nullopt;
    if (map) {
        service->startDebug(appId.toString(), DebugParams(*map), this,
                            [this, callback](const Control::StartResult &result) {
                                finishStart(callback, result);
                            });
    }
}

void Lifecycle::terminate(const QJSValue &appInstanceId, const QJSValue &callback)
{
    if (Control *service = control(appInstanceId, callback)) {
        service->terminate(appInstanceId.toString(), this, [this, callback](const Error &error) {
            m_callbacks.run(callback, {}, error);
        });
    }
}

void Lifecycle::startTask(const QJSValue &tasks, const QJSValue &name, const QJSValue &startupInfo,
                          const QJSValue &hints, const QJSValue &callback)
{
    TaskInvoker *service = invoker(tasks, name, callback);
    const auto info = service != nullptr ? mapFromScript(m_engine, startupInfo) : std::nullopt;
    const auto how = info ? mapFromScript(m_engine, hints) : std::nullopt;
    if (how) {
        service->start(name.toString(), TaskInvoker::StartupInfo(*info), TaskInvoker::Hints(*how),
                       this, [this, callback](int number, const Error &error) {
                           m_callbacks.run(callback, {{QStringLiteral("number"), number}}, error);
                       });
    }
}

void Lifecycle::stopTask(const QJSValue &tasks, const QJSValue &name, const QJSValue &callback)
{
    if (TaskInvoker *service = invoker(tasks, name, callback)) {
        service->stop(name.toString(), this, [this, callback](const Error &error) {
            m_callbacks.run(callback, {}, error);
        });
    }
}

void Lifecycle::finishStart(const QJSValue &callback, const Control::StartResult &result)
{
    m_callbacks.run(callback,
                    {{QStringLiteral("appInstanceId"), result.appInstanceId},
                     {QStringLiteral("details"), Control::toPlainValue(result.details)}},
                    result.error);
}

} // namespace Ostrel
