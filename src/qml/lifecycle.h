// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_QML_LIFECYCLE_H
#define OSTREL_QML_LIFECYCLE_H

#include "script_callback.h"

#include <Ostrel/Control>

#include <QtCore/QObject>
#include <QtQml/QJSValue>

class QJSEngine;

namespace Ostrel
{

class TaskInvoker;

// The requests to the service, for QML. The outcome comes to the callback. A wrong argument throws
// an exception in JavaScript, and nothing is sent.
//
// The engine owns this object, and so the calls that are under way: their callbacks go with it.
class Lifecycle : public QObject
{
    Q_OBJECT

public:
    explicit Lifecycle(QJSEngine *engine);

    // result: appInstanceId and details
    Q_INVOKABLE void start(const QJSValue &appId, const QJSValue &callback = QJSValue());
    Q_INVOKABLE void startDebug(const QJSValue &appId, const QJSValue &params,
                                const QJSValue &callback = QJSValue());
    Q_INVOKABLE void terminate(const QJSValue &appInstanceId,
                               const QJSValue &callback = QJSValue());

    // tasks: a Tasks element. result: number
    Q_INVOKABLE void startTask(const QJSValue &tasks, const QJSValue &name,
                               const QJSValue &startupInfo = QJSValue(),
                               const QJSValue &hints = QJSValue(),
                               const QJSValue &callback = QJSValue());
    Q_INVOKABLE void stopTask(const QJSValue &tasks, const QJSValue &name,
                              const QJSValue &callback = QJSValue());

private:
    // Returns null, and throws an exception in JavaScript, if an argument is wrong.
    Control *control(const QJSValue &id, const QJSValue &callback);
    TaskInvoker *invoker(const QJSValue &tasks, const QJSValue &name, const QJSValue &callback);
    bool areValid(const QJSValue &string, const QJSValue &callback);
    void finishStart(const QJSValue &callback, const Control::StartResult &result);

    QJSEngine *m_engine;
    ScriptCallback m_callbacks;
};

} // namespace Ostrel

#endif
