// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_TABLES_H
#define MONITOR_TABLES_H

#include "table_page.h"

#include <QtWidgets/QTabWidget>

class ApplicationsTable;
class Connection;
class QSettings;
class StartTimes;
class TaskPage;
class QToolButton;

// The tables of what runs: a tab each.
class Tables : public QTabWidget
{
    Q_OBJECT

public:
    Tables(Connection &connection, const StartTimes &times);

    TablePage *currentPage() const;
    // Null unless tasks are in front.
    TaskPage *currentTaskPage() const;
    bool showsApplications() const { return currentIndex() == 0; }

    // Shows the tab of the type, and adds it if there is none.
    void addTaskType(const QString &type);
    void removeTaskType(int tab);
    QStringList taskTypes() const;

    // Shows the row of the instance, if it runs and the filter shows it; otherwise selects none.
    void selectInstance(const QString &instance);

    ApplicationsTable &applications() const { return *m_applications; }

    void setFilter(const QString &text);
    // The actions of the rows' menus.
    void setRowActions(const QList<QAction *> &actions);
    // Whether the service has replied to all that the tables wait for.
    bool areListed() const;
    // Lists everything again.
    void refreshLists();

    void save(QSettings &settings) const;
    void restore(QSettings &settings);

Q_SIGNALS:
    // Another row is in front, or it has changed.
    void currentRowChanged();
    void rowActivated();
    void taskTypesChanged();

private:
    TablePage *page(int tab) const;
    void add(TablePage *page, const QString &title);
    // Returns a new button that removes the tab of the page.
    QToolButton *closeButton(TablePage *page);

    Connection &m_connection;
    const StartTimes &m_times;
    ApplicationsTable *m_applications;
    QString m_filter;
    QList<QAction *> m_rowActions;
};

#endif
