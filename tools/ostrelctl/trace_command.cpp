// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "advice.h"
#include "busctl_messages.h"
#include "calls_monitor.h"
#include "command.h"
#include "command_line.h"
#include "events.h"
#include "line_reader.h"
#include "live_trace.h"
#include "report.h"
#include "session_bus.h"
#include "termination.h"
#include "text.h"
#include "trace_writer.h"

#include <Ostrel/Control>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QTextStream>
#include <QtCore/QTimer>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

using Ostrel::Control;
using Ostrel::Error;

int reportFailure(const QString &message)
{
    reportError(Error(Error::Failed, message), std::nullopt);
    return OperationFailed;
}

// A trace that is being written. The first failure ends the event loop.
class TraceFile
{
public:
    Result<> open(const QString &file) { return m_writer.open(file); }

    void write(const TraceEvent &event)
    {
        const Result<> written = m_writer.write(event);
        if (!written) {
            m_status = reportFailure(written.error());
            QCoreApplication::exit(m_status);
        }
    }

    bool hasFailed() const { return m_status != Success; }

    // Returns the exit status.
    int close()
    {
        const Result<> closed = m_writer.close();
        return closed ? m_status : reportFailure(closed.error());
    }

private:
    TraceWriter m_writer;
    int m_status = Success;
};

int record(const QString &name, std::optional<int> milliseconds)
{
    const SessionBus sessionBus;
    Control control;
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        return conclude(Error(Error::Failed, QStringLiteral("Not connected to D-Bus server")),
                        false, {});
    }
    CallsMonitor monitor;
    const Result<> monitors = monitor.open();
    const UntilInterrupted untilInterrupted(bus, false);

    TraceFile file;
    if (const Result<> opened = file.open(name); !opened) {
        return reportFailure(opened.error());
    }
    LiveTrace trace(control, [&file](const TraceEvent &event) { file.write(event); });
    trace.add(monitor);
    QObject::connect(&monitor, &CallsMonitor::lost, &trace, [] {
        QTextStream(stderr) << "the calls are not recorded any more: the monitor has been "
                               "disconnected\n";
    });
    if (file.hasFailed()) {
        return file.close();
    }
    QTextStream err(stderr);
    if (!monitors) {
        err << "the calls are not recorded: " << onOneLine(monitors.error()) << '\n';
    }
    err << "recording to " << name << "; Ctrl-C ends it" << Qt::endl;
    if (!control.isServiceAvailable() && bus.isConnected()) {
        printHint(adviceOn(Error(Error::Failed, QString()), QDBusConnection::SessionBus));
    }
    if (milliseconds) {
        QTimer::singleShot(*milliseconds, QCoreApplication::instance(), &QCoreApplication::quit);
    }
    const int status = QCoreApplication::exec();
    trace.finish();
    const int closed = file.close();
    return status != Success ? status : closed;
}

bool isSameFile(int descriptor, const QString &name)
{
    struct stat first = {};
    struct stat second = {};
    return ::fstat(descriptor, &first) == 0
        && ::stat(QFile::encodeName(name).constData(), &second) == 0 && S_ISREG(first.st_mode)
        && first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

int convert(const QString &from, const QString &name)
{
    const bool isStandardInput = from == QLatin1String("-");
    const auto reason = [](int error) { return QString::fromLocal8Bit(std::strerror(error)); };
    const int descriptor = isStandardInput
        ? STDIN_FILENO
        : ::open(QFile::encodeName(from).constData(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return reportFailure(QStringLiteral("cannot read %1: %2").arg(from, reason(errno)));
    }
    if (isSameFile(descriptor, name)) {
        return reportFailure(QStringLiteral("%1 would be overwritten").arg(from));
    }
    TraceFile file;
    if (const Result<> opened = file.open(name); !opened) {
        return reportFailure(opened.error());
    }
    // Ctrl-C also ends the program that writes into the pipe; what it has written is converted.
    const Termination termination;
    LineReader lines(descriptor);
    BusctlMessages messages([&file](const TraceEvent &event) { file.write(event); });
    int others = 0;
    while (!file.hasFailed()) {
        const auto line = lines.next(&Termination::wasRequested);
        if (!line) {
            break;
        }
        others += messages.read(*line) ? 0 : 1;
    }
    const bool hasMessages = messages.finish();
    const int status = file.close();
    others += lines.skippedLines();
    if (status != Success) {
        return status;
    }
    if (lines.error() != 0) {
        return reportFailure(QStringLiteral("cannot read %1: %2").arg(from, reason(lines.error())));
    }
    if (!hasMessages) {
        return reportFailure(
            QStringLiteral("%1 has no message of 'busctl monitor --json=short'").arg(from));
    }
    if (others > 0) {
        QTextStream(stderr) << "lines that are no messages or too long: " << others << '\n';
    }
    return Success;
}

int runTrace(const QStringList &arguments)
{
    const QString output = QStringLiteral("output");
    const QString duration = QStringLiteral("for");
    const QString from = QStringLiteral("from");

    CommandLine line(
        QStringLiteral("trace"),
        QStringLiteral("Records what happens to the applications, and all calls to the service, "
                       "until Ctrl-C,\nas a file for trace viewers. Calls need the right to "
                       "monitor the message bus."));
    line.addOption(output, QStringLiteral("FILE"), QStringLiteral("Write the trace to this file."),
                   QStringLiteral("o"));
    line.addOption(duration, QStringLiteral("SECONDS"), QStringLiteral("End after this time."));
    line.addOption(from, QStringLiteral("FILE"),
                   QStringLiteral("Record nothing: convert the output of 'busctl monitor "
                                  "--json=short' in this file; - is the standard input."));
    return line.run(arguments, [&]() -> Result<int> {
        const auto name = line.file(output);
        const auto input = line.file(from);
        const auto time = line.seconds(duration);
        if (const auto error = firstError(name, input, time)) {
            return Failure(*error);
        }
        if (name->isNull()) {
            return Failure(QStringLiteral("-o FILE is missing"));
        }
        if (line.isSet(from) && line.isSet(duration)) {
            return Failure(QStringLiteral("--for and --from exclude each other"));
        }
        return line.isSet(from) ? convert(*input, *name) : record(*name, *time);
    });
}

} // namespace

Command traceCommand()
{
    return {QStringLiteral("trace"), QStringLiteral("Record a trace for trace viewers"), runTrace};
}
