// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "simulator.h"

#include "end_of_test_p.h"
#include "method_names_p.h"
#include "waiting.h"
#include "waiting_p.h"

#include "DBus/names_p.h"

#include <QtCore/QDeadlineTimer>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusError>
#include <QtDBus/QDBusMetaType>
#include <QtDBus/QDBusPendingCall>
#include <QtDBus/QDBusReply>

#include <limits>

// What the simulator's fault desk does for a test.

namespace Ostrel::Testing
{

namespace
{

QVector<Call> readCalls(const QDBusMessage &reply)
{
    // To read other types as a list of calls crashes, or never ends.
    if (reply.signature() != QLatin1String("a(ssssav)")) {
        endTest(
            QStringLiteral("The fault desk replies to Calls with the types \"%1\". Is it one of "
                           "another version?")
                .arg(reply.signature()));
    }
    const auto argument = reply.arguments().constFirst().value<QDBusArgument>();
    QVector<Call> calls;
    argument.beginArray();
    while (!argument.atEnd()) {
        Call call;
        argument.beginStructure();
        argument >> call.path >> call.interface >> call.member >> call.signature >> call.arguments;
        argument.endStructure();
        calls.append(call);
    }
    argument.endArray();
    return calls;
}

QDBusMessage deskCall(const QString &method, const QVariantList &arguments)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral(OSTREL_SERVICE_NAME), QStringLiteral(OSTREL_SIMULATOR_PATH),
        QStringLiteral(OSTREL_SIMULATOR_INTERFACE), method);
    call.setArguments(arguments);
    return call;
}

// Whether there was no service, it went before it replied, or it is about to go.
bool isAbsence(const QDBusError &error)
{
    return error.type() == QDBusError::NoReply || error.type() == QDBusError::ServiceUnknown
        || error.type() == QDBusError::UnknownObject;
}

} // namespace

void Simulator::reset() const
{
    const QString method = QStringLiteral("Reset");
    if (!isServingOrAway()) {
        return;
    }
    const QDBusMessage reply = ask(method, {}, waitLimit());
    // It may have ended meanwhile.
    if (reply.type() != QDBusMessage::ReplyMessage && isServingOrAway()) {
        refuse(method, QDBusError(reply));
    }
}

Faults Simulator::faults(Method method) const
{
    const MethodNames names = namesOf(method);
    return {*this, names.interface, names.member};
}

Faults Simulator::faults(const QString &interface, const QString &member) const
{
    return {*this, interface, member};
}

QVector<Call> Simulator::calls() const
{
    return readCalls(order(QStringLiteral("Calls")));
}

void Simulator::clearCalls() const
{
    order(QStringLiteral("ClearCalls"));
}

void Simulator::emitStarted(const QString &appInstanceId, const QVariantMap &details) const
{
    emitControlSignal(QStringLiteral("Started"), {appInstanceId, details});
}

void Simulator::emitTerminated(const QString &appInstanceId, const QVariantMap &details) const
{
    emitControlSignal(QStringLiteral("Terminated"), {appInstanceId, details});
}

void Simulator::emitStateChanged(const QString &appInstanceId, quint32 state) const
{
    emitControlSignal(QStringLiteral("StateChanged"),
                      {appInstanceId, QVariantMap{{QStringLiteral("State"), state}}});
}

void Simulator::emitSignal(const QString &path, const QString &interface, const QString &member,
                           const QVariantList &arguments) const
{
    order(QStringLiteral("Emit"),
          {QVariant::fromValue(QDBusObjectPath(path)), interface, member, QVariant(arguments)});
}

void Simulator::killByOom(const QString &appInstanceId) const
{
    order(QStringLiteral("KillByOom"), {appInstanceId});
}

QDBusMessage Simulator::desk(const QString &method, const QVariantList &arguments) const
{
    return m_connection.call(deskCall(method, arguments), QDBus::Block, waitLimit());
}

// The bus knows of the end of a program before it tells anybody, and before the program is gone.
bool Simulator::isServing() const
{
    return m_connection.isConnected()
        && m_connection.interface()->isServiceRegistered(QStringLiteral(OSTREL_SERVICE_NAME));
}

void Simulator::refuse(const QString &method, const QDBusError &error) const
{
    // Only a scenario, and a service that does not reply, make a call wait.
    const bool hasWaited = m_hasScenario ? isAbsence(error) : error.type() == QDBusError::NoReply;
    if (isServing() && !hasWaited) {
        endTest(QStringLiteral("The fault desk refuses %1: %2").arg(method, error.message()));
    }
    if (isServingOrAway()) {
        endTest(waitedFor(QStringLiteral("the simulator's reply to %1.").arg(method)));
    }
    const QByteArray lines = m_process ? m_process->readAllStandardError() : QByteArray();
    if (!lines.isEmpty()) {
        endTest(QStringLiteral("%1: the simulator has ended: %2")
                    .arg(method, QString::fromUtf8(lines)));
    }
    endTest(QStringLiteral("%1: the simulator does not run. Call start() first.").arg(method));
}

// Calls the desk, for this time at most. The service of a scenario goes and comes back, in the same
// process.
QDBusMessage Simulator::ask(const QString &method, const QVariantList &arguments,
                            int milliseconds) const
{
    const QDeadlineTimer deadline(milliseconds);
    const QDBusMessage call = deskCall(method, arguments);
    QDBusMessage reply = m_connection.call(call, QDBus::Block, milliseconds);
    while (m_hasScenario && isAbsence(QDBusError(reply)) && isRunning() && !deadline.hasExpired()) {
        m_process->waitForFinished(lookPause);
        const int rest = qMax(1, static_cast<int>(deadline.remainingTime()));
        reply = m_connection.call(call, QDBus::Block, rest);
    }
    return reply;
}

QDBusMessage Simulator::order(const QString &method, const QVariantList &arguments) const
{
    const QDBusMessage reply = ask(method, arguments, waitLimit());
    if (reply.type() != QDBusMessage::ReplyMessage) {
        refuse(method, QDBusError(reply));
    }
    return reply;
}

// Which calls have come, for the message of a wait that has failed. QtTest soon ends the function.
QString Simulator::receivedText() const
{
    const QDBusMessage reply = ask(QStringLiteral("Calls"), {}, waitLimit() / 10);
    if (reply.type() != QDBusMessage::ReplyMessage) {
        return QStringLiteral("The simulator does not reply.");
    }
    QStringList texts;
    const QVector<Call> received = readCalls(reply);
    for (const Call &call : received) {
        texts.append(call.text());
    }
    return QStringLiteral("These calls came: %1")
        .arg(texts.isEmpty() ? QStringLiteral("none") : texts.join(QStringLiteral(", ")));
}

bool Simulator::wait(const QString &method, const QVariantList &arguments,
                     const QString &what) const
{
    const auto ask = [&] {
        return m_connection.asyncCall(deskCall(method, arguments), std::numeric_limits<int>::max());
    };
    QDBusPendingCall waiting = ask();
    const auto isOver = [&] {
        // That also ends a call that waits.
        const bool isAbsent = waiting.isError() && isAbsence(waiting.error()) && isRunning();
        if (isAbsent && isServing()) {
            waiting = ask();
        }
        return waiting.isFinished() && !isAbsent;
    };
    if (!runLoopUntil(isOver)) {
        failTest(QStringLiteral("%1. %2").arg(waitedFor(what), receivedText()));
        return false;
    }
    if (waiting.isError()) {
        const bool hasEnded = m_hasScenario && !isRunning();
        if (hasEnded && reportScenario()) {
            return false;
        }
        if (hasEnded && method == QLatin1String("WaitForScenario")) {
            return true; // Its last step ended the simulator.
        }
        refuse(method, waiting.error());
    }
    return true;
}

void Simulator::emitControlSignal(const QString &member, const QVariantList &arguments) const
{
    emitSignal(QStringLiteral(OSTREL_CONTROL_PATH), QStringLiteral(OSTREL_CONTROL_INTERFACE),
               member, arguments);
}

} // namespace Ostrel::Testing
