// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_TABLE_MODEL_H
#define MONITOR_TABLE_MODEL_H

#include "display.h"

#include <Ostrel/LiveModel>

#include <QtCore/QAbstractTableModel>
#include <QtCore/QStringList>

// A live model as the window shows it: with the columns that a reader wants, in words, and with
// what this window knows besides.
class TableModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    // The value to sort by.
    static constexpr int SortRole = Qt::UserRole;

    TableModel(Ostrel::LiveModel *source, const QStringList &titles);

    Ostrel::LiveModel &source() const { return *m_source; }

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

    // Everything that is known about a row.
    virtual Details details(int row) const = 0;

    // How many characters a column usually has.
    virtual int usualLength(int column) const;

    // What the timeline has a lane for; null if a row is about nothing of that.
    virtual QString instance(int row) const;

    // The name that a request about the row takes.
    virtual QString name(int row) const = 0;

protected:
    virtual QVariant value(int row, int column) const = 0;
    virtual QString text(int column, const QVariant &value) const;

    // The rows have come or changed.
    virtual void rowsSeen(int first, int last);
    // The rows are about to go.
    virtual void rowsLeave(int first, int last);

    QVariant sourceData(int row, int role) const;

    // The columns that have something to show, and the entries of a map.
    Details columnDetails(int row) const;
    static Details propertyDetails(const QVariant &properties);

    // The service defines the numbers of states.
    static QString stateText(uint state);
    static QString durationText(const QVariant &microseconds);

    // What the columns show may have changed, if there is this row.
    void refreshRow(int row);
    // The source's own rows and changes, once the object is complete.
    void follow();

private:
    Ostrel::LiveModel *m_source;
    QStringList m_titles;
};

#endif
