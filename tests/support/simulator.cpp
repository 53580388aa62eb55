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

Simulator::Simulator(const PrivateBus &bus, const QStringList &options)
    : m_address(bus.address())
    , m_options(options)
    , m_connection(QDBusConnection::connectToBus(m_address, "desk at " + m_address))
{
}

Simulator::~Simulator()
{
    QDBusConnection::disconnectFromBus(m_connection.name());
}

void Simulator::start()
{
    m_process =
        std::make_unique<Process>(SIMULATOR, QStringList{"--address", m_address} + m_options);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("TMPDIR", m_folder.path());
    m_process->setProcessEnvironment(environment);
    m_process->start();
    m_process->readLine();
}

int Simulator::end()
{
    return m_process->end();
}

int Simulator::waitForEnd()
{
    return m_process->waitForEnd();
}

QDBusMessage Simulator::desk(const QString &method, const QVariantList &arguments) const
{
    QDBusMessage call = QDBusMessage::createMethodCall(OSTREL_SERVICE_NAME, OSTREL_SIMULATOR_PATH,
                                                       OSTREL_SIMULATOR_INTERFACE, method);
    call.setArguments(arguments);
    return m_connection.call(call);
}

void Simulator::emitSignal(const char *path, const char *interface, const QString &member,
                           const QVariantList &arguments) const
{
    const QDBusMessage answer =
        desk("Emit",
             {QVariant::fromValue(QDBusObjectPath(path)), interface, member, QVariant(arguments)});
    if (answer.type() != QDBusMessage::ReplyMessage) {
        qFatal("the fault desk sends no signal: %s", qPrintable(answer.errorMessage()));
    }
}

MethodFaults Simulator::faults(const char *interface, const char *method) const
{
    return {*this, interface, method};
}

MethodFaults Simulator::windowStatus() const
{
    return faults(OSTREL_WINDOW_MANAGEMENT_INTERFACE, "UpdateWindowStatus");
}

QVector<Call> Simulator::calls() const
{
    QVector<Call> calls;
    desk("Calls").arguments().at(0).value<QDBusArgument>() >> calls;
    return calls;
}

void Simulator::reset() const
{
    desk("Reset");
}
