// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_TASK_INVOKER1_H
#define SIMULATOR_TASK_INVOKER1_H

#include "interface.h"
#include "service.h"

#include <QtCore/QHash>

// ".TaskInvoker1": makes the session object of each type that an invoker registers.
class TaskInvoker1 : public Interface
{
public:
    explicit TaskInvoker1(Service &service);

    void handle(const QDBusMessage &call, const Answer &answer) override;
    void reset() override;

private:
    Service &m_service;
    // By their task types. The service owns them, and lets go of them when it is reset.
    QHash<QString, const Interface *> m_sessions;
};

#endif
