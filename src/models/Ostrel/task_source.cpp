// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "Ostrel/task_source_p.h"

#include <Ostrel/Control>

#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusError>

namespace Ostrel
{

TaskSource::TaskSource(TaskInvoker *invoker)
    : m_invoker(invoker)
{
    QDBusConnection bus = invoker->busType() == TaskInvoker::SessionBus
        ? QDBusConnection::sessionBus()
        : QDBusConnection::systemBus();
    // A QDBusServiceWatcher must not be deleted in a slot of its own.
    const QString daemon = QStringLiteral("org.freedesktop.DBus");
    bus.connect(daemon, QStringLiteral("/org/freedesktop/DBus"), daemon,
                QStringLiteral("NameOwnerChanged"), {Control::serviceName()}, QStringLiteral("sss"),
                this, SLOT(onOwnerChanged(QString, QString, QString)));
    bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                SLOT(onServiceEnded()));
    connect(invoker, &TaskInvoker::availableTasksChanged, this, &TaskSource::changed);
    connect(invoker, &TaskInvoker::activeTasksChanged, this, &TaskSource::changed);
    connect(invoker, &QObject::destroyed, this, &TaskSource::changed);
    if (!invoker->isReady()) {
        invoker->onReady(this, [this](const Error & /*error*/) { Q_EMIT changed(); });
    }
}

LiveModel::Status TaskSource::status() const
{
    if (m_service == Service::Ended) {
        return LiveModel::ServiceMissing;
    }
    if (m_service == Service::Restarted || m_invoker.isNull()) {
        return LiveModel::Failed;
    }
    if (!m_invoker->isReady()) {
        return LiveModel::Loading;
    }
    const Error outcome = m_invoker->error();
    if (!outcome) {
        return LiveModel::Ready;
    }
    return outcome.busErrorName() == QDBusError::errorString(QDBusError::ServiceUnknown)
        ? LiveModel::ServiceMissing
        : LiveModel::Failed;
}

Error TaskSource::error() const
{
    if (status() != LiveModel::Failed) {
        return {};
    }
    if (m_invoker.isNull()) {
        return {Error::Failed, QStringLiteral("The TaskInvoker has been destroyed")};
    }
    if (m_service == Service::Restarted) {
        return {Error::Failed,
                QStringLiteral("The service has started after the TaskInvoker registered")};
    }
    return m_invoker->error();
}

void TaskSource::onServiceEnded()
{
    m_service = Service::Ended;
    Q_EMIT changed();
}

void TaskSource::onOwnerChanged(const QString & /*service*/, const QString &oldOwner,
                                const QString &newOwner)
{
    if (newOwner.isEmpty()) {
        onServiceEnded();
    } else if (!oldOwner.isEmpty() || m_service == Service::Ended
               || (!m_invoker.isNull() && m_invoker->isReady())) {
        // The first owner that comes before the reply is the one that replies.
        m_service = Service::Restarted;
        const QPointer<TaskSource> self(this);
        Q_EMIT changed();
        if (!self.isNull()) {
            Q_EMIT serviceStarted();
        }
    }
}

} // namespace Ostrel
