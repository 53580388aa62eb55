// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "simulator.h"

#include "end_of_test_p.h"
#include "method_names_p.h"
#include "process_folder_p.h"
#include "waiting.h"
#include "waiting_p.h"

#include "DBus/names_p.h"

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusMetaType>
#include <QtDBus/QDBusPendingCall>
#include <QtDBus/QDBusReply>

#include <atomic>
#include <cstdio>
#include <limits>

namespace Ostrel::Testing
{

namespace
{

QVector<Call> readCalls(const QDBusArgument &argument)
{
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

QString connectionName()
{
    static std::atomic<int> count{0};
    return QStringLiteral("ostrel-testing-%1").arg(++count);
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

Simulator::Simulator(const PrivateBus &bus, const QStringList &options, const char *program,
                     const char *catalogue)
    : m_address(bus.address())
    , m_options(options)
    , m_program(QFile::decodeName(program))
    , m_catalogue(QFile::decodeName(catalogue))
    , m_folder(QFile::decodeName(processFolder() + "/simulator-XXXXXX"))
    , m_connection(QDBusConnection::connectToBus(m_address, connectionName()))
{
}

Simulator::~Simulator()
{
    end();
    QDBusConnection::disconnectFromBus(m_connection.name());
}

void Simulator::setCatalogue(const Catalogue &catalogue)
{
    // Each has a file of its own, so that the one before can be taken again.
    m_catalogue = m_folder.filePath(QStringLiteral("catalogue-%1.json").arg(++m_catalogues));
    QFile file(m_catalogue);
    if (!file.open(QIODevice::WriteOnly)) {
        endTest(
            QStringLiteral("The test cannot write %1: %2.").arg(m_catalogue, file.errorString()));
    }
    file.write(QJsonDocument(catalogue.toJson()).toJson());
}

void Simulator::setCatalogueFile(const QString &path)
{
    m_catalogue = path;
}

void Simulator::setScenarioFile(const QString &path)
{
    m_scenario = path;
}

bool Simulator::waitForScenario() const
{
    return wait(QStringLiteral("WaitForScenario"), {}, QStringLiteral("the end of the scenario"));
}

void Simulator::start()
{
    if (isRunning() && isServing()) {
        return;
    }
    if (m_process) {
        // It has ended, or is about to.
        waitForEnd();
    }
    QStringList options{QStringLiteral("--address"), m_address};
    if (!m_catalogue.isEmpty()) {
        options += {QStringLiteral("--catalogue"), m_catalogue};
    }
    m_hasScenario = !m_scenario.isEmpty();
    if (m_hasScenario) {
        options += {QStringLiteral("--scenario"), m_scenario};
    }
    m_process = std::make_unique<Process>(m_program, options + m_options);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TMPDIR"), m_folder.path());
    m_process->setProcessEnvironment(environment);
    m_process->start();
    if (!m_process->waitForStarted(-1)) {
        endTest(QStringLiteral("The simulator does not start: there is no program %1. Install the "
                               "package ostrel-simulator.")
                    .arg(m_program));
    }
    m_process->readLine();
    qputenv("OSTREL_ROOTFS",
            QFile::encodeName(order(QStringLiteral("RootFs")).constFirst().toString()));
}

int Simulator::end()
{
    if (!m_process) {
        return 0;
    }
    const int status = m_process->end();
    reportScenario();
    return status;
}

void Simulator::restart()
{
    end();
    start();
}

int Simulator::waitForEnd() const
{
    const int status = process().waitForEnd();
    reportScenario();
    return status;
}

void Simulator::reset() const
{
    if (isServing()) {
        order(QStringLiteral("Reset"));
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
    return readCalls(order(QStringLiteral("Calls")).constFirst().value<QDBusArgument>());
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

Process &Simulator::process() const
{
    if (!m_process) {
        endTest(QStringLiteral("The simulator has no process. Call start() first."));
    }
    return *m_process;
}

// The bus knows of the end of a program before it tells anybody, and before the program is gone.
bool Simulator::isServing() const
{
    return m_connection.isConnected()
        && m_connection.interface()->isServiceRegistered(QStringLiteral(OSTREL_SERVICE_NAME));
}

bool Simulator::isRunning() const
{
    return m_process && m_process->state() != QProcess::NotRunning;
}

// Fails the test function if the simulator, which has ended, did not play its scenario to the end.
// Everything else that it and its programs wrote goes to where the test's own errors go.
bool Simulator::reportScenario() const
{
    if (!m_hasScenario) {
        return false;
    }
    QStringList reasons;
    const QList<QByteArray> lines = m_process->readAllStandardError().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("ostrel-simulator: ")) {
            reasons.append(QString::fromUtf8(line));
        } else if (!line.isEmpty()) {
            static_cast<void>(std::fprintf(stderr, "%s\n", line.constData()));
        }
    }
    if (reasons.isEmpty() && m_process->exitStatus() == QProcess::CrashExit) {
        reasons.append(QStringLiteral("The simulator was ended by a signal."));
    }
    if (!reasons.isEmpty()) {
        failTest(reasons.join(QLatin1Char('\n')));
    }
    return !reasons.isEmpty();
}

void Simulator::refuse(const QString &method, const QString &message) const
{
    if (isServing()) {
        endTest(QStringLiteral("The fault desk refuses %1: %2").arg(method, message));
    }
    const QByteArray lines = m_process ? m_process->readAllStandardError() : QByteArray();
    if (!lines.isEmpty()) {
        endTest(QStringLiteral("%1: the simulator has ended: %2")
                    .arg(method, QString::fromUtf8(lines)));
    }
    endTest(QStringLiteral("%1: the simulator does not run. Call start() first.").arg(method));
}

QVariantList Simulator::order(const QString &method, const QVariantList &arguments) const
{
    QDBusMessage reply = desk(method, arguments);
    // The service of a scenario goes and comes back, in the same process.
    constexpr int pause = 5;
    while (m_hasScenario && isAbsence(QDBusError(reply)) && isRunning()) {
        m_process->waitForFinished(pause);
        reply = desk(method, arguments);
    }
    if (reply.type() != QDBusMessage::ReplyMessage) {
        refuse(method, reply.errorMessage());
    }
    return reply.arguments();
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
        QStringList came;
        const QVector<Call> all = calls();
        for (const Call &call : all) {
            came.append(call.text());
        }
        failTest(
            QStringLiteral("%1. These calls came: %2")
                .arg(waitedFor(what),
                     came.isEmpty() ? QStringLiteral("none") : came.join(QStringLiteral(", "))));
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
        refuse(method, waiting.error().message());
    }
    return true;
}

void Simulator::emitControlSignal(const QString &member, const QVariantList &arguments) const
{
    emitSignal(QStringLiteral(OSTREL_CONTROL_PATH), QStringLiteral(OSTREL_CONTROL_INTERFACE),
               member, arguments);
}

} // namespace Ostrel::Testing
