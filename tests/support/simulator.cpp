// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "simulator.h"

#include "DBus/names_p.h"

#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusMetaType>
#include <QtDBus/QDBusVariant>

static const QDBusArgument &operator>>(const QDBusArgument &argument, Call &call)
{
    argument.beginStructure();
    argument >> call.path >> call.interface >> call.member >> call.signature >> call.arguments;
    argument.endStructure();
    return argument;
}

Simulator::Simulator(const PrivateBus &bus)
    : m_address(bus.address())
    , m_connection(QDBusConnection::connectToBus(m_address, QStringLiteral("desk")))
{
}

Simulator::~Simulator()
{
    QDBusConnection::disconnectFromBus(m_connection.name());
}

void Simulator::start()
{
    m_process = std::make_unique<Process>(QStringLiteral(SIMULATOR),
                                          QStringList{QStringLiteral("--address"), m_address});
    m_process->start();
    m_process->readLine();
}

int Simulator::end()
{
    return m_process->end();
}

int Simulator::waitForEnd()
{
    if (m_process->state() != QProcess::NotRunning && !m_process->waitForFinished(patience)) {
        qFatal("the simulator does not end");
    }
    return m_process->exitCode();
}

QDBusMessage Simulator::desk(const QString &method, const QVariantList &arguments) const
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral(OSTREL_SERVICE_NAME), QStringLiteral(OSTREL_SIMULATOR_PATH),
        QStringLiteral(OSTREL_SIMULATOR_INTERFACE), method);
    call.setArguments(arguments);
    return m_connection.call(call, QDBus::Block, patience);
}

void Simulator::failNext(const QString &error, const QString &message) const
{
    arrange(QStringLiteral("FailNext"), {error, message});
}

void Simulator::answerNext(const QVariantList &values) const
{
    arrange(QStringLiteral("AnswerNext"), {QVariant(values)});
}

void Simulator::ignoreNext() const
{
    arrange(QStringLiteral("IgnoreNext"));
}

void Simulator::delayNext(uint milliseconds) const
{
    arrange(QStringLiteral("DelayNext"), {milliseconds});
}

void Simulator::dieInNext() const
{
    arrange(QStringLiteral("DieInNext"));
}

void Simulator::holdNext(uint count) const
{
    arrange(QStringLiteral("HoldNext"), {count});
}

void Simulator::release(const QList<uint> &order) const
{
    arrange(QStringLiteral("Release"), {QVariant::fromValue(order)});
}

void Simulator::waitForCalls(uint count) const
{
    arrange(QStringLiteral("WaitForCalls"), {count});
}

void Simulator::waitForHeld(uint count) const
{
    arrange(QStringLiteral("WaitForHeld"), {count});
}

QVector<Call> Simulator::calls() const
{
    QVector<Call> calls;
    desk(QStringLiteral("Calls")).arguments().at(0).value<QDBusArgument>() >> calls;
    return calls;
}

void Simulator::reset() const
{
    desk(QStringLiteral("Reset"));
}

void Simulator::arrange(const QString &method, const QVariantList &arguments) const
{
    const QVariantList about{QStringLiteral(OSTREL_WINDOW_MANAGEMENT_INTERFACE),
                             QStringLiteral("UpdateWindowStatus")};
    const QDBusMessage answer = desk(method, about + arguments);
    if (answer.type() != QDBusMessage::ReplyMessage) {
        qFatal("the fault desk refused %s: %s", qPrintable(method),
               qPrintable(answer.errorMessage()));
    }
}
