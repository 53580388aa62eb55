// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tasks.h"

namespace Ostrel
{

Tasks::Tasks(QObject *parent)
    : TasksModel(parent)
{
    connect(this, &TasksModel::serviceStarted, this, &Tasks::makeInvoker);
}

void Tasks::setType(const QString &type)
{
    if (type != m_type) {
        m_type = type;
        makeInvoker();
        Q_EMIT typeChanged();
    }
}

void Tasks::setBus(Bus bus)
{
    if (bus != m_bus) {
        m_bus = bus;
        makeInvoker();
        Q_EMIT busChanged();
    }
}

void Tasks::componentComplete()
{
    m_isComplete = true;
    makeInvoker();
}

void Tasks::makeInvoker()
{
    if (!m_isComplete) {
        return;
    }
    delete m_previous;
    m_previous = invoker();
    setInvoker(m_type.isEmpty() ? nullptr
                                : new TaskInvoker(TaskInvoker::BusType(m_bus), m_type, this));
}

} // namespace Ostrel
