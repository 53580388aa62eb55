// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "table_model.h"

TableModel::TableModel(Ostrel::LiveModel *source, const QStringList &titles)
    : m_source(source)
    , m_titles(titles)
{
    m_source->setParent(this);
}

// The source is never reset, moves no rows, and has no rows below rows.
void TableModel::follow()
{
    using Model = QAbstractItemModel;
    connect(m_source, &Model::rowsAboutToBeInserted, this,
            [this](const QModelIndex & /*parent*/, int first, int last) {
                beginInsertRows({}, first, last);
            });
    connect(m_source, &Model::rowsInserted, this,
            [this](const QModelIndex & /*parent*/, int first, int last) {
                rowsSeen(first, last);
                endInsertRows();
            });
    connect(m_source, &Model::rowsAboutToBeRemoved, this,
            [this](const QModelIndex & /*parent*/, int first, int last) {
                rowsLeave(first, last);
                beginRemoveRows({}, first, last);
            });
    connect(m_source, &Model::rowsRemoved, this, [this] { endRemoveRows(); });
    connect(m_source, &Model::dataChanged, this,
            [this](const QModelIndex &first, const QModelIndex &last) {
                rowsSeen(first.row(), last.row());
                Q_EMIT dataChanged(index(first.row(), 0), index(last.row(), columnCount() - 1));
            });
    if (m_source->rowCount() > 0) {
        rowsSeen(0, m_source->rowCount() - 1);
    }
}

int TableModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_source->rowCount();
}

int TableModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_titles.size();
}

QVariant TableModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid)) {
        return {};
    }
    switch (role) {
    case SortRole:
        return value(index.row(), index.column());
    case Qt::DisplayRole:
        return text(index.column(), value(index.row(), index.column()));
    case Qt::ToolTipRole:
        return toolTip(details(index.row()));
    default:
        return {};
    }
}

QVariant TableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) {
        return QAbstractTableModel::headerData(section, orientation, role);
    }
    return m_titles.value(section);
}

int TableModel::usualLength(int column) const
{
    constexpr int name = 17;
    constexpr int other = 12;
    return column == 0 ? name : other;
}

QString TableModel::instance(int /*row*/) const
{
    return {};
}

QString TableModel::text(int /*column*/, const QVariant &value) const
{
    return shown(value);
}

void TableModel::rowsSeen(int /*first*/, int /*last*/)
{
}

void TableModel::rowsLeave(int /*first*/, int /*last*/)
{
}

QVariant TableModel::sourceData(int row, int role) const
{
    return m_source->data(m_source->index(row, 0), role);
}

Details TableModel::columnDetails(int row) const
{
    Details details;
    for (int column = 0; column < columnCount(); ++column) {
        const QString shownValue = text(column, value(row, column));
        if (!shownValue.isEmpty()) {
            details.append({m_titles.at(column), shownValue});
        }
    }
    return details;
}

Details TableModel::propertyDetails(const QVariant &properties)
{
    Details details;
    const QVariantMap map = properties.toMap();
    for (auto property = map.cbegin(); property != map.cend(); ++property) {
        details.append({property.key(), property.value()});
    }
    return details;
}

QString TableModel::stateText(uint state)
{
    return tr("state %1").arg(state);
}

QString TableModel::durationText(const QVariant &microseconds)
{
    return microseconds.isValid() ? shownDuration(microseconds.toLongLong()) : QString();
}

void TableModel::refreshRow(int row)
{
    if (row >= 0) {
        Q_EMIT dataChanged(index(row, 0), index(row, columnCount() - 1));
    }
}
