// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "script_callback.h"

#include <QtCore/QDebug>
#include <QtQml/QJSEngine>

namespace Ostrel
{

// QJSValue::call() does not say whether a function has thrown its result.
ScriptCallback::ScriptCallback(QJSEngine *engine)
    : m_engine(engine)
    , m_guard(engine->evaluate(QStringLiteral(R"((function(callback, result) {
        try {
            callback(result);
        } catch (error) {
            return (error.fileName ? error.fileName + ":" + error.lineNumber + ": " : "") + error;
        }
    }))")))
{
}

bool ScriptCallback::isValid(const QJSValue &callback)
{
    return callback.isCallable() || callback.isUndefined() || callback.isNull();
}

void ScriptCallback::run(const QJSValue &callback, QVariantMap values, const Error &error)
{
    if (!callback.isCallable()) {
        return;
    }
    values.insert(QStringLiteral("code"), error.code());
    values.insert(QStringLiteral("name"), error.name());
    values.insert(QStringLiteral("message"), error.message());
    values.insert(QStringLiteral("busErrorName"), error.busErrorName());
    const QJSValue thrown = m_guard.call({callback, m_engine->toScriptValue(values)});
    if (!thrown.isUndefined()) {
        qWarning().noquote() << thrown.toString();
    }
}

} // namespace Ostrel
