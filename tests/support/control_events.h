// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_CONTROL_EVENTS_H
#define TESTS_CONTROL_EVENTS_H

#include "process.h"
#include "record_rows.h"

#include <Ostrel/Control>

#include <QtCore/QStringList>
#include <QtTest/QTest>

// The signals of a Control as texts, in the order in which they come.
class ControlEvents : public QObject
{
    Q_OBJECT

public:
    explicit ControlEvents(const Ostrel::Control &control)
    {
        using Ostrel::Control;
        connect(&control, &Control::started, this, [this](const QString &id, const auto &details) {
            m_all.append(QStringLiteral("started %1 {%2}").arg(id, text(details)));
        });
        connect(&control, &Control::terminated, this,
                [this](const QString &id, const auto &details) {
                    m_all.append(QStringLiteral("terminated %1 {%2}").arg(id, text(details)));
                });
        connect(&control, &Control::stateChanged, this, [this](const QString &id, quint32 state) {
            m_all.append(QStringLiteral("state %1 %2").arg(id).arg(state));
        });
        connect(&control, &Control::selectedByOom, this,
                [this](const QString &id) { m_all.append(QStringLiteral("oom %1").arg(id)); });
    }

    QStringList all() const { return m_all; }

    // Runs the event loop until the event is among them.
    bool waitFor(const QString &event) const
    {
        return QTest::qWaitFor([this, &event] { return m_all.contains(event); }, patience);
    }

private:
    QStringList m_all;
};

#endif
