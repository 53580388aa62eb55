// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "main_window.h"

#include "applications_table.h"
#include "debug_dialog.h"
#include "desk/desk_dock.h"
#include "details_panel.h"
#include "file_actions.h"
#include "message_bar.h"
#include "name_field.h"
#include "notice.h"
#include "tables.h"
#include "task_page.h"
#include "tasks_table.h"

#include <QtCore/QScopedValueRollback>
#include <QtCore/QSettings>
#include <QtGui/QCloseEvent>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QInputDialog>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMenuBar>
#include <QtWidgets/QProgressBar>
#include <QtWidgets/QSplitter>
#include <QtWidgets/QStatusBar>
#include <QtWidgets/QToolBar>
#include <QtWidgets/QToolButton>
#include <QtWidgets/QVBoxLayout>

MainWindow::MainWindow(const BusChoice &bus, std::unique_ptr<CallsMonitor> monitor)
    : m_connection(bus)
    , m_requests(m_connection.control(), m_startTimes)
    , m_monitor(monitor != nullptr ? std::move(monitor) : std::make_unique<CallsMonitor>())
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
    connect(m_start, &QToolButton::clicked, this, &MainWindow::startNamed);
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
    const auto on = [this](QAction *action, void (MainWindow::*slot)()) {
        connect(action, &QAction::triggered, this, slot);
    };
    on(m_actions.start, &MainWindow::startRow);
    on(m_actions.stop, &MainWindow::stopRow);
    on(m_actions.startDebug, &MainWindow::openDebugDialog);
    on(m_actions.addTaskType, &MainWindow::openTaskTypeDialog);
    connect(m_actions.quit, &QAction::triggered, this, &QWidget::close);
    connect(m_actions.enterName, &QAction::triggered, this, [this] {
        m_name->setFocus(Qt::ShortcutFocusReason);
        m_name->lineEdit()->selectAll();
    });
    connect(m_actions.refresh, &QAction::triggered, m_tables, &Tables::refreshLists);
    connect(m_actions.removeTaskType, &QAction::triggered, this,
            [this] { m_tables->removeTaskType(m_tables->currentIndex()); });
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
    connect(m_name, &NameField::entered, this, &MainWindow::startNamed);
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
    const TaskPage *tasks = m_tables->currentTaskPage();
    m_details->show(row < 0 ? Details() : page->table().details(row));
    if (row >= 0 && m_tables->showsApplications()) {
        m_desk->setInstance(page->table().instance(row));
    }

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
    enableRowActions();

    const QString instance = row < 0 ? QString() : page->table().instance(row);
    const bool isOther = std::exchange(m_instance, instance) != instance;
    if (isOther && !instance.isEmpty() && !m_isSelecting) {
        m_views.selectInstance(instance);
    }
}

void MainWindow::enableRowActions()
{
    const bool hasRow = m_tables->currentPage()->currentRow() >= 0;
    const TaskPage *tasks = m_tables->currentTaskPage();
    const bool hasInvoker = tasks != nullptr && tasks->invoker() != nullptr;
    const bool isLive = m_files.isLive();
    m_actions.start->setEnabled(isLive && hasRow && (tasks == nullptr || hasInvoker));
    m_actions.stop->setEnabled(isLive && hasRow && (m_tables->showsApplications() || hasInvoker));
    m_actions.startDebug->setEnabled(isLive && tasks == nullptr);
    m_actions.removeTaskType->setEnabled(isLive && tasks != nullptr);
    m_actions.addTaskType->setEnabled(isLive);
    m_actions.enterName->setEnabled(isLive);
    m_actions.refresh->setEnabled(isLive);
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
    enableRowActions();
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

void MainWindow::startNamed()
{
    if (m_name->name().isEmpty()) {
        m_name->setFocus();
        return;
    }
    m_name->remember(m_name->name());
    m_requests.start(m_name->name());
}

void MainWindow::startRow()
{
    const TablePage *page = m_tables->currentPage();
    const TaskPage *tasks = m_tables->currentTaskPage();
    const QString name = page->table().name(page->currentRow());
    if (tasks != nullptr) {
        m_requests.startTask(tasks->invoker(), name);
    } else {
        m_requests.start(name);
    }
}

void MainWindow::stopRow()
{
    const TablePage *page = m_tables->currentPage();
    const TaskPage *tasks = m_tables->currentTaskPage();
    const int row = page->currentRow();
    if (tasks != nullptr) {
        m_requests.stopTask(tasks->invoker(), page->table().name(row));
    } else {
        m_requests.terminate(page->table().name(row), page->table().instance(row));
    }
}

void MainWindow::openDebugDialog()
{
    const TablePage *page = m_tables->currentPage();
    const int row = page->currentRow();
    auto *dialog = new DebugDialog(row >= 0 ? page->table().name(row) : m_name->name(), this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::accepted, this, [this, dialog] {
        m_name->remember(dialog->application());
        m_requests.startDebug(dialog->application(), dialog->params());
    });
    dialog->open();
}

void MainWindow::openTaskTypeDialog()
{
    auto *dialog = new QInputDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(tr("Tasks of a type"));
    dialog->setLabelText(tr("&Type of the tasks:"));
    connect(dialog, &QInputDialog::textValueSelected, this, [this](const QString &text) {
        if (!text.trimmed().isEmpty()) {
            m_tables->addTaskType(text.trimmed());
        }
    });
    dialog->open();
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
