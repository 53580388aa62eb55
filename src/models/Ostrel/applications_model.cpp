// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "Ostrel/applications_model.h"
#include "Ostrel/running_rows_p.h"

namespace Ostrel
{

namespace
{

class ApplicationRow
{
public:
    using Record = RunningApplication;

    ApplicationRow(const RunningApplication &record, qint64 now)
        : m_record(record)
        , m_since(now)
    {
        m_record.properties = plainProperties(record.properties);
    }

    static const QVector<RunningApplication> &chosen(
        const QVector<RunningApplication> &applications, const QVector<RunningService> & /*other*/)
    {
        return applications;
    }

    static Identity identityOf(const RunningApplication &record)
    {
        return {record.appId, QString(), record.pid};
    }
    static Identity identityOf(const ApplicationRow &row) { return identityOf(row.m_record); }

    bool isRowOf(const RunningApplication &record) const
    {
        return m_record.pid == record.pid && m_record.appId == record.appId;
    }

    quint32 update(const RunningApplication &newer, qint64 now)
    {
        quint32 changed = takeOver(m_record.state, newer.state, ApplicationsModel::StateColumn);
        if (changed != 0) {
            m_since = now;
            changed |= bitOf(ApplicationsModel::SinceColumn);
        }
        return changed | takeOver(m_record.kind, newer.kind, ApplicationsModel::KindColumn)
            | takeOver(m_record.properties, plainProperties(newer.properties),
                       ApplicationsModel::PropertiesColumn);
    }

    QVariant value(int column) const
    {
        switch (column) {
        case ApplicationsModel::AppIdColumn:
            return m_record.appId;
        case ApplicationsModel::PidColumn:
            return m_record.pid;
        case ApplicationsModel::StateColumn:
            return quint32(m_record.state);
        case ApplicationsModel::KindColumn:
            return quint32(m_record.kind);
        case ApplicationsModel::PropertiesColumn:
            return m_record.properties;
        default:
            return QDateTime::fromMSecsSinceEpoch(m_since, Qt::UTC);
        }
    }

private:
    RunningApplication m_record;
    qint64 m_since;
};

using ApplicationRows = RunningRows<ApplicationRow>;

std::unique_ptr<ApplicationRows> makeApplicationRows()
{
    return std::make_unique<ApplicationRows>(std::vector<Column>{
        {"appId", QT_TRANSLATE_NOOP("Ostrel::LiveModel", "Application")},
        {"pid", QT_TRANSLATE_NOOP("Ostrel::LiveModel", "Process")},
        {"state", QT_TRANSLATE_NOOP("Ostrel::LiveModel", "State")},
        {"kind", QT_TRANSLATE_NOOP("Ostrel::LiveModel", "Kind")},
        {"properties", QT_TRANSLATE_NOOP("Ostrel::LiveModel", "Properties")},
        {"since", QT_TRANSLATE_NOOP("Ostrel::LiveModel", "Since")},
    });
}

} // namespace

ApplicationsModel::ApplicationsModel(QObject *parent)
    : ApplicationsModel(Control::instance(), parent)
{
}

ApplicationsModel::ApplicationsModel(Control *control, QObject *parent)
    : LiveModel(makeApplicationRows(), parent)
{
    static_cast<ApplicationRows &>(*d).follow(control);
}

ApplicationsModel::~ApplicationsModel() = default;

void ApplicationsModel::refresh()
{
    static_cast<ApplicationRows &>(*d).refresh();
}

} // namespace Ostrel
