// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_LIVE_MODEL_H
#define OSTREL_LIVE_MODEL_H

#include <Ostrel/error.h>
#include <Ostrel/export.h>

#include <QtCore/QAbstractTableModel>
#include <QtCore/QByteArray>
#include <QtCore/QHash>
#include <QtCore/QVariant>

#include <memory>

namespace Ostrel
{

class LiveModelPrivate;

/**
 * What the models of this library have in common: a status, and rows that follow the service.
 *
 * A model has a column for each value of a row, for the views of Qt Widgets, and a role for each
 * value, for QML and for code. Each column returns each role. A column's Qt::DisplayRole is its own
 * value: a map as JSON, a time in the local time zone, everything else as it is, so that a
 * QSortFilterProxyModel sorts numbers as numbers.
 *
 * Rows keep their order. A row that comes is added at the end. A change of the service inserts,
 * removes and changes the rows that it affects. The model is never reset, so that selections and
 * persistent indexes stay.
 *
 * No function blocks. A model belongs to the thread that made it, and needs that thread's event
 * loop. A slot may delete the model or the object that the model follows. As with every model of
 * Qt, a slot of rowsAboutToBeInserted() or rowsAboutToBeRemoved() must not delete the model. A slot
 * may also run an event loop of its own. Until it returns, no model that follows the same object
 * changes; so open a dialog with open(), and not with exec().
 */
class OSTREL_EXPORT LiveModel : public QAbstractTableModel
{
    Q_OBJECT
    /** The status of the model. */
    Q_PROPERTY(Status status READ status NOTIFY statusChanged)
    /** The reason for the status Failed. */
    Q_PROPERTY(Ostrel::Error error READ error NOTIFY statusChanged)
    /** The number of rows. */
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    /** What the rows are worth. */
    enum Status {
        /** The model waits for a list from the service. */
        Loading,
        /** The rows are what the service has last announced. */
        Ready,
        /** The service does not run. There are no rows. */
        ServiceMissing,
        /** The last list failed; error() says why. The model keeps its rows if the service runs. */
        Failed,
    };
    Q_ENUM(Status)

    ~LiveModel() override;

    /** Returns the status. */
    Status status() const;

    /** Returns why the model has failed. It is no error in every other status. */
    Error error() const;

    /** Returns the number of rows. */
    int count() const;

    /** Returns the number of rows, or 0 if @p parent is a row. */
    int rowCount(const QModelIndex &parent = QModelIndex()) const override;

    /** Returns the number of columns, or 0 if @p parent is a row. */
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;

    /**
     * Returns a value of a row.
     *
     * @param index  the row and the column. For an index that does not exist, the result is an
     *               invalid QVariant.
     * @param role   Qt::DisplayRole or one of the model's own roles. Every other role gives an
     *               invalid QVariant.
     */
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

    /**
     * Returns the title of a column, translated in the context "Ostrel::LiveModel".
     *
     * @param section      the column; or the row, whose title is its number, from 1.
     * @param orientation  Qt::Horizontal for columns.
     * @param role         Qt::DisplayRole. Every other role gives an invalid QVariant.
     */
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

    /** Returns the names of the model's own roles, as QML uses them. */
    QHash<int, QByteArray> roleNames() const override;

Q_SIGNALS:
    /**
     * Emitted when status() or error() has changed. The rows have changed before, if they change
     * with the status.
     */
    void statusChanged();

    /** Emitted when count() has changed, after the signals of the rows that came or went. */
    void countChanged();

private:
    Q_DISABLE_COPY(LiveModel)

    friend class LiveModelPrivate;
    friend class ApplicationsModel;
    friend class ServicesModel;
    friend class TasksModel;

    LiveModel(std::unique_ptr<LiveModelPrivate> d, QObject *parent);

    const std::unique_ptr<LiveModelPrivate> d;
};

} // namespace Ostrel

#endif
