// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_QML_SCRIPT_CALLBACK_H
#define OSTREL_QML_SCRIPT_CALLBACK_H

#include <Ostrel/Error>

#include <QtCore/QVariantMap>
#include <QtQml/QJSValue>

class QJSEngine;

namespace Ostrel
{

// Calls functions of JavaScript with the outcome of a request.
class ScriptCallback
{
public:
    explicit ScriptCallback(QJSEngine *engine);

    // Whether this is a function, or nothing.
    static bool isValid(const QJSValue &callback);

    // Calls the function, if it is one, with an object of the values and the members of the error.
    // An exception becomes a warning.
    void run(const QJSValue &callback, QVariantMap values, const Error &error);

private:
    QJSEngine *m_engine;
    QJSValue m_guard;
};

} // namespace Ostrel

#endif
