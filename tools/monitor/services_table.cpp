// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "services_table.h"

#include <Ostrel/ServicesModel>

namespace
{

QStringList serviceTitles()
{
    return {ServicesTable::tr("Service"), ServicesTable::tr("Application"),
            ServicesTable::tr("State"), ServicesTable::tr("Since"), ServicesTable::tr("Process")};
}

} // namespace

ServicesTable::ServicesTable(Ostrel::Control &control)
    : TableModel(new Ostrel::ServicesModel(&control), serviceTitles())
{
    follow();
}

QVariant ServicesTable::value(int row, int column) const
{
    using Model = Ostrel::ServicesModel;
    switch (column) {
    case ServiceColumn:
        return sourceData(row, Model::NameRole);
    case ApplicationColumn:
        return name(row);
    case StateColumn:
        return sourceData(row, Model::StateRole);
    case SinceColumn:
        return sourceData(row, Model::SinceRole);
    case ProcessColumn:
        return sourceData(row, Model::PidRole);
    default:
        return {};
    }
}

QString ServicesTable::text(int column, const QVariant &value) const
{
    return column == StateColumn ? stateText(value.toUInt()) : TableModel::text(column, value);
}

Details ServicesTable::details(int row) const
{
    return columnDetails(row)
        + propertyDetails(sourceData(row, Ostrel::ServicesModel::PropertiesRole));
}

QString ServicesTable::name(int row) const
{
    return sourceData(row, Ostrel::ServicesModel::AppIdRole).toString();
}

int ServicesTable::usualLength(int column) const
{
    return TableModel::usualLength(column == ApplicationColumn ? 0 : column);
}
