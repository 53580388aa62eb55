// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "Ostrel/running_source_p.h"

namespace Ostrel
{

RunningSource *RunningSource::of(Control *control)
{
    auto *source = control->findChild<RunningSource *>(QString(), Qt::FindDirectChildrenOnly);
    return source != nullptr ? source : new RunningSource(control);
}

RunningSource::RunningSource(Control *control)
    : QObject(control)
    , m_control(control)
{
    // What SelectedByOom announces shows in a list only when one of these follows.
    connect(control, &Control::started, this, &RunningSource::refresh);
    connect(control, &Control::terminated, this, &RunningSource::refresh);
    connect(control, &Control::stateChanged, this, &RunningSource::refresh);
    connect(control, &Control::serviceAvailableChanged, this, &RunningSource::onServiceChanged);
}

void RunningSource::addUser()
{
    ++m_users;
    if (!m_isUnderWay) {
        refresh();
    }
}

void RunningSource::removeUser()
{
    --m_users;
}

void RunningSource::refresh()
{
    m_isDue = true;
    work();
}

void RunningSource::onServiceChanged()
{
    // A reply that is still to come is one of the old service.
    m_isUnderWay = false;
    ++m_call;
    m_isDue = true;
    m_serviceHasChanged = true;
    work();
}

void RunningSource::work(const std::function<void()> &emitFirst)
{
    if (m_isWorking) {
        return;
    }
    m_isWorking = true;
    const QPointer<RunningSource> self(this);
    if (emitFirst) {
        emitFirst();
    }
    while (!self.isNull()) {
        if (m_serviceHasChanged) {
            m_serviceHasChanged = false;
            Q_EMIT serviceEnded();
        } else if (m_isDue && !m_isUnderWay && m_users > 0 && isServiceAvailable()) {
            m_isDue = false;
            m_isUnderWay = true;
            Q_EMIT listing();
            if (!self.isNull() && m_isUnderWay) {
                list();
            }
        } else {
            m_isWorking = false;
            return;
        }
    }
}

void RunningSource::list()
{
    m_control->getRunningApplications(
        this,
        [this, call = ++m_call](const QVector<RunningApplication> &applications,
                                const QVector<RunningService> &services, const Error &error) {
            if (call != m_call) {
                return;
            }
            m_isUnderWay = false;
            work([&] {
                if (error) {
                    Q_EMIT failed(error);
                } else {
                    Q_EMIT listed(applications, services);
                }
            });
        });
}

} // namespace Ostrel
