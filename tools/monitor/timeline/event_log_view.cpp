// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "event_log_view.h"

#include <QtCore/QSaveFile>
#include <QtGui/QClipboard>
#include <QtGui/QGuiApplication>
#include <QtWidgets/QAction>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QScrollBar>

#include <algorithm>

EventLogView::EventLogView(QWidget *parent)
    : QTableView(parent)
{
    setModel(&m_log);
    setAccessibleName(QStringLiteral("Events"));
    setSelectionBehavior(SelectRows);
    setSelectionMode(ExtendedSelection);
    setAlternatingRowColors(true);
    setShowGrid(false);
    setWordWrap(false);
    // Instances of an application differ at the end.
    setTextElideMode(Qt::ElideMiddle);
    setTabKeyNavigation(false);
    verticalHeader()->hide();
    // The height of each row is known without asking for it.
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    horizontalHeader()->setStretchLastSection(true);
    horizontalHeader()->setHighlightSections(false);
    measure();

    auto *const copying = new QAction(QStringLiteral("&Copy"), this);
    copying->setShortcut(QKeySequence::Copy);
    copying->setShortcutContext(Qt::WidgetShortcut);
    connect(copying, &QAction::triggered, this, &EventLogView::copy);
    addAction(copying);
    setContextMenuPolicy(Qt::ActionsContextMenu);

    connect(&m_log, &EventLogModel::replaced, this, [this] { select(m_selected); });
    connect(&m_log, &QAbstractItemModel::modelReset, this, [this] { m_selected = {}; });
    QScrollBar *const bar = verticalScrollBar();
    connect(bar, &QScrollBar::valueChanged, this,
            [this, bar](int value) { m_isAtEnd = value == bar->maximum(); });
    connect(bar, &QScrollBar::rangeChanged, this, [this, bar](int, int last) {
        if (m_isAtEnd) {
            bar->setValue(last);
        }
    });
}

void EventLogView::select(EventId event)
{
    m_selected = event;
    const int row = m_log.rowOf(event);
    if (row >= 0) {
        const QModelIndex index = m_log.index(row, EventLogModel::Time);
        setCurrentIndex(index);
        scrollTo(index);
    } else {
        selectionModel()->clear();
    }
}

QString EventLogView::line(int row) const
{
    QStringList columns;
    for (int column = 0; column < EventLogModel::ColumnCount; ++column) {
        columns.append(m_log.index(row, column).data().toString());
    }
    return columns.join(QLatin1Char('\t')) + QLatin1Char('\n');
}

QString EventLogView::text()
{
    m_log.complete();
    QString text;
    for (int row = 0; row < m_log.rowCount(); ++row) {
        text += line(row);
    }
    return text;
}

QString EventLogView::selectedText() const
{
    QModelIndexList selected = selectionModel()->selectedRows();
    std::sort(selected.begin(), selected.end());
    QString text;
    for (const QModelIndex &each : qAsConst(selected)) {
        text += line(each.row());
    }
    return text;
}

Result<> EventLogView::save(const QString &file)
{
    m_log.complete();
    QSaveFile output(file);
    if (output.open(QIODevice::WriteOnly)) {
        for (int row = 0; row < m_log.rowCount(); ++row) {
            output.write(line(row).toUtf8());
        }
        if (output.commit()) {
            return {};
        }
    }
    return Failure(QStringLiteral("cannot write %1: %2").arg(file, output.errorString()));
}

void EventLogView::copy() const
{
    const QString text = selectedText();
    if (!text.isEmpty()) {
        QGuiApplication::clipboard()->setText(text);
    }
}

void EventLogView::currentChanged(const QModelIndex &current, const QModelIndex &previous)
{
    QTableView::currentChanged(current, previous);
    if (m_log.isReplacing()) {
        return;
    }
    const auto event = current.data(EventLogModel::IdRole).value<EventId>();
    if (event.isValid() && event != m_selected) {
        m_selected = event;
        Q_EMIT selected(event);
    }
}

void EventLogView::changeEvent(QEvent *event)
{
    QTableView::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        measure();
    }
}

void EventLogView::measure()
{
    const QFontMetrics metrics = fontMetrics();
    const int character = metrics.averageCharWidth();
    verticalHeader()->setMinimumSectionSize(metrics.height());
    verticalHeader()->setDefaultSectionSize(metrics.height() + metrics.height() / 3);
    setColumnWidth(EventLogModel::Time,
                   metrics.horizontalAdvance(QStringLiteral("00:00:00.000000")) + 3 * character);
    setColumnWidth(EventLogModel::Instance, 26 * character);
    setColumnWidth(EventLogModel::Event, 24 * character);
}
