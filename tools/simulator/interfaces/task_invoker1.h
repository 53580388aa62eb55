// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_TASK_INVOKER1_H
#define SIMULATOR_TASK_INVOKER1_H

#include "bus/interface.h"
#include "bus/service.h"
#include "programs/catalogue.h"
#include "programs/children.h"

#include <QtCore/QHash>

// ".TaskInvoker1": creates the session object of each type that an invoker registers.
class TaskInvoker1 : public Interface
{
public:
    TaskInvoker1(Service &service, const Catalogue &catalogue, Children &children);

    void handle(const QDBusMessage &call, const Answer &answer) override;
    void reset() override;

private:
    Service &m_service;
    Catalogue m_catalogue;
    Children &m_children;
    // By their task types. The service owns them, and deletes them on a reset.
    QHash<QString, const Interface *> m_sessions;
};

#endif
