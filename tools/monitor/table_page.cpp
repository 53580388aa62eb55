// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "table_page.h"

#include <QtGui/QPainter>
#include <QtWidgets/QHeaderView>

TablePage::TablePage(TableModel *model, const QString &name, const QString &nothing)
    : m_model(model)
    , m_nothing(nothing)
{
    m_model->setParent(this);
    m_sorted.setSourceModel(m_model);
    m_sorted.setSortRole(TableModel::SortRole);
    m_sorted.setSortCaseSensitivity(Qt::CaseInsensitive);
    m_sorted.setFilterCaseSensitivity(Qt::CaseInsensitive);
    m_sorted.setFilterKeyColumn(-1);
    setModel(&m_sorted);
    setSortingEnabled(true);
    sortByColumn(0, Qt::AscendingOrder);

    setAccessibleName(name);
    setSelectionBehavior(SelectRows);
    setSelectionMode(SingleSelection);
    setAlternatingRowColors(true);
    setShowGrid(false);
    setWordWrap(false);
    // Instances of an application differ at the end.
    setTextElideMode(Qt::ElideMiddle);
    setTabKeyNavigation(false);
    setContextMenuPolicy(Qt::ActionsContextMenu);
    verticalHeader()->hide();
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 6);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setSectionsMovable(true);
    horizontalHeader()->setStretchLastSection(true);
    horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    const int character = fontMetrics().averageCharWidth();
    for (int column = 0; column < m_model->columnCount(); ++column) {
        setColumnWidth(column, character * m_model->usualLength(column));
    }

    const auto repaint = [this] { viewport()->update(); };
    connect(&m_model->source(), &Ostrel::LiveModel::statusChanged, this, repaint);
    connect(&m_sorted, &QAbstractItemModel::rowsInserted, this, repaint);
    connect(&m_sorted, &QAbstractItemModel::rowsRemoved, this, repaint);
    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &TablePage::currentRowChanged);
    connect(m_model, &QAbstractItemModel::dataChanged, this,
            [this](const QModelIndex &first, const QModelIndex &last) {
                const int row = currentRow();
                if (row >= first.row() && row <= last.row()) {
                    Q_EMIT currentRowChanged();
                }
            });
    connect(this, &QTableView::doubleClicked, this, &TablePage::activatedByUser);
}

TablePage::~TablePage()
{
    destroyModel();
}

void TablePage::destroyModel()
{
    // Those who listen may be half destroyed.
    disconnect(this, nullptr, nullptr, nullptr);
    delete m_model;
}

int TablePage::currentRow() const
{
    const QModelIndexList rows = selectionModel()->selectedRows();
    return rows.isEmpty() ? -1 : m_sorted.mapToSource(rows.constFirst()).row();
}

void TablePage::select(int row)
{
    if (row < 0) {
        clearSelection();
        return;
    }
    const QModelIndex index = m_sorted.mapFromSource(m_model->index(row, 0));
    // The filter may hide it.
    if (index.isValid()) {
        setCurrentIndex(index);
        selectRow(index.row());
    } else {
        clearSelection();
    }
}

void TablePage::setFilter(const QString &text)
{
    m_sorted.setFilterFixedString(text);
}

QString TablePage::emptyText() const
{
    if (m_sorted.rowCount() > 0) {
        return {};
    }
    if (m_model->rowCount() > 0) {
        return tr("The filter hides all rows");
    }
    switch (m_model->source().status()) {
    case Ostrel::LiveModel::Loading:
        return tr("Waiting for the service");
    case Ostrel::LiveModel::ServiceMissing:
        return tr("The service does not run");
    case Ostrel::LiveModel::Failed:
        return tr("No list: %1").arg(shown(m_model->source().error().message()));
    case Ostrel::LiveModel::Ready:
        break;
    }
    return m_nothing;
}

void TablePage::focusInEvent(QFocusEvent *event)
{
    QTableView::focusInEvent(event);
    // The keyboard comes to a current row, which is not selected.
    if (currentRow() < 0 && currentIndex().isValid()) {
        selectRow(currentIndex().row());
    }
}

// Otherwise, another row is selected instead, and what the user does next is done to that.
void TablePage::rowsAboutToBeRemoved(const QModelIndex &parent, int first, int last)
{
    const int current = currentIndex().row();
    if (current >= first && current <= last) {
        selectionModel()->clear();
    }
    QTableView::rowsAboutToBeRemoved(parent, first, last);
}

void TablePage::paintEvent(QPaintEvent *event)
{
    QTableView::paintEvent(event);
    const QString text = emptyText();
    if (!text.isEmpty()) {
        QPainter painter(viewport());
        painter.setPen(palette().color(QPalette::Disabled, QPalette::Text));
        painter.drawText(viewport()->rect(), Qt::AlignCenter | Qt::TextWordWrap, text);
    }
}
