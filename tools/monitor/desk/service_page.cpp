// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "desk/service_page.h"

#include "desk/desk_form.h"
#include "desk/instance_field.h"
#include "desk/problem.h"
#include "display.h"

#include <QtDBus/QDBusArgument>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QSpinBox>
#include <QtWidgets/QTreeWidget>

namespace
{

// The desk makes up no more.
constexpr int mostRecords = 100000;
constexpr int usualRecords = 1000;
constexpr int mostWindows = 500;
constexpr int visibleWindows = 4;

} // namespace

ServicePage::ServicePage(DeskCalls &calls)
    : DeskPage(tr("Service"))
    , m_calls(calls)
    , m_instance(new InstanceField)
    , m_instanceProblem(new Problem(m_instance->lineEdit()))
    , m_windows(new QTreeWidget)
{
    DeskForm *instances = addForm(tr("End an application"));
    instances->addField(tr("&Instance:"), m_instance, tr("An instance that runs"),
                        m_instanceProblem);
    QPushButton *kill =
        instances->addButton(tr("&Kill (out of memory)"), tr("Act like the out-of-memory killer"));

    DeskForm *lists = addForm(tr("Next list of what runs"));
    m_applications = lists->addNumber(tr("A&pplications:"), tr("How many applications are made up"),
                                      0, mostRecords);
    m_applications->setValue(usualRecords);
    m_services =
        lists->addNumber(tr("S&ervices:"), tr("How many services are made up"), 0, mostRecords);
    QPushButton *arrange =
        lists->addButton(tr("A&rrange"), tr("Return these records in the next list"));

    buildWindows();
    DeskForm *simulator = addForm(tr("Simulator"));
    m_scenario = simulator->addText(tr("Scenario:"), tr("Whether all steps have happened"));
    m_rootFs = simulator->addLine(
        tr("Root folder:"), tr("The folder for the control groups of the service's processes"));
    m_rootFs->setReadOnly(true);
    QPushButton *reset = simulator->addButton(
        tr("Re&set"),
        tr("End what runs, forget faults, calls and windows, and begin the scenario again"));
    addGap();

    connect(kill, &QPushButton::clicked, this, &ServicePage::kill);
    connect(m_instance->lineEdit(), &QLineEdit::returnPressed, this, &ServicePage::kill);
    connect(arrange, &QPushButton::clicked, this, &ServicePage::arrangeList);
    connect(reset, &QPushButton::clicked, this, &ServicePage::reset);
    connect(&calls, &DeskCalls::stateChanged, this, &ServicePage::showDesk);
    showDesk();
}

void ServicePage::buildWindows()
{
    DeskForm *form = addForm(tr("Reported windows"));
    m_windows->setHeaderLabels({tr("Window"), tr("Status"), tr("arg1"), tr("arg2")});
    m_windows->setRootIsDecorated(false);
    m_windows->setUniformRowHeights(true);
    m_windows->setTabKeyNavigation(false);
    m_windows->setAccessibleName(tr("Reported windows"));
    m_windows->setToolTip(tr("Each window with its last status and the two numbers"));
    // The name takes what is left.
    m_windows->header()->setStretchLastSection(false);
    m_windows->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    m_windows->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    m_windows->setFixedHeight((visibleWindows + 2) * m_windows->fontMetrics().height());
    form->addWide(m_windows);
    QPushButton *list = form->addButton(tr("&List again"), tr("Ask for the reported windows"));
    connect(list, &QPushButton::clicked, this, [this] {
        m_calls.call(tr("Cannot list the windows"), QStringLiteral("Windows"), {},
                     windowsHandler());
    });
}

void ServicePage::showDesk()
{
    if (m_calls.state() == DeskCalls::Ready) {
        m_rootFs->setText(shown(m_calls.rootFs()));
        m_rootFs->setCursorPosition(0);
        followScenario();
        listWindows();
    } else {
        m_rootFs->setText({});
        m_scenario->setText({});
        m_windows->clear();
    }
}

void ServicePage::showEvent(QShowEvent *event)
{
    if (m_calls.state() == DeskCalls::Ready) {
        listWindows();
        // Others may have begun it again.
        if (m_scenarioState == Answered) {
            followScenario();
        }
    }
    DeskPage::showEvent(event);
}

void ServicePage::followScenario()
{
    m_scenarioState = Asked;
    const auto onReply = [this](const QDBusMessage &reply) {
        const bool isError = reply.type() != QDBusMessage::ReplyMessage;
        if (isError && m_scenarioState == Waiting) {
            // It has begun again.
            followScenario();
            return;
        }
        m_scenarioState = Answered;
        m_scenario->setText(isError ? shown(reply.errorMessage()) : tr("All steps have happened"));
    };
    m_calls.ask(QStringLiteral("WaitForScenario"), onReply, DeskCalls::noTimeout);
    // The desk replies in order. Without a reply until now, there are steps to come.
    m_calls.ask(QStringLiteral("RootFs"), [this](const QDBusMessage & /*reply*/) {
        if (m_scenarioState == Asked) {
            m_scenarioState = Waiting;
            m_scenario->setText(tr("Steps are still to come"));
        }
    });
}

void ServicePage::kill()
{
    const QString instance = m_instance->currentText().trimmed();
    if (instance.isEmpty()) {
        m_instanceProblem->set(tr("Enter an instance, or choose one that runs"));
        return;
    }
    m_calls.call(tr("Cannot end %1").arg(instance), QStringLiteral("KillByOom"), {instance},
                 [this, instance](const QDBusMessage & /*reply*/) {
                     Q_EMIT m_calls.done(tr("%1 has ended").arg(instance));
                 });
}

void ServicePage::arrangeList()
{
    const auto applications = uint(m_applications->value());
    const auto services = uint(m_services->value());
    m_calls.call(tr("Cannot arrange a list"), QStringLiteral("ListNext"), {applications, services},
                 [this](const QDBusMessage & /*reply*/) {
                     Q_EMIT m_calls.done(tr("The next list has made-up records"));
                 });
}

void ServicePage::listWindows()
{
    m_calls.ask(QStringLiteral("Windows"), windowsHandler(), DeskCalls::noTimeout);
}

DeskCalls::Handler ServicePage::windowsHandler()
{
    // QtDBus may deliver a reply after that to a later call.
    return [this, list = ++m_lists](const QDBusMessage &reply) {
        if (list == m_lists) {
            showWindows(reply);
        }
    };
}

void ServicePage::showWindows(const QDBusMessage &reply)
{
    m_windows->clear();
    if (reply.signature() != QLatin1String("a(siii)")) {
        return;
    }
    const auto array = reply.arguments().constFirst().value<QDBusArgument>();
    array.beginArray();
    while (!array.atEnd() && m_windows->topLevelItemCount() < mostWindows) {
        QString name;
        int status = 0;
        int first = 0;
        int second = 0;
        array.beginStructure();
        array >> name >> status >> first >> second;
        array.endStructure();
        m_windows->addTopLevelItem(
            new QTreeWidgetItem({shown(name), QString::number(status), QString::number(first),
                                 QString::number(second)}));
    }
    array.endArray();
}

void ServicePage::reset()
{
    m_calls.call(tr("Cannot reset"), QStringLiteral("Reset"), {},
                 [this](const QDBusMessage & /*reply*/) {
                     Q_EMIT m_calls.done(tr("The simulator has been reset"));
                     if (m_scenarioState == Answered) {
                         followScenario();
                     }
                     listWindows();
                 });
}
