// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_TASK_INVOKERS_H
#define TESTS_TASK_INVOKERS_H

#include "busctl.h"
#include "task_texts.h"

#include "DBus/names_p.h"

#include <Ostrel/TaskInvoker>

#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>

namespace Ostrel
{

// The code, and the message unless it is null.
inline QString text(const Error &error)
{
    const QString code = QString::number(error.code());
    return error.message().isNull() ? code : QString("%1 \"%2\"").arg(code, error.message());
}

} // namespace Ostrel

// Collects the signals and callbacks of task invokers as strings. It must outlive them.
class Events
{
public:
    using Error = Ostrel::Error;

    // Return callbacks that add their label, the number and the error.
    std::function<void(const Error &)> ready(const QString &label = "ready")
    {
        return [this, label](const Error &error) { add(label + ' ' + Ostrel::text(error)); };
    }
    std::function<void(const Error &)> stopped(const QString &label = "stopped")
    {
        return ready(label);
    }
    std::function<void(int, const Error &)> started(const QString &label = "started")
    {
        return [this, label](int number, const Error &error) {
            add(QString("%1 %2: %3").arg(label).arg(number).arg(Ostrel::text(error)));
        };
    }

    // Collects the signals, each with its list.
    void watch(const Ostrel::TaskInvoker &invoker)
    {
        const auto *watched = &invoker;
        QObject::connect(
            watched, &Ostrel::TaskInvoker::activeTasksChanged, watched,
            [this, watched] { add(QString("active [%1]").arg(text(watched->activeTasks()))); });
        QObject::connect(watched, &Ostrel::TaskInvoker::availableTasksChanged, watched,
                         [this, watched] {
                             add(QString("available [%1]").arg(text(watched->availableTasks())));
                         });
    }

    void add(const QString &event) { m_all.append(event); }
    const QStringList &all() const { return m_all; }
    // For events in no fixed order: a change of a list may be handled before or after the reply to
    // the call that caused it.
    QStringList sorted() const
    {
        QStringList all = m_all;
        all.sort();
        return all;
    }
    // The same without the process identifiers of the simulator's tasks.
    QStringList sortedWithoutPids() const
    {
        static const QRegularExpression pid("(photos|contacts) \\d+ ");
        QStringList all = sorted();
        return all.replaceInStrings(pid, "\\1 PID ");
    }
    int size() const { return m_all.size(); }
    void clear() { m_all.clear(); }

    // Runs the event loop until there are so many.
    void waitFor(int count) const
    {
        waitUntil([this, count] { return m_all.size() >= count; });
    }

private:
    QStringList m_all;
};

// Waits for the outcome of the registration.
inline Ostrel::Error waitUntilReady(Ostrel::TaskInvoker &invoker)
{
    struct Outcome
    {
        bool known = false;
        Ostrel::Error error;
    };
    const auto outcome = std::make_shared<Outcome>();
    invoker.onReady([outcome](const Ostrel::Error &error) { *outcome = {true, error}; });
    waitUntil([&outcome] { return outcome->known; });
    return outcome->error;
}

// Calls the service and waits for the reply. All earlier messages have been handled by then.
inline void roundTrip(Ostrel::TaskInvoker &invoker)
{
    const auto answered = std::make_shared<bool>(false);
    invoker.stop("marker", [answered](const Ostrel::Error &) { *answered = true; });
    waitUntil([&answered] { return *answered; });
}

// The same without an invoker at hand.
inline void roundTrip()
{
    Ostrel::TaskInvoker other(Ostrel::TaskInvoker::SessionBus, "other");
    roundTrip(other);
}

inline QString sessionPath(const QString &type)
{
    return OSTREL_TASK_INVOKER_SESSIONS_PATH + type;
}

// Makes the simulator send a signal of count arguments, each given as signature and value.
inline void emitSignal(const PrivateBus &bus, const QString &path, const QString &interface,
                       const QString &member, const QString &arguments, int count = 3)
{
    busctlDesk(bus, "Emit",
               QStringList{"ossav", path, interface, member, QString::number(count)}
                   + wordsOf(arguments));
}

// Makes the simulator send "PropertiesChanged" for the session of a type. The changed properties
// are their number, then the name, signature and value of each.
inline void emitPropertiesChanged(const PrivateBus &bus, const QString &type,
                                  const QString &changed, const QString &invalidated = "0",
                                  const QString &interface = OSTREL_TASK_INVOKER_SESSION_INTERFACE)
{
    emitSignal(bus, sessionPath(type), "org.freedesktop.DBus.Properties", "PropertiesChanged",
               QString("s %1 a{sv} %2 as %3").arg(interface, changed, invalidated));
}

// Makes the service answer the next "RegisterInvoker" with these values, each given as signature
// and value.
inline void answerRegistration(const PrivateBus &bus, int count, const QString &values)
{
    busctlDesk(bus, "AnswerNext",
               QStringList{"ssav", OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker",
                           QString::number(count)}
                   + wordsOf(values));
}

// The same with the path of the type's session, and these properties.
inline void answerRegistration(const PrivateBus &bus, const QString &type,
                               const QString &properties)
{
    answerRegistration(bus, 2, QString("o %1 a{sv} %2").arg(sessionPath(type), properties));
}

#endif
