// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_OUTCOMES_H
#define TESTS_OUTCOMES_H

#include "waiting.h"

#include <Ostrel/WindowManagement>

#include <QtCore/QVector>

#include <functional>

// What the callback of a window's report was given.
struct Outcome
{
    quint32 state = 0;
    Ostrel::Error error;
};

// Collects what callbacks were given, in the order in which they ran.
class Outcomes
{
public:
    // A callback that adds to the collection.
    std::function<void(Ostrel::ApplicationState, const Ostrel::Error &)> callback()
    {
        return [this](Ostrel::ApplicationState state, const Ostrel::Error &error) {
            m_all.append({state, error});
        };
    }

    int size() const { return m_all.size(); }
    const Outcome &at(int index) const { return m_all.at(index); }

    // Runs the event loop until there are so many.
    void waitFor(int count) const
    {
        waitUntil([this, count] { return m_all.size() >= count; });
    }

private:
    QVector<Outcome> m_all;
};

// Reports a window and waits for the outcome. Replies come in order, so that everything that was
// answered before has been handled then.
inline Outcome reportWindow(const QString &window = "w", int status = 1, int arg1 = 2, int arg2 = 3)
{
    QObject context;
    Ostrel::WindowManagement windows;
    Outcomes outcomes;
    windows.updateWindowStatus(window, status, arg1, arg2, &context, outcomes.callback());
    outcomes.waitFor(1);
    return outcomes.at(0);
}

#endif
