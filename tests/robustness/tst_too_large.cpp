// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "outcomes.h"
#include "quiet_test.h"
#include "task_invokers.h"
#include "warnings.h"

#include <Ostrel/Control>
#include <Ostrel/TaskInvoker>
#include <Ostrel/Testing/Main>

using Ostrel::Control;
using Ostrel::DebugParams;
using Ostrel::Error;
using Ostrel::TaskInvoker;

namespace
{

// The service answers with the type, and a connection receives at most 63 MiB at once.
constexpr int largestTaskType = 32 << 20;

} // namespace

// Strings that no message can hold are refused, and the process goes on. The bus would drop the
// connection.
class TestTooLarge : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void controlRefusesTooLargeStrings();
    void controlRefusesTooLargeParameters();
    void taskInvokerRefusesTooLargeValues();
    void tooLargeTaskTypesAreRefused_data();
    void tooLargeTaskTypesAreRefused();
    void largestTaskTypeIsAccepted();
    void windowManagementRefusesTooLargeStrings();

private:
    // More than 128 MiB.
    const QString m_text{45000000, QChar(0x20ac)};
    const QString m_refusal =
        "Marshalling failed: a text of 135000000 bytes is too large for a message";
};

void TestTooLarge::cleanup()
{
    QVERIFY(QDBusConnection::sessionBus().isConnected());
    QCOMPARE(m_simulator.calls().size(), 0);
    QuietTest::cleanup();
}

void TestTooLarge::controlRefusesTooLargeStrings()
{
    Control control;
    const auto isRefusal = [this](const Error &error) {
        return error.code() == Error::Failed && error.message() == m_refusal;
    };
    QVERIFY(isRefusal(control.start(m_text).error));
    QVERIFY(isRefusal(control.startDebug(m_text, DebugParams()).error));
    QVERIFY(isRefusal(control.terminate(m_text)));
}

void TestTooLarge::controlRefusesTooLargeParameters()
{
    DebugParams params;
    params.setStdoutFile(m_text);
    const Error error = Control().startDebug("a.b", params).error;
    QCOMPARE(error.code(), Error::Failed);
    QCOMPARE(error.message(),
             "Marshalling failed: \"stdoutFile\" is too large for a message, with a "
             "value of type QString");
}

void TestTooLarge::taskInvokerRefusesTooLargeValues()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "photos");
    QVERIFY(!waitUntilReady(invoker));
    m_simulator.reset();

    Events events;
    TaskInvoker::StartupInfo large;
    large.setParameters({m_text.left(20000000)});
    invoker.start(m_text, {}, {}, events.started());
    invoker.stop(m_text, events.stopped());
    // Each map alone could be sent, and both together.
    TaskInvoker::Hints hints;
    hints.setUser(m_text.left(20000000));
    invoker.start(m_text.left(10000000), large, hints, events.started());
    events.waitFor(3);
    QCOMPARE(events.all(),
             (QStringList{QString("started 0: 1 \"%1\"").arg(m_refusal),
                          QString("stopped 1 \"%1\"").arg(m_refusal),
                          "started 0: 1 \"Marshalling failed: \"User\" is too large for a "
                          "message, with a value of type QString\""}));
}

// The type is the end of a path, which has one byte for each character.
void TestTooLarge::tooLargeTaskTypesAreRefused_data()
{
    QTest::addColumn<int>("size");
    QTest::newRow("larger than a message") << 135000000;
    QTest::newRow("larger than an answer may be") << largestTaskType + 1;
}

void TestTooLarge::tooLargeTaskTypesAreRefused()
{
    QFETCH(int, size);
    const QString type(size, 'x');
    const QString refusal =
        QString("Marshalling failed: a text of %1 bytes is too large for a message")
            .arg(sessionPath(type).size());
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, type);
    Events events;
    invoker.onReady(events.ready());
    invoker.start("a", {}, {}, events.started());
    invoker.stop("a", events.stopped());
    events.waitFor(3);
    QCOMPARE(events.all(),
             (QStringList{QString("ready 1 \"%1\"").arg(refusal),
                          QString("started 0: 1 \"%1\"").arg(refusal),
                          QString("stopped 1 \"%1\"").arg(refusal)}));
    QCOMPARE(warnings.texts(),
             QStringList(QString("TaskInvoker registration failed: "
                                 "QDBusError(\"org.freedesktop.DBus.Error.Failed\", \"%1\")")
                             .arg(refusal)));
}

void TestTooLarge::largestTaskTypeIsAccepted()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, QString(largestTaskType, 'x'));
    QCOMPARE(Ostrel::text(waitUntilReady(invoker)), "0");
    Error error;
    bool answered = false;
    invoker.stop("a", [&](const Error &outcome) {
        error = outcome;
        answered = true;
    });
    waitUntil([&] { return answered; });
    QCOMPARE(error.code(), Error::HandlerNotFound);
    m_simulator.reset();
}

void TestTooLarge::windowManagementRefusesTooLargeStrings()
{
    const Outcome outcome = reportWindow(m_text);
    QCOMPARE(outcome.state, 255U);
    QCOMPARE(outcome.error.code(), Error::Failed);
    QCOMPARE(outcome.error.message(), m_refusal);
}

OSTREL_TEST_MAIN(TestTooLarge)

#include "tst_too_large.moc"
