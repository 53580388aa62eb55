// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_LIVE_MODEL_P_H
#define OSTREL_LIVE_MODEL_P_H

#include "Ostrel/live_model.h"

#include <QtCore/QVariantMap>

#include <vector>

namespace Ostrel
{

// A column: the name of its role, and its title before the translation. The role of the column N is
// Qt::UserRole + N.
struct Column
{
    const char *role;
    const char *title;
};

inline quint32 bitOf(int column)
{
    return 1U << static_cast<unsigned>(column);
}

// Compares a value of a row with a newer one, and takes that over. Returns the bit of the column if
// they differ.
template <typename Value> quint32 takeOver(Value &value, const Value &newer, int column)
{
    if (value == newer) {
        return 0;
    }
    value = newer;
    return bitOf(column);
}

// The rows of a model and its status, and all that they have its base class say.
class LiveModelPrivate
{
public:
    explicit LiveModelPrivate(std::vector<Column> columns);
    virtual ~LiveModelPrivate();

    virtual int size() const = 0;
    virtual QVariant value(int row, int column) const = 0;

    const std::vector<Column> &columns() const { return m_columns; }
    LiveModel::Status status() const { return m_status; }
    const Error &error() const { return m_error; }
    void setModel(LiveModel *model) { q = model; }

protected:
    LiveModel *model() const { return q; }
    // The model may have been deleted when the ones that emit return.
    void setStatus(LiveModel::Status status, const Error &error);
    void beginInsertRows(int first, int last);
    void endInsertRows();
    void beginRemoveRows(int first, int last);
    void endRemoveRows();
    // Each bit of columns stands for a column.
    void announceChange(int first, int last, quint32 columns);
    void announceCount();

private:
    const std::vector<Column> m_columns;
    LiveModel *q = nullptr;
    LiveModel::Status m_status = LiveModel::Loading;
    Error m_error;
};

// The properties of a record without D-Bus types, which can be compared and shown.
QVariantMap plainProperties(const QVariantMap &properties);

} // namespace Ostrel

#endif
