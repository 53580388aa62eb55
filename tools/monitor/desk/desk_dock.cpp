// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "desk/desk_dock.h"

#include "connection.h"
#include "desk/calls_page.h"
#include "desk/faults_page.h"
#include "desk/instance_field.h"
#include "desk/service_page.h"
#include "desk/signal_page.h"
#include "notice.h"

#include <QtGui/QCloseEvent>
#include <QtWidgets/QAction>
#include <QtWidgets/QTabBar>
#include <QtWidgets/QTabWidget>
#include <QtWidgets/QVBoxLayout>

DeskDock::DeskDock(Connection &connection, QAction *toggle)
    : QDockWidget(tr("Fault desk"))
    , m_toggle(toggle)
    , m_notice(new Notice)
    , m_pages(new QTabWidget)
    , m_service(new ServicePage(m_calls))
{
    setObjectName(QStringLiteral("faultDesk"));
    setAccessibleName(windowTitle());
    m_pages->setDocumentMode(true);
    m_pages->setAccessibleName(windowTitle());
    m_pages->tabBar()->setAccessibleName(tr("Pages of the fault desk"));
    m_pages->addTab(new FaultsPage(m_calls), tr("Faults"));
    m_pages->addTab(new SignalPage(m_calls), tr("Signal"));
    m_pages->addTab(m_service, tr("More"));
    m_pages->addTab(new CallsPage(m_calls), tr("Calls"));
    auto *content = new QWidget;
    auto *layout = new QVBoxLayout(content);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_notice);
    layout->addWidget(m_pages, 1);
    setWidget(content);

    connect(&m_calls, &DeskCalls::done, this, &DeskDock::done);
    connect(&m_calls, &DeskCalls::failed, this, &DeskDock::failed);
    connect(&m_calls, &DeskCalls::stateChanged, this, &DeskDock::showIfWanted);
    connect(toggle, &QAction::toggled, this, &DeskDock::showIfWanted);
    connect(&connection, &Connection::stateChanged, this, [this, &connection] {
        if (connection.state() == Connection::BusEnded) {
            m_calls.lose();
        }
    });
    showIfWanted();
}

void DeskDock::setInstances(const QAbstractItemModel *model, int column)
{
    m_service->instance().setSource(model, column);
}

void DeskDock::setInstance(const QString &instance)
{
    if (!instance.isEmpty()) {
        m_service->instance().setEditText(instance);
    }
}

void DeskDock::showIfWanted()
{
    const DeskCalls::State state = m_calls.state();
    const bool isThere = state == DeskCalls::Ready || state == DeskCalls::Gone;
    m_toggle->setVisible(isThere);
    m_notice->setText(state == DeskCalls::Gone
                          ? tr("The service has gone, and with it what was arranged.")
                          : QString());
    m_pages->setEnabled(state == DeskCalls::Ready);
    setVisible(isThere && m_toggle->isChecked());
}

void DeskDock::closeEvent(QCloseEvent *event)
{
    // Its own button, not the end of the window.
    m_toggle->setChecked(false);
    event->accept();
}
