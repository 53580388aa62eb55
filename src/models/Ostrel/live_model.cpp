// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "Ostrel/live_model.h"
#include "Ostrel/live_model_p.h"

#include <Ostrel/Control>

#include <QtCore/QDateTime>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <algorithm>
#include <utility>

namespace Ostrel
{

namespace
{

QVariant displayed(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::QVariantMap: {
        const QVariantMap map = value.toMap();
        return map.isEmpty()
            ? QString()
            : QString::fromUtf8(
                QJsonDocument(QJsonObject::fromVariantMap(map)).toJson(QJsonDocument::Compact));
    }
    case QMetaType::QDateTime:
        return value.toDateTime().toLocalTime();
    default:
        return value;
    }
}

} // namespace

LiveModelPrivate::LiveModelPrivate(std::vector<Column> columns)
    : m_columns(std::move(columns))
{
}

LiveModelPrivate::~LiveModelPrivate() = default;

void LiveModelPrivate::setStatus(LiveModel::Status status, const Error &error)
{
    const bool same = status == m_status && error.code() == m_error.code()
        && error.message() == m_error.message() && error.busErrorName() == m_error.busErrorName();
    if (!same) {
        m_status = status;
        m_error = error;
        Q_EMIT q->statusChanged();
    }
}

void LiveModelPrivate::beginInsertRows(int first, int last)
{
    q->beginInsertRows(QModelIndex(), first, last);
}

void LiveModelPrivate::endInsertRows()
{
    q->endInsertRows();
}

void LiveModelPrivate::beginRemoveRows(int first, int last)
{
    q->beginRemoveRows(QModelIndex(), first, last);
}

void LiveModelPrivate::endRemoveRows()
{
    q->endRemoveRows();
}

void LiveModelPrivate::announceChange(int first, int last, quint32 columns)
{
    QVector<int> roles{Qt::DisplayRole};
    const int count = static_cast<int>(m_columns.size());
    for (int column = 0; column < count; ++column) {
        if ((columns & bitOf(column)) != 0) {
            roles.append(Qt::UserRole + column);
        }
    }
    // Every column returns the roles of all.
    Q_EMIT q->dataChanged(q->index(first, 0), q->index(last, count - 1), roles);
}

void LiveModelPrivate::announceCount()
{
    Q_EMIT q->countChanged();
}

QVariantMap plainProperties(const QVariantMap &properties)
{
    const bool plain =
        std::all_of(properties.cbegin(), properties.cend(),
                    [](const QVariant &value) { return value.userType() < QMetaType::User; });
    return plain ? properties : Control::toPlainValue(properties).toMap();
}

LiveModel::LiveModel(std::unique_ptr<LiveModelPrivate> d, QObject *parent)
    : QAbstractTableModel(parent)
    , d(std::move(d))
{
    this->d->setModel(this);
}

LiveModel::~LiveModel() = default;

LiveModel::Status LiveModel::status() const
{
    return d->status();
}

Error LiveModel::error() const
{
    return d->error();
}

int LiveModel::count() const
{
    return d->size();
}

int LiveModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : d->size();
}

int LiveModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(d->columns().size());
}

QVariant LiveModel::data(const QModelIndex &index, int role) const
{
    if (!hasIndex(index.row(), index.column())) {
        return {};
    }
    if (role == Qt::DisplayRole) {
        return displayed(d->value(index.row(), index.column()));
    }
    const int column = role - Qt::UserRole;
    return column >= 0 && column < columnCount() ? d->value(index.row(), column) : QVariant();
}

QVariant LiveModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role != Qt::DisplayRole || orientation != Qt::Horizontal) {
        return QAbstractTableModel::headerData(section, orientation, role);
    }
    if (section < 0 || section >= columnCount()) {
        return {};
    }
    return tr(d->columns().at(static_cast<std::size_t>(section)).title);
}

QHash<int, QByteArray> LiveModel::roleNames() const
{
    QHash<int, QByteArray> names;
    int role = Qt::UserRole;
    for (const Column &column : d->columns()) {
        names.insert(role++, column.role);
    }
    return names;
}

} // namespace Ostrel
