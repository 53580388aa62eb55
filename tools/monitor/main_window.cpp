// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "main_window.h"

#include "applications_table.h"
#include "calls_monitor.h"
#include "desk/desk_dock.h"
#include "details_panel.h"
#include "file_actions.h"
#include "message_bar.h"
#include "name_field.h"
#include "notice.h"
#include "row_actions.h"
#include "tables.h"

#include <QtCore/QScopedValueRollback>
#include <QtCore/QSettings>
#include <QtGui/QCloseEvent>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMenuBar>
#include <QtWidgets/QProgressBar>
#include <QtWidgets/QSplitter>
#include <QtWidgets/QStatusBar>
#include <QtWidgets/QToolBar>
#include <QtWidgets/QToolButton>
#include <QtWidgets/QVBoxLayout>

MainWindow::MainWindow(const BusChoice &bus)
    : m_connection(bus)
    , m_requests(m_connection.control(), m_startTimes)
    , m_monitor(std::make_unique<CallsMonitor>())
    , m_actions(this)
    , m_files(m_connection.control())
    , m_views(m_files, m_actions)
    , m_notice(new Notice(tr("Connect again")))
    , m_messages(new MessageBar)
    , m_fileActions(new FileActions(*this, m_actions, m_files, *m_views.log(), *m_messages))
    , m_name(new NameField)
    , m_start(new QToolButton)
    , m_filter(new QLineEdit)
    , m_tables(new Tables(m_connection, m_startTimes))
    , m_rowActions(new RowActions(*this, m_actions, *m_tables, *m_name, m_requests))
    , m_details(new DetailsPanel)
    , m_desk(new DeskDock(m_connection, m_actions.faultDesk))
    , m_columns(new QSplitter(Qt::Horizontal))
    , m_rows(new QSplitter(Qt::Vertical))
    , m_state(new QLabel)
    , m_calls(new QLabel)
{
    build();
    connectActions();
    connect(&m_connection, &Connection::stateChanged, this, &MainWindow::showConnection);
    connect(&m_requests, &Requests::failed, this, &MainWindow::showFailure);
    connect(&m_requests, &Requests::done, this, &MainWindow::showDone);
    connect(m_desk, &DeskDock::failed, this,
            [this](const QString &text) { m_messages->add(text); });
    connect(m_desk, &DeskDock::done, this, &MainWindow::showDone);
    connect(m_fileActions, &FileActions::done, this, &MainWindow::showDone);
    connect(m_tables, &Tables::currentRowChanged, this, &MainWindow::showRow);
    connect(&m_views, &LinkedViews::instanceSelected, this, &MainWindow::selectInstance);
    connect(&m_files, &TraceFiles::changed, this, [this] {
        showSource();
        showConnection();
    });

    const Result<> monitors = m_monitor->open();
    if (monitors) {
        m_startTimes.add(*m_monitor);
        m_files.add(*m_monitor);
        m_calls->setText(tr("Calls: seen"));
        m_calls->setToolTip(tr("The bus may be monitored: all calls to the service are shown"));
    } else {
        m_calls->setText(tr("Calls: not seen"));
        m_calls->setToolTip(shown(monitors.error()).toHtmlEscaped());
    }
    connect(m_monitor.get(), &CallsMonitor::lost, this, [this] {
        m_calls->setText(tr("Calls: not seen any more"));
        m_calls->setToolTip(tr("The bus has ended the monitor's connection"));
    });
    restore();
    showConnection();
    showRow();
    showSource();
}

MainWindow::~MainWindow()
{
    // The models go before what they follow, and the window hears nothing more of them.
    disconnect(m_tables, nullptr, this, nullptr);
    delete m_desk;
    delete takeCentralWidget();
}

void MainWindow::build()
{
    m_actions.fill(menuBar());
    buildToolBar();
    m_tables->setRowActions(m_actions.ofRow());

    m_columns->addWidget(m_tables);
    m_columns->addWidget(m_details);
    m_columns->setStretchFactor(0, 3);
    m_columns->setStretchFactor(1, 1);
    m_columns->setCollapsible(0, false);
    m_rows->addWidget(m_columns);
    m_rows->addWidget(m_views.timeline());
    m_rows->addWidget(m_views.log());
    m_rows->setChildrenCollapsible(false);

    auto *content = new QWidget;
    auto *layout = new QVBoxLayout(content);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->setSpacing(4);
    layout->addWidget(m_notice);
    layout->addWidget(m_fileActions->notice());
    layout->addWidget(m_messages);
    layout->addWidget(m_rows, 1);
    setCentralWidget(content);
    m_desk->setInstances(&m_tables->applications(), ApplicationsTable::InstanceColumn);
    addDockWidget(Qt::RightDockWidgetArea, m_desk);

    m_state->setTextFormat(Qt::PlainText);
    m_calls->setTextFormat(Qt::PlainText);
    statusBar()->addWidget(m_state, 1);
    m_state->setMinimumWidth(1);
    statusBar()->addPermanentWidget(m_fileActions->progress());
    statusBar()->addPermanentWidget(m_fileActions->recording());
    statusBar()->addPermanentWidget(m_calls);
}

void MainWindow::buildToolBar()
{
    QToolBar *bar = addToolBar(tr("Tools"));
    bar->setObjectName(QStringLiteral("tools"));
    bar->setMovable(false);
    bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    bar->addWidget(m_name);
    m_start->setText(tr("Start"));
    m_start->setIcon(m_actions.start->icon());
    m_start->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_start->setToolTip(tr("Start the application of this name"));
    m_start->setFocusPolicy(Qt::TabFocus);
    connect(m_start, &QToolButton::clicked, m_rowActions, &RowActions::startNamed);
    bar->addWidget(m_start);
    bar->addSeparator();
    bar->addAction(m_actions.stop);
    auto *gap = new QWidget;
    gap->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    bar->addWidget(gap);
    m_filter->setClearButtonEnabled(true);
    m_filter->setPlaceholderText(tr("Filter"));
    m_filter->setAccessibleName(tr("Filter"));
    m_filter->setToolTip(tr("Show only what contains this string"));
    const int characters = 20;
    m_filter->setMaximumWidth(characters * fontMetrics().averageCharWidth() * 2);
    bar->addWidget(m_filter);
    bar->addAction(m_actions.faultDesk);
}

void MainWindow::connectActions()
{
    connect(m_actions.quit, &QAction::triggered, this, &QWidget::close);
    connect(m_actions.enterName, &QAction::triggered, this, [this] {
        m_name->setFocus(Qt::ShortcutFocusReason);
        m_name->lineEdit()->selectAll();
    });
    connect(m_actions.filter, &QAction::triggered, this, [this] {
        m_filter->setFocus(Qt::ShortcutFocusReason);
        m_filter->selectAll();
    });
    connect(m_actions.details, &QAction::toggled, m_details, &QWidget::setVisible);
    connect(m_actions.dismissErrors, &QAction::triggered, m_messages, &MessageBar::dismissAll);
    const auto restart = [this] {
        save();
        Q_EMIT restartWanted();
    };
    connect(m_actions.connectAgain, &QAction::triggered, this, restart);
    connect(m_notice, &Notice::clicked, this, restart);
    connect(m_messages, &MessageBar::changed, this,
            [this] { m_actions.dismissErrors->setEnabled(!m_messages->messages().isEmpty()); });
    m_actions.dismissErrors->setEnabled(false);
    connect(m_name, &NameField::entered, m_rowActions, &RowActions::startNamed);
    connect(m_filter, &QLineEdit::textChanged, m_tables, &Tables::setFilter);
    connect(m_filter, &QLineEdit::textChanged, &m_views, &LinkedViews::setFilter);
    connect(&m_tables->applications(), &QAbstractItemModel::rowsInserted, this,
            [this](const QModelIndex & /*parent*/, int first, int last) {
                for (int row = first; row <= last; ++row) {
                    m_name->remember(m_tables->applications().name(row));
                }
            });
}

void MainWindow::showConnection()
{
    const Connection::State state = m_connection.state();
    const bool isBusMissing = state == Connection::NoBus || state == Connection::BusEnded;
    m_notice->setButtonVisible(isBusMissing);
    m_notice->setText(state == Connection::Ready ? QString() : m_connection.text(),
                      isBusMissing && !m_files.recordFile().isNull()
                          ? tr("%1. \"Connect again\" ends the recording to %2.")
                                .arg(m_connection.advice(), shownName(m_files.recordFile()))
                          : m_connection.advice());
    m_actions.connectAgain->setEnabled(isBusMissing);
    m_state->setText(shown(m_connection.text()));
    if (state != Connection::Ready) {
        m_startTimes.clear();
    }
}

void MainWindow::showRow()
{
    TablePage *page = m_tables->currentPage();
    const int row = page->currentRow();
    m_details->show(row < 0 ? Details() : page->table().details(row));
    if (row >= 0 && m_tables->showsApplications()) {
        m_desk->setInstance(page->table().instance(row));
    }

    m_rowActions->update(m_files.isLive());

    const QString instance = row < 0 ? QString() : page->table().instance(row);
    const bool isOther = std::exchange(m_instance, instance) != instance;
    if (isOther && !instance.isEmpty() && !m_isSelecting) {
        m_views.selectInstance(instance);
    }
}

void MainWindow::selectInstance(const QString &instance)
{
    if (m_files.isLive()) {
        // What the user has selected stays selected.
        const QScopedValueRollback<bool> isSelecting(m_isSelecting, true);
        m_tables->selectInstance(instance);
    }
}

void MainWindow::showSource()
{
    const bool isLive = m_files.isLive();
    setWindowTitle(isLive ? tr("Applications on %1").arg(shown(m_connection.bus().label()))
                          : tr("Trace %1").arg(shownName(m_files.openFile())));
    for (QWidget *widget : {static_cast<QWidget *>(m_columns), static_cast<QWidget *>(m_name),
                            static_cast<QWidget *>(m_start), m_desk->widget()}) {
        widget->setEnabled(isLive);
    }
    m_rowActions->update(isLive);
}

void MainWindow::showFailure(const QString &text, const Ostrel::Error &error)
{
    m_messages->add(QStringLiteral("%1: %2: %3").arg(text, error.name(), error.message()),
                    error.code() == Ostrel::Error::Failed ? m_connection.advice() : QString());
}

void MainWindow::showDone(const QString &text)
{
    constexpr int milliseconds = 5000;
    statusBar()->showMessage(shown(text), milliseconds);
}

bool MainWindow::isSettled() const
{
    return !m_files.isReading()
        && (m_connection.state() != Connection::Ready
            || (m_tables->areListed() && m_desk->isSettled()));
}

void MainWindow::save() const
{
    QSettings settings;
    settings.setValue(QStringLiteral("geometry"), saveGeometry());
    settings.setValue(QStringLiteral("window"), saveState());
    settings.setValue(QStringLiteral("columns"), m_columns->saveState());
    settings.setValue(QStringLiteral("rows"), m_rows->saveState());
    settings.setValue(QStringLiteral("details"), m_actions.details->isChecked());
    settings.setValue(QStringLiteral("faultDesk"), m_actions.faultDesk->isChecked());
    settings.setValue(QStringLiteral("applications"), m_name->names());
    settings.setValue(QStringLiteral("columns/log"),
                      m_views.log()->horizontalHeader()->saveState());
    m_tables->save(settings);
}

void MainWindow::restore()
{
    const QSize usual(1280, 800);
    resize(usual);
    QSettings settings;
    restoreGeometry(settings.value(QStringLiteral("geometry")).toByteArray());
    restoreState(settings.value(QStringLiteral("window")).toByteArray());
    m_columns->restoreState(settings.value(QStringLiteral("columns")).toByteArray());
    m_rows->setSizes({350, 400, 250});
    m_rows->restoreState(settings.value(QStringLiteral("rows")).toByteArray());
    m_actions.details->setChecked(settings.value(QStringLiteral("details"), true).toBool());
    m_details->setVisible(m_actions.details->isChecked());
    m_actions.faultDesk->setChecked(settings.value(QStringLiteral("faultDesk")).toBool());
    m_desk->showIfWanted();
    const QStringList names = settings.value(QStringLiteral("applications")).toStringList();
    for (const QString &name : names) {
        m_name->remember(name);
    }
    m_views.log()->horizontalHeader()->restoreState(
        settings.value(QStringLiteral("columns/log")).toByteArray());
    m_tables->restore(settings);
    m_tables->currentPage()->setFocus();
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    save();
    event->accept();
}
