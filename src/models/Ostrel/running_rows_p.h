// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_RUNNING_ROWS_P_H
#define OSTREL_RUNNING_ROWS_P_H

#include "Ostrel/live_rows_p.h"
#include "Ostrel/running_source_p.h"

#include <QtCore/QThread>

namespace Ostrel
{

// The rows of a model that follows one of the two lists of what runs.
template <typename Row> class RunningRows : public LiveRows<Row>
{
public:
    using LiveRows<Row>::LiveRows;

    ~RunningRows() override
    {
        if (!m_source.isNull()) {
            m_source->removeUser();
        }
    }

    void follow(Control *control)
    {
        if (control == nullptr || control->thread() != QThread::currentThread()) {
            this->show(std::nullopt, LiveModel::Failed,
                       Error(Error::Failed,
                             control == nullptr
                                 ? QStringLiteral("There is no Control")
                                 : QStringLiteral("The Control belongs to another thread")));
            return;
        }
        m_source = RunningSource::of(control);
        const LiveModel *const context = this->model();
        QObject::connect(m_source, &RunningSource::listing, context, [this] {
            if (this->status() != LiveModel::Ready) {
                this->show(std::nullopt, LiveModel::Loading);
            }
        });
        QObject::connect(m_source, &RunningSource::listed, context,
                         [this](const QVector<RunningApplication> &applications,
                                const QVector<RunningService> &services) {
                             this->show(Row::chosen(applications, services), LiveModel::Ready);
                         });
        QObject::connect(m_source, &RunningSource::failed, context, [this](const Error &error) {
            this->show(std::nullopt, LiveModel::Failed, error);
        });
        QObject::connect(m_source, &RunningSource::serviceEnded, context,
                         [this] { this->show(Empty(), LiveModel::ServiceMissing); });
        QObject::connect(m_source, &QObject::destroyed, context, [this] {
            this->show(Empty(), LiveModel::Failed,
                       Error(Error::Failed, QStringLiteral("The Control has been destroyed")));
        });
        if (!m_source->isServiceAvailable()) {
            this->show(std::nullopt, LiveModel::ServiceMissing);
        }
        m_source->addUser();
    }

    void refresh()
    {
        if (!m_source.isNull()) {
            m_source->refresh();
        }
    }

private:
    using Empty = typename LiveRows<Row>::List;

    QPointer<RunningSource> m_source;
};

} // namespace Ostrel

#endif
