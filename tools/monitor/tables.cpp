// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tables.h"

#include "applications_table.h"
#include "connection.h"
#include "services_table.h"
#include "task_page.h"

#include <Ostrel/ApplicationsModel>

#include <QtCore/QSettings>
#include <QtCore/QUrl>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QTabBar>
#include <QtWidgets/QToolButton>

namespace
{

// Before the tabs of tasks.
constexpr int fixedTabs = 2;

// A tab takes "&" for the mark of a mnemonic.
QString tabTitle(const QString &text)
{
    return shown(text).replace(QLatin1Char('&'), QLatin1String("&&"));
}

QString columnsKey(const TablePage *page)
{
    // A key of settings may hold anything, but "/" makes groups.
    const auto *tasks = qobject_cast<const TaskPage *>(page);
    return QStringLiteral("columns/")
        + (tasks != nullptr ? QStringLiteral("tasks-%1")
                                  .arg(QString::fromLatin1(QUrl::toPercentEncoding(tasks->type())))
                            : QString::fromLatin1(page->table().metaObject()->className()));
}

} // namespace

Tables::Tables(Connection &connection, const StartTimes &times)
    : m_connection(connection)
    , m_times(times)
    , m_applications(new ApplicationsTable(connection.control(), times))
{
    setDocumentMode(true);
    setAccessibleName(tr("What runs"));
    add(new TablePage(m_applications, tr("Running applications"), tr("No application runs")),
        tr("Applications"));
    add(new TablePage(new ServicesTable(connection.control()), tr("Running services"),
                      tr("No service of an application runs")),
        tr("Services"));
    connect(this, &QTabWidget::currentChanged, this, &Tables::currentRowChanged);
}

TablePage *Tables::page(int tab) const
{
    return static_cast<TablePage *>(widget(tab));
}

TablePage *Tables::currentPage() const
{
    return page(currentIndex());
}

TaskPage *Tables::currentTaskPage() const
{
    return qobject_cast<TaskPage *>(currentWidget());
}

void Tables::add(TablePage *page, const QString &title)
{
    page->setFilter(m_filter);
    page->addActions(m_rowActions);
    const int tab = addTab(page, tabTitle(title));
    if (tab >= fixedTabs) {
        tabBar()->setTabButton(tab, QTabBar::RightSide, closeButton(page));
    }
    const auto whenInFront = [this, page](void (Tables::*signal)()) {
        return [this, page, signal] {
            if (page == currentPage()) {
                Q_EMIT(this->*signal)();
            }
        };
    };
    connect(page, &TablePage::currentRowChanged, this, whenInFront(&Tables::currentRowChanged));
    connect(page, &TablePage::activatedByUser, this, whenInFront(&Tables::rowActivated));
}

QToolButton *Tables::closeButton(TablePage *page)
{
    // Without an icon theme, setTabsClosable() draws a picture that is dark on dark.
    auto *button = new QToolButton;
    button->setText(QString(QChar(0xd7)));
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::NoFocus); // The menu has the action.
    button->setToolTip(tr("Close"));
    button->setAccessibleName(tr("Close"));
    connect(button, &QToolButton::clicked, this, [this, page] { removeTaskType(indexOf(page)); });
    return button;
}

void Tables::addTaskType(const QString &type)
{
    const int known = taskTypes().indexOf(type);
    if (known >= 0) {
        setCurrentIndex(fixedTabs + known);
        return;
    }
    add(new TaskPage(m_connection, type, m_times), tr("Tasks: %1").arg(type));
    setCurrentIndex(count() - 1);
    Q_EMIT taskTypesChanged();
}

void Tables::removeTaskType(int tab)
{
    if (tab >= fixedTabs) {
        QWidget *removed = widget(tab);
        removeTab(tab);
        removed->deleteLater();
        Q_EMIT taskTypesChanged();
    }
}

QStringList Tables::taskTypes() const
{
    QStringList types;
    for (int tab = fixedTabs; tab < count(); ++tab) {
        types.append(static_cast<TaskPage *>(widget(tab))->type());
    }
    return types;
}

void Tables::selectInstance(const QString &instance)
{
    const int row = m_applications->rowOf(instance);
    if (row >= 0) {
        setCurrentIndex(0);
    }
    page(0)->select(row);
}

void Tables::setFilter(const QString &text)
{
    m_filter = text;
    for (int tab = 0; tab < count(); ++tab) {
        page(tab)->setFilter(text);
    }
}

void Tables::setRowActions(const QList<QAction *> &actions)
{
    m_rowActions = actions;
    for (int tab = 0; tab < count(); ++tab) {
        page(tab)->addActions(actions);
    }
}

bool Tables::areListed() const
{
    bool areListed = true;
    for (int tab = 0; tab < count(); ++tab) {
        areListed = areListed && page(tab)->table().source().status() != Ostrel::LiveModel::Loading;
    }
    return areListed;
}

void Tables::refreshLists()
{
    // All models of one Control share their lists.
    static_cast<Ostrel::ApplicationsModel &>(m_applications->source()).refresh();
}

void Tables::save(QSettings &settings) const
{
    settings.setValue(QStringLiteral("taskTypes"), taskTypes());
    settings.setValue(QStringLiteral("tab"), currentIndex());
    for (int tab = 0; tab < count(); ++tab) {
        settings.setValue(columnsKey(page(tab)), page(tab)->horizontalHeader()->saveState());
    }
}

void Tables::restore(QSettings &settings)
{
    const QStringList types = settings.value(QStringLiteral("taskTypes")).toStringList();
    for (const QString &type : types) {
        addTaskType(type);
    }
    setCurrentIndex(settings.value(QStringLiteral("tab")).toInt());
    for (int tab = 0; tab < count(); ++tab) {
        page(tab)->horizontalHeader()->restoreState(
            settings.value(columnsKey(page(tab))).toByteArray());
    }
}
