// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_SIMULATOR_H
#define TESTS_SIMULATOR_H

#include "method_faults.h"
#include "private_bus.h"

#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>
#include <QtCore/QVariantList>
#include <QtCore/QVector>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>

#include <memory>

// A call as the simulator logged it.
struct Call
{
    QString path;
    QString interface;
    QString member;
    QString signature;
    QVariantList arguments;
};

// The simulator in its own process, and its fault desk, which has a connection of its own.
class Simulator
{
public:
    // options: the options of the program, besides the bus.
    explicit Simulator(const PrivateBus &bus, const QStringList &options = {});
    ~Simulator();

    // Starts the process, and returns when it is ready.
    void start();

    // Ends the process, and returns its exit status.
    int end();

    // Waits until the process has ended by itself, and returns its exit status.
    int waitForEnd();

    Process &process() { return *m_process; }

    // Calls a method of the fault desk. Returns the reply, which may be an error.
    QDBusMessage desk(const QString &method, const QVariantList &arguments = {}) const;

    // Makes the service send a signal, and returns when it has been sent.
    void emitSignal(const char *path, const char *interface, const QString &member,
                    const QVariantList &arguments) const;

    // Returns the faults of a method. The interface is one of the constants.
    MethodFaults faults(const char *interface, const char *method) const;

    // Returns the faults of "UpdateWindowStatus".
    MethodFaults windowStatus() const;

    QVector<Call> calls() const;
    void reset() const;

private:
    QString m_address;
    QStringList m_options;
    // The process has its temporary files here, because it may be killed.
    QTemporaryDir m_folder;
    std::unique_ptr<Process> m_process;
    QDBusConnection m_connection;
};

#endif
