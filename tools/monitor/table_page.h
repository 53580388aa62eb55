// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_TABLE_PAGE_H
#define MONITOR_TABLE_PAGE_H

#include "table_model.h"

#include <QtCore/QPointer>
#include <QtCore/QSortFilterProxyModel>
#include <QtWidgets/QTableView>

// A table of the window, sorted and filtered, which says why it is empty.
class TablePage : public QTableView
{
    Q_OBJECT

public:
    // The page owns the model. nothing: what it says if the service lists nothing.
    TablePage(TableModel *model, const QString &name, const QString &nothing);
    ~TablePage() override;

    TableModel &table() const { return *m_model; }

    // The row of the model that is selected, or -1.
    int currentRow() const;
    void select(int row);

    void setFilter(const QString &text);

    // What the empty table says.
    QString emptyText() const;

Q_SIGNALS:
    // Another row is selected, or it has changed.
    void currentRowChanged();
    void activatedByUser();

protected:
    // Called by a destructor: the model goes, and nobody hears of that.
    void destroyModel();

    void focusInEvent(QFocusEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void rowsAboutToBeRemoved(const QModelIndex &parent, int first, int last) override;

private:
    QPointer<TableModel> m_model;
    QSortFilterProxyModel m_sorted;
    QString m_nothing;
};

#endif
