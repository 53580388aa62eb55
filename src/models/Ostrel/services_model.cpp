// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "Ostrel/services_model.h"
#include "Ostrel/running_rows_p.h"

namespace Ostrel
{

namespace
{

class ServiceRow
{
public:
    using Record = RunningService;

    ServiceRow(const RunningService &record, qint64 now)
        : m_record(record)
        , m_since(now)
    {
        m_record.properties = plainProperties(record.properties);
    }

    static const QVector<RunningService> &chosen(const QVector<RunningApplication> & /*other*/,
                                                 const QVector<RunningService> &services)
    {
        return services;
    }

    static Identity identityOf(const RunningService &record)
    {
        return {record.appId, record.name, record.pid};
    }
    static Identity identityOf(const ServiceRow &row) { return identityOf(row.m_record); }

    bool isRowOf(const RunningService &record) const
    {
        return m_record.pid == record.pid && m_record.appId == record.appId
            && m_record.name == record.name;
    }

    quint32 update(const RunningService &newer, qint64 now)
    {
        quint32 changed = takeOver(m_record.state, newer.state, ServicesModel::StateColumn);
        if (changed != 0) {
            m_since = now;
            changed |= bitOf(ServicesModel::SinceColumn);
        }
        return changed
            | takeOver(m_record.properties, plainProperties(newer.properties),
                       ServicesModel::PropertiesColumn);
    }

    QVariant value(int column) const
    {
        switch (column) {
        case ServicesModel::AppIdColumn:
            return m_record.appId;
        case ServicesModel::NameColumn:
            return m_record.name;
        case ServicesModel::PidColumn:
            return m_record.pid;
        case ServicesModel::StateColumn:
            return quint32(m_record.state);
        case ServicesModel::PropertiesColumn:
            return m_record.properties;
        default:
            return QDateTime::fromMSecsSinceEpoch(m_since, Qt::UTC);
        }
    }

private:
    RunningService m_record;
    qint64 m_since;
};

using ServiceRows = RunningRows<ServiceRow>;

std::unique_ptr<ServiceRows> makeServiceRows()
{
    return std::make_unique<ServiceRows>(std::vector<Column>{
        {"appId", QT_TRANSLATE_NOOP("Ostrel::LiveModel", "Application")},
        {"name", QT_TRANSLATE_NOOP("Ostrel::LiveModel", "Service")},
        {"pid", QT_TRANSLATE_NOOP("Ostrel::LiveModel", "Process")},
        {"state", QT_TRANSLATE_NOOP("Ostrel::LiveModel", "State")},
        {"properties", QT_TRANSLATE_NOOP("Ostrel::LiveModel", "Properties")},
        {"since", QT_TRANSLATE_NOOP("Ostrel::LiveModel", "Since")},
    });
}

} // namespace

ServicesModel::ServicesModel(QObject *parent)
    : ServicesModel(Control::instance(), parent)
{
}

ServicesModel::ServicesModel(Control *control, QObject *parent)
    : LiveModel(makeServiceRows(), parent)
{
    static_cast<ServiceRows &>(*d).follow(control);
}

ServicesModel::~ServicesModel() = default;

void ServicesModel::refresh()
{
    static_cast<ServiceRows &>(*d).refresh();
}

} // namespace Ostrel
