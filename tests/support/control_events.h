// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_CONTROL_EVENTS_H
#define TESTS_CONTROL_EVENTS_H

#include "kit.h"
#include "record_rows.h"

#include "DBus/names_p.h"

#include <Ostrel/Control>

#include <QtCore/QStringList>

// Makes the service send a signal of ".Control1".
inline void emitControlSignal(const Simulator &simulator, const QString &member,
                              const QVariantList &arguments)
{
    simulator.emitSignal(OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, member, arguments);
}

// Collects the signals of a Control as strings.
class ControlEvents
{
public:
    explicit ControlEvents(const Ostrel::Control &control)
    {
        using Ostrel::Control;
        QObject::connect(&control, &Control::started, &m_context,
                         [this](const QString &id, const auto &details) {
                             m_all.append(QString("started %1 {%2}").arg(id, text(details)));
                         });
        QObject::connect(&control, &Control::terminated, &m_context,
                         [this](const QString &id, const auto &details) {
                             m_all.append(QString("terminated %1 {%2}").arg(id, text(details)));
                         });
        QObject::connect(&control, &Control::stateChanged, &m_context,
                         [this](const QString &id, quint32 state) {
                             m_all.append(QString("state %1 %2").arg(id).arg(state));
                         });
        QObject::connect(&control, &Control::selectedByOom, &m_context,
                         [this](const QString &id) { m_all.append(QString("oom %1").arg(id)); });
    }

    QStringList all() const { return m_all; }

    // Runs the event loop until the event has come.
    void waitFor(const QString &event) const
    {
        waitUntil([this, &event] { return m_all.contains(event); });
    }

    // Makes the service send a last signal, and waits for it.
    void waitForMarker(const Simulator &simulator) const
    {
        emitControlSignal(simulator, "SelectedByOom", {"marker"});
        waitFor("oom marker");
    }

private:
    Q_DISABLE_COPY(ControlEvents)

    QStringList m_all;
    QObject m_context;
};

#endif
