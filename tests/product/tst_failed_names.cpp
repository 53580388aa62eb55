// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "kit.h"
#include "peer.h"
#include "task_invokers.h"
#include "test_bus.h"

#include "DBus/names_p.h"

#include <Ostrel/Control>
#include <Ostrel/TaskInvoker>
#include <Ostrel/Testing/Main>

#include <optional>

using Ostrel::Control;
using Ostrel::Error;
using Ostrel::TaskInvoker;

// Each row of "What Failed can mean", in the page of errors: the failure has this D-Bus error name
// and this message.
class TestFailedNames : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void serviceDoesNotRun();
    void serviceEndsBeforeItReplies();
    void timeoutExpires();
    void replyHasOtherTypes();
    void serviceDoesNotKnowTheMethod();
    void valueDoesNotFitIntoAMessage();
    void taskTypeMakesNoPath();
    void serviceRegistersAnotherType();
    void listHasFewerThanTwoValues();
    // The connection does not come back.
    void busHasEnded();

private:
    // Finds the row of the page that begins so, and compares its name and message with the error.
    // An empty name stands for none.
    static void compareWithPage(const QString &row, const Error &error, const QString &name,
                                const QString &message);

    std::optional<PrivateBus> m_bus;
};

void TestFailedNames::initTestCase()
{
    m_bus.emplace();
    QDBusConnection::sessionBus();
    QCoreApplication::processEvents();
}

void TestFailedNames::compareWithPage(const QString &row, const Error &error, const QString &name,
                                      const QString &message)
{
    QCOMPARE(error.code(), Error::Failed);
    QCOMPARE(error.busErrorName(), name);
    QVERIFY2(error.message().startsWith(message), qPrintable(error.message()));

    QString page = readFile(SOURCE_DIR "/docs/errors.md.in");
    page.replace("@OSTREL_SERVICE_NAME@", OSTREL_SERVICE_NAME);
    const QStringList lines = page.split('\n').filter(QString("| %1").arg(row), Qt::CaseSensitive);
    QCOMPARE(lines.size(), 1);
    const QStringList cells = lines.constFirst().split('|');
    const QString begin = name.isEmpty() ? " none" : QString(" `%1`").arg(name);
    QVERIFY2(cells.at(2).startsWith(begin), qPrintable(lines.constFirst()));
    QVERIFY2(cells.at(3).contains(message) || message == "unknown", qPrintable(lines.constFirst()));
}

void TestFailedNames::serviceDoesNotRun()
{
    compareWithPage("the service does not run", Control().terminate("a"),
                    "org.freedesktop.DBus.Error.ServiceUnknown", absentServiceText());
}

void TestFailedNames::serviceEndsBeforeItReplies()
{
    Simulator simulator(*m_bus);
    simulator.start();
    simulator.faults(OSTREL_CONTROL_INTERFACE, "Terminate").dieInNext();
    compareWithPage("the service ended before it replied", Control().terminate("a"),
                    "org.freedesktop.DBus.Error.NoReply", endedServiceText());
    simulator.waitForEnd();
}

void TestFailedNames::timeoutExpires()
{
    Simulator simulator(*m_bus);
    simulator.start();
    simulator.faults(OSTREL_CONTROL_INTERFACE, "Terminate").ignoreNext();
    Control control;
    control.setTimeout(100);
    compareWithPage("no reply came within the timeout", control.terminate("a"),
                    "org.freedesktop.DBus.Error.NoReply", "Did not receive a reply. ");
}

void TestFailedNames::replyHasOtherTypes()
{
    Simulator simulator(*m_bus);
    simulator.start();
    simulator.faults(OSTREL_CONTROL_INTERFACE, "Start").answerNext({3});
    compareWithPage("the reply has other types", Control().start("a").error,
                    "org.freedesktop.DBus.Error.InvalidSignature", "Unexpected reply signature: ");
}

void TestFailedNames::serviceDoesNotKnowTheMethod()
{
    Peer peer(*m_bus);
    peer.order("own " OSTREL_SERVICE_NAME);
    compareWithPage("the service does not know the method", Control().terminate("a"),
                    "org.freedesktop.DBus.Error.UnknownMethod", "unknown");
}

void TestFailedNames::valueDoesNotFitIntoAMessage()
{
    const Ostrel::DebugParams params(QVariantMap{{"key", QVariant()}});
    compareWithPage("a value of yours cannot be sent", Control().startDebug("a", params).error,
                    "org.freedesktop.DBus.Error.Failed", "Marshalling failed: ");
}

void TestFailedNames::taskTypeMakesNoPath()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "a-b");
    std::optional<Error> stopped;
    invoker.stop("x", [&stopped](const Error &error) { stopped = error; });
    waitUntil([&stopped] { return stopped.has_value(); });
    compareWithPage("the task type cannot be part of an object path", *stopped,
                    "org.qtproject.QtDBus.Error.InvalidObjectPath", "Invalid object path: ");
}

void TestFailedNames::serviceRegistersAnotherType()
{
    Simulator simulator(*m_bus);
    simulator.start();
    answerRegistration(*m_bus, "other", "0");
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    compareWithPage("the service replied with the session of another task type",
                    waitUntilReady(invoker), QString(), "Wrong TaskInvoker path");
}

void TestFailedNames::listHasFewerThanTwoValues()
{
#ifndef QT_NO_DEBUG
    QSKIP("the assertion ends the program");
#endif
    Simulator simulator(*m_bus);
    simulator.start();
    simulator.faults(OSTREL_CONTROL_INTERFACE, "GetRunningApplications").answerNext({3});
    QVector<Ostrel::RunningApplication> applications;
    QVector<Ostrel::RunningService> services;
    compareWithPage("the reply to `GetRunningApplications` has fewer",
                    Control().getRunningApplications(applications, services), QString(),
                    "The reply has fewer than two arguments");
}

void TestFailedNames::busHasEnded()
{
    Control control;
    m_bus->end();
    waitUntil([] { return !QDBusConnection::sessionBus().isConnected(); });
    compareWithPage("there is no message bus, or it has ended", control.terminate("a"),
                    "org.freedesktop.DBus.Error.Disconnected", "Not connected to D-Bus server");
}

OSTREL_TEST_MAIN(TestFailedNames)

#include "tst_failed_names.moc"
