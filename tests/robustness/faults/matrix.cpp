// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "matrix.h"

#include "calls_without_timeout.h"

#include <QtCore/QCoreApplication>

#include <algorithm>
#include <iostream>

namespace
{

constexpr int nameWidth = 50;

const Fault &faultNamed(const QString &name)
{
    static const std::vector<Fault> all = [] {
        std::vector<Fault> joined;
        for (const auto &some : {faultsOfLife(), faultsOfErrors(), faultsOfTypes(), faultsInMaps(),
                                 faultsOfLengths(), faultsOfParameters()}) {
            joined.insert(joined.end(), some.cbegin(), some.cend());
        }
        return joined;
    }();
    for (const Fault &fault : all) {
        if (fault.name == name) {
            return fault;
        }
    }
    qFatal("no fault: %s", qPrintable(name));
}

// An operation on one of the buses.
struct Column
{
    QString name;
    const Operation &operation;
    QDBusConnection::BusType bus;
};

const std::vector<Column> &columns()
{
    static const std::vector<Column> all = [] {
        std::vector<Column> joined;
        for (const Operation &operation : operations()) {
            joined.push_back({operation.name, operation, QDBusConnection::SessionBus});
        }
        for (const Operation &operation : taskOperations()) {
            joined.push_back({"system:" + operation.name, operationNamed(operation.name),
                              QDBusConnection::SystemBus});
        }
        return joined;
    }();
    return all;
}

const Column &columnNamed(const QString &name)
{
    const auto found = std::find_if(columns().cbegin(), columns().cend(),
                                    [&name](const Column &column) { return column.name == name; });
    if (found == columns().cend()) {
        qFatal("no column: %s", qPrintable(name));
    }
    return *found;
}

// A system bus passes on fewer answers than a session bus.
Rig::Bus kindOf(QDBusConnection::BusType bus)
{
    return bus == QDBusConnection::SystemBus ? Rig::WithStrictBus : Rig::WithBus;
}

// The largest faults are tried on the other bus only in the long form. With the sanitizers they
// take several times as much memory, and show no more than smaller ones.
bool isTried(const Fault &fault, const Column &column)
{
#ifdef __SANITIZE_ADDRESS__
    const bool isForLargeOnes = false;
#else
    const bool isForLargeOnes = column.bus == QDBusConnection::SessionBus;
#endif
    return fault.concerns(column.operation)
        && (!fault.isLarge || isForLargeOnes || qEnvironmentVariableIsSet("OSTREL_LONG_TESTS"));
}

QString markOf(const Rig &rig, const Operation &operation)
{
    if (operation.isCall()) {
        return QString::number(rig.code());
    }
    if (operation.isSignal()) {
        const auto word = operation.markerSeen.section(' ', 0, 0);
        const auto others =
            rig.events().filter(word).size() - rig.events().count(operation.markerSeen);
        return others > 0 ? "+" : "-";
    }
    return "ok";
}

// What the operation does when nothing goes wrong any more.
QString afterwards(Rig &rig, const Operation &operation)
{
    rig.begin();
    {
        const auto action = operation.prepare(rig);
        arrangeGood(rig, operation);
        action();
    }
    return rig.events().join("; ");
}

void printLine(const QString &line)
{
    std::cout << qPrintable(line) << std::endl;
}

void printHead()
{
    QString line(nameWidth, ' ');
    for (const Column &column : columns()) {
        line += ' ' + column.name;
    }
    printLine(line);
}

void printRow(const Fault &fault, const std::vector<std::optional<Outcome>> &row,
              const std::vector<bool> &wrong)
{
    QString line = fault.name.leftJustified(nameWidth, ' ', true);
    for (std::size_t i = 0; i < row.size(); ++i) {
        const QString mark = !row[i] ? QString() : wrong[i] ? "!" : row[i]->mark;
        line += mark.rightJustified(columns()[i].name.size() + 1);
    }
    printLine(line);
}

} // namespace

Outcome tryOperation(Rig &rig, const Fault &fault, const Operation &operation)
{
    rig.begin();
    if (fault.before) {
        fault.before(rig, operation);
    }
    QString text;
    {
        const auto action = operation.prepare(rig);
        if (fault.arrange) {
            fault.arrange(rig, operation);
        }
        // Only what is tried has a timeout.
        setServiceTimeout(fault.timeout.value_or(forever));
        action();
        rig.settle();
        setServiceTimeout(forever);
        if (fault.after) {
            fault.after(rig, operation);
            rig.settle();
        }
        text = rig.events().join("; ");
        // Callbacks of onReady() stay until their invoker is deleted.
        if (operation.kind == Operation::AsynchronousCall && operation.member != "RegisterInvoker"
            && rig.liveCallbacks() != 0) {
            text += " (its callback is still held)";
        }
    }
    rig.settle();
    if (rig.liveCallbacks() != 0) {
        text += QString(" (%1 callbacks are held for ever)").arg(rig.liveCallbacks());
    }
    const QStringList warnings = rig.takeWarnings();
    for (const QString &warning : warnings) {
        text += "; warning: " + shortened(warning);
    }
    Outcome outcome{markOf(rig, operation), text};

    if (rig.connection().isConnected()) {
        const QString later = afterwards(rig, operation);
        if (later != goodOutcome(operation)) {
            outcome.text += QString(" (afterwards: %1)").arg(later);
        }
    }
    return outcome;
}

int tryApart(const QString &fault, const QStringList &columnNames)
{
    const Fault &tried = faultNamed(fault);
    const Column &first = columnNamed(columnNames.constFirst());
    if (fault == "the bus dies in the call") {
        // If it dies while QtDBus's thread asks it for an owner, libdbus aborts.
        qputenv("DBUS_FATAL_WARNINGS", "0");
    }
    std::optional<PrivateBus> session;
    if (first.bus == QDBusConnection::SystemBus) {
        // Nothing is wrong with the other bus.
        session.emplace();
    }
    Rig rig(tried.place == Fault::OwnProcessWithoutBus ? Rig::NoBus : kindOf(first.bus), first.bus);
    for (const QString &column : columnNames) {
        const Outcome outcome = tryOperation(rig, tried, columnNamed(column).operation);
        printLine(outcome.mark);
        printLine(outcome.text);
    }
    return 0;
}

Matrix::Row Matrix::row(const Fault &fault)
{
    if (fault.place != Fault::Shared) {
        return rowApart(fault);
    }
    for (const auto bus : {QDBusConnection::SessionBus, QDBusConnection::SystemBus}) {
        if (!m_rigs.at(bus)) {
            m_rigs.at(bus).emplace(kindOf(bus), bus);
        }
    }
    Row outcomes(columns().size());
    for (std::size_t i = 0; i < outcomes.size(); ++i) {
        const Column &column = columns()[i];
        if (isTried(fault, column)) {
            outcomes[i] = tryOperation(*m_rigs.at(column.bus), fault, column.operation);
        }
    }
    return outcomes;
}

Matrix::Row Matrix::rowApart(const Fault &fault)
{
    struct Part
    {
        std::unique_ptr<Process> process;
        std::vector<std::size_t> columns;
    };
    std::vector<Part> parts;
    for (std::size_t i = 0; i < columns().size(); ++i) {
        if (isTried(fault, columns()[i])) {
            if (parts.empty() || int(parts.back().columns.size()) == fault.operationsAtOnce
                || columns()[parts.back().columns.front()].bus != columns()[i].bus) {
                parts.emplace_back();
            }
            parts.back().columns.push_back(i);
        }
    }
    // All at the same time, because some wait for a timeout.
    for (Part &part : parts) {
        QStringList arguments{"--apart", fault.name};
        for (const std::size_t column : part.columns) {
            arguments.append(columns()[column].name);
        }
        part.process =
            std::make_unique<Process>(QCoreApplication::applicationFilePath(), arguments);
        part.process->start();
    }
    Row outcomes(columns().size());
    for (const Part &part : parts) {
        for (const std::size_t column : part.columns) {
            const QString mark = part.process->readLine();
            outcomes[column] = Outcome{mark, part.process->readLine()};
        }
        if (part.process->waitForEnd() != 0) {
            outcomes[part.columns.back()]->text +=
                QString(" (the program does not end well: %1)")
                    .arg(QString::fromUtf8(part.process->readAllStandardError()));
        }
    }
    return outcomes;
}

QStringList Matrix::run(const std::vector<Fault> &faults)
{
    QStringList failures;
    printHead();
    for (const Fault &fault : faults) {
        const auto outcomes = row(fault);
        std::vector<bool> wrong(outcomes.size());
        for (std::size_t i = 0; i < outcomes.size(); ++i) {
            if (!outcomes[i]) {
                continue;
            }
            ++m_cells;
            const QString expected = fault.expected(columns()[i].operation);
            wrong[i] = outcomes[i]->text != expected;
            if (wrong[i]) {
                failures.append(
                    QString("%1, %2:\n   saw      %3\n   expected %4")
                        .arg(columns()[i].name, fault.name, outcomes[i]->text, expected));
            }
        }
        printRow(fault, outcomes, wrong);
    }
    return failures;
}
