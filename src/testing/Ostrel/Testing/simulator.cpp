// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "simulator.h"

#include "end_of_test_p.h"
#include "process_folder_p.h"
#include "waiting.h"
#include "waiting_p.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QStandardPaths>

#include <atomic>
#include <cstdio>

namespace Ostrel::Testing
{

namespace
{

// Set before main() by what knows them.
const char *defaultProgram = "ostrel-simulator";
const char *defaultCatalogue = "";

QString connectionName()
{
    static std::atomic<int> count{0};
    return QStringLiteral("ostrel-testing-%1").arg(++count);
}

} // namespace

bool setDefaultProgram(const char *path) noexcept
{
    defaultProgram = path;
    return true;
}

bool setDefaultCatalogue(const char *path) noexcept
{
    defaultCatalogue = path;
    return true;
}

Simulator::Simulator(const PrivateBus &bus, const QStringList &options)
    : m_address(bus.address())
    , m_options(options)
    , m_program(QFile::decodeName(defaultProgram))
    , m_catalogue(QFile::decodeName(defaultCatalogue))
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
        if (comesBack()) {
            return;
        }
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
    m_process->writeToFiles(m_folder.path());
    m_process->start();
    if (!m_process->waitForStarted(-1)) {
        const QString reason = QStandardPaths::findExecutable(m_program).isEmpty()
            ? QStringLiteral("there is no program %1. Install the package ostrel-simulator.")
                  .arg(m_program)
            : QStringLiteral("%1: %2").arg(m_program, m_process->errorString());
        endTest(QStringLiteral("The simulator does not start: %1").arg(reason));
    }
    m_process->readLine();
    qputenv("OSTREL_ROOTFS",
            QFile::encodeName(order(QStringLiteral("RootFs")).arguments().value(0).toString()));
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

Process &Simulator::process() const
{
    if (!m_process) {
        endTest(QStringLiteral("The simulator has no process. Call start() first."));
    }
    return *m_process;
}

bool Simulator::isRunning() const
{
    return m_process && m_process->state() != QProcess::NotRunning;
}

bool Simulator::isServingOrAway() const
{
    return isServing() || (m_hasScenario && isRunning());
}

// Waits until the service is back that leaves the bus in a scenario. Returns false if the process
// has ended instead.
bool Simulator::comesBack() const
{
    const QDeadlineTimer deadline(waitLimit());
    while (m_hasScenario && isRunning()) {
        if (isServing()) {
            return true;
        }
        if (deadline.hasExpired()) {
            endTest(waitedFor(QStringLiteral("the service, which has left the bus.")));
        }
        m_process->waitForFinished(lookPause);
    }
    return false;
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

} // namespace Ostrel::Testing
