// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus_monitor.h"
#include "control_events.h"
#include "quiet_test.h"
#include "run.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QJsonArray>
#include <QtCore/QThread>

#include <memory>

using Ostrel::Control;

// The shared instance, and what creating, using and deleting a Control puts on the bus.
class TestControl : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    // The shared instance comes last: while it lives, other Controls need no match rules.
    void constructionSubscribesToFourSignals();
    void availabilityNeedsNoFurtherCalls();
    void destructionRemovesTheMatchRules();
    void serviceReceivesOnlyTheRequests();
    void lookUpsSendNoMessage();
    void instanceIsNeverDestroyed();
    void instanceIsSharedAndHasNoParent();
    void furtherControlsAreIndependent();

private:
    // Returns what this process sends while the function runs.
    template <typename Function> QVector<QJsonObject> sentBy(const Function &function) const;
};

namespace
{

QString destination(const QJsonObject &message)
{
    return message.value("destination").toString();
}

QString member(const QJsonObject &message)
{
    return message.value("member").toString();
}

QJsonValue argument(const QJsonObject &message, int index)
{
    return message.value("payload")["data"][index];
}

const QString makeInstance = "MAKE_AN_INSTANCE"; // clazy:exclude=non-pod-global-static

} // namespace

template <typename Function>
QVector<QJsonObject> TestControl::sentBy(const Function &function) const
{
    BusMonitor monitor(m_bus);
    function();
    return monitor.ownMessages();
}

void TestControl::instanceIsSharedAndHasNoParent()
{
    Control *const shared = Control::instance();
    QVERIFY(shared != nullptr);
    QCOMPARE(Control::instance(), shared);
    QCOMPARE(shared->parent(), nullptr);
    QCOMPARE(shared->thread(), QThread::currentThread());
}

void TestControl::furtherControlsAreIndependent()
{
    const auto own = std::make_unique<Control>();
    QVERIFY(own.get() != Control::instance());
    QCOMPARE(own->parent(), nullptr);
    QCOMPARE(Control::instance(), Control::instance());
}

void TestControl::constructionSubscribesToFourSignals()
{
    std::unique_ptr<Control> control;
    const QVector<QJsonObject> messages =
        sentBy([&control] { control = std::make_unique<Control>(); });
    QStringList signalNames;
    for (const QJsonObject &message : messages) {
        QCOMPARE(destination(message), "org.freedesktop.DBus");
        if (member(message) != "AddMatch") {
            continue;
        }
        const QString rule = message.value("payload")["data"][0].toString();
        if (rule.contains("interface='" OSTREL_CONTROL_INTERFACE "'")) {
            QVERIFY2(rule.contains("sender='" OSTREL_SERVICE_NAME "'"), qPrintable(rule));
            QVERIFY2(rule.contains("path='" OSTREL_SERVICE_PATH "/Control1'"), qPrintable(rule));
            signalNames.append(rule.section("member='", 1).section('\'', 0, 0));
        }
    }
    QCOMPARE(signalNames, (QStringList{"Started", "Terminated", "StateChanged", "SelectedByOom"}));
}

// QtDBus asks for the owner of the service's name, and follows it, for the calls anyway.
void TestControl::availabilityNeedsNoFurtherCalls()
{
    std::unique_ptr<Control> control;
    const QVector<QJsonObject> construction =
        sentBy([&control] { control = std::make_unique<Control>(); });
    QStringList members;
    for (const QJsonObject &message : construction) {
        members.append(member(message));
    }
    const QString match = "AddMatch";
    const QString owner = "GetNameOwner";
    QCOMPARE(members, (QStringList{match, owner, match, match, owner, match, match, match}));

    const QVector<QJsonObject> first = sentBy([&control] {
        connect(control.get(), &Control::serviceAvailableChanged, control.get(), [] {});
        QVERIFY(control->isServiceAvailable());
    });
    QCOMPARE(first.size(), 1);
    QCOMPARE(member(first.constFirst()), match);
    QCOMPARE(argument(first.constFirst(), 0).toString(),
             "type='signal',path='/org/freedesktop/DBus/Local',"
             "interface='org.freedesktop.DBus.Local',member='Disconnected'");
    QVERIFY(sentBy([&control] { QVERIFY(control->isServiceAvailable()); }).isEmpty());
}

void TestControl::serviceReceivesOnlyTheRequests()
{
    const QVector<QJsonObject> messages = sentBy([] {
        Control control;
        control.start("no.such");
        control.startDebug("no.such", Ostrel::DebugParams());
        control.terminate("no.such");
        QVector<Ostrel::RunningApplication> applications;
        QVector<Ostrel::RunningService> services;
        control.getRunningApplications(applications, services);
        control.getAppIdByPid(1);
        control.getAppInstanceIdByPid(1);
        // The same requests with callbacks.
        const QObject context;
        int answered = 0;
        const auto onStart = [&answered](const Control::StartResult & /*result*/) { ++answered; };
        control.start("no.such", &context, onStart);
        control.startDebug("no.such", Ostrel::DebugParams(), &context, onStart);
        control.terminate("no.such", &context,
                          [&answered](const Ostrel::Error & /*error*/) { ++answered; });
        control.getRunningApplications(
            &context,
            [&answered](const auto & /*applications*/, const auto & /*services*/,
                        const Ostrel::Error & /*error*/) { ++answered; });
        waitUntil([&answered] { return answered == 4; });
    });
    QStringList members;
    for (const QJsonObject &message : messages) {
        if (destination(message) != "org.freedesktop.DBus") {
            QCOMPARE(destination(message), OSTREL_SERVICE_NAME);
            QCOMPARE(message.value("type").toString(), "method_call");
            // The call may start the service, and the service must answer.
            QCOMPARE(message.value("flags").toInt(), 0);
            const QString signature = message.value("payload")["type"].toString();
            members.append(member(message) + ' ' + signature);
        }
    }
    const QStringList requests{"Start s", "StartDebug sa{sv}", "Terminate s",
                               "GetRunningApplications "};
    QCOMPARE(members, requests + requests);
}

void TestControl::lookUpsSendNoMessage()
{
    const Control control;
    const QVector<QJsonObject> messages = sentBy([&control] {
        control.getAppIdByPid(1);
        control.getAppInstanceIdByPid(1);
    });
    QVERIFY(messages.isEmpty());
}

// When a process ends that has made the instance, no match rule is removed.
void TestControl::instanceIsNeverDestroyed()
{
    BusMonitor monitor(m_bus);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(makeInstance, "1");
    // The instance, which is never deleted, also keeps parts of QtDBus.
    environment.insert("ASAN_OPTIONS", "detect_leaks=0");
    QCOMPARE(run(QCoreApplication::applicationFilePath(), {}, environment).exitStatus, 0);
    QString process;
    QStringList members;
    monitor.messagesUntil([&process, &members](const QJsonObject &message) {
        const QString sender = message.value("sender").toString();
        if (process.isEmpty()
            && argument(message, 0)
                   .toString()
                   .contains("interface='" OSTREL_CONTROL_INTERFACE "'")) {
            process = sender;
        }
        if (!process.isEmpty() && sender == process) {
            members.append(member(message));
        }
        // The bus says that the process is gone.
        return member(message) == "NameOwnerChanged" && argument(message, 0).toString() == process
            && argument(message, 2).toString().isEmpty();
    });
    QVERIFY(members.count("AddMatch") >= 4);
    QCOMPARE(members.count("RemoveMatch"), 0);
}

void TestControl::destructionRemovesTheMatchRules()
{
    const QVector<QJsonObject> messages = sentBy([] { const Control control; });
    QStringList members;
    for (const QJsonObject &message : messages) {
        QCOMPARE(destination(message), "org.freedesktop.DBus");
        members.append(member(message));
    }
    QVERIFY(members.count("AddMatch") >= 4);
    QCOMPARE(members.count("RemoveMatch"), members.count("AddMatch"));
}

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsSet(qPrintable(makeInstance))) {
        const QCoreApplication application(argc, argv);
        return Control::instance() != nullptr ? 0 : 1;
    }
    Ostrel::Testing::isolate();
    const QCoreApplication application(argc, argv);
    TestControl test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_control.moc"
