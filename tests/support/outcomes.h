// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_OUTCOMES_H
#define TESTS_OUTCOMES_H

#include "kit.h"

#include <Ostrel/WindowManagement>

#include <QtCore/QVector>

#include <functional>

// What a callback of updateWindowStatus() received.
struct Outcome
{
    quint32 state = 0;
    Ostrel::Error error;
};

// Collects what callbacks receive, in the order in which they run.
class Outcomes
{
public:
    // Returns a callback that adds to the collection.
    std::function<void(Ostrel::ApplicationState, const Ostrel::Error &)> callback()
    {
        return [this](Ostrel::ApplicationState state, const Ostrel::Error &error) {
            m_all.append({state, error});
        };
    }

    int size() const { return m_all.size(); }
    const Outcome &at(int index) const { return m_all.at(index); }

    // Runs the event loop until so many callbacks have run.
    void waitFor(int count) const
    {
        waitUntil([this, count] { return m_all.size() >= count; });
    }

private:
    QVector<Outcome> m_all;
};

// Reports a window and waits for the outcome. Replies arrive in order, so all earlier replies have
// been handled by then.
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
