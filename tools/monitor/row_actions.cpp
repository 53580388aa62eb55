// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "row_actions.h"

#include "debug_dialog.h"
#include "name_field.h"
#include "requests.h"
#include "tables.h"
#include "task_page.h"

#include <QtWidgets/QAction>
#include <QtWidgets/QInputDialog>

RowActions::RowActions(QWidget &window, const WindowActions &actions, Tables &tables,
                       NameField &name, Requests &requests)
    : QObject(&window)
    , m_window(window)
    , m_actions(actions)
    , m_tables(tables)
    , m_name(name)
    , m_requests(requests)
{
    const auto on = [this](QAction *action, void (RowActions::*slot)()) {
        connect(action, &QAction::triggered, this, slot);
    };
    on(actions.start, &RowActions::startRow);
    on(actions.stop, &RowActions::stopRow);
    on(actions.startDebug, &RowActions::openDebugDialog);
    on(actions.addTaskType, &RowActions::openTaskTypeDialog);
    connect(actions.removeTaskType, &QAction::triggered, this,
            [this] { m_tables.removeTaskType(m_tables.currentIndex()); });
    connect(actions.refresh, &QAction::triggered, &tables, &Tables::refreshLists);
}

void RowActions::update(bool isLive)
{
    const TablePage *page = m_tables.currentPage();
    const int row = page->currentRow();
    const TaskPage *tasks = m_tables.currentTaskPage();
    const QString name = row < 0 ? QString() : shown(page->table().name(row));
    const auto setText = [&name](QAction *action, const QString &text, const QString &withName) {
        // "&" marks the mnemonic.
        action->setText(name.isEmpty() ? text
                                       : withName.arg(QString(name).replace(QLatin1Char('&'),
                                                                            QLatin1String("&&"))));
    };
    setText(m_actions.start, tr("&Start"), tr("&Start %1"));
    setText(m_actions.stop, tasks != nullptr ? tr("&Stop") : tr("&Terminate"),
            tasks != nullptr ? tr("&Stop %1") : tr("&Terminate %1"));
    m_actions.stop->setIconText(tasks != nullptr ? tr("Stop") : tr("Terminate"));

    const bool hasRow = row >= 0;
    const bool hasInvoker = tasks != nullptr && tasks->invoker() != nullptr;
    m_actions.start->setEnabled(isLive && hasRow && (tasks == nullptr || hasInvoker));
    m_actions.stop->setEnabled(isLive && hasRow && (m_tables.showsApplications() || hasInvoker));
    m_actions.startDebug->setEnabled(isLive && tasks == nullptr);
    m_actions.removeTaskType->setEnabled(isLive && tasks != nullptr);
    m_actions.addTaskType->setEnabled(isLive);
    m_actions.enterName->setEnabled(isLive);
    m_actions.refresh->setEnabled(isLive);
}

void RowActions::startNamed()
{
    if (m_name.name().isEmpty()) {
        m_name.setFocus();
        return;
    }
    m_name.remember(m_name.name());
    m_requests.start(m_name.name());
}

void RowActions::startRow()
{
    const TablePage *page = m_tables.currentPage();
    const TaskPage *tasks = m_tables.currentTaskPage();
    const QString name = page->table().name(page->currentRow());
    if (tasks != nullptr) {
        m_requests.startTask(tasks->invoker(), name);
    } else {
        m_requests.start(name);
    }
}

void RowActions::stopRow()
{
    const TablePage *page = m_tables.currentPage();
    const TaskPage *tasks = m_tables.currentTaskPage();
    const int row = page->currentRow();
    if (tasks != nullptr) {
        m_requests.stopTask(tasks->invoker(), page->table().name(row));
    } else {
        m_requests.terminate(page->table().name(row), page->table().instance(row));
    }
}

void RowActions::openDebugDialog()
{
    const TablePage *page = m_tables.currentPage();
    const int row = page->currentRow();
    auto *dialog = new DebugDialog(row >= 0 ? page->table().name(row) : m_name.name(), &m_window);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::accepted, this, [this, dialog] {
        m_name.remember(dialog->application());
        m_requests.startDebug(dialog->application(), dialog->params());
    });
    dialog->open();
}

void RowActions::openTaskTypeDialog()
{
    auto *dialog = new QInputDialog(&m_window);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(tr("Tasks of a type"));
    dialog->setLabelText(tr("&Type of the tasks:"));
    connect(dialog, &QInputDialog::textValueSelected, this, [this](const QString &text) {
        if (!text.trimmed().isEmpty()) {
            m_tables.addTaskType(text.trimmed());
        }
    });
    dialog->open();
}
