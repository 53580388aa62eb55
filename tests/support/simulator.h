// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_SIMULATOR_H
#define TESTS_SIMULATOR_H

#include "private_bus.h"

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

// The simulator as a process of its own, and its fault desk, reached on a connection of its own.
// The desk's helpers are about one method, "UpdateWindowStatus", unless another is given.
class Simulator
{
public:
    explicit Simulator(const PrivateBus &bus);
    ~Simulator();

    // Starts the process, and returns when it is ready.
    void start();

    // Ends the process, and returns its exit status.
    int end();

    // Waits until the process has ended by itself, and returns its exit status.
    int waitForEnd();

    Process &process() { return *m_process; }

    // Calls a method of the fault desk and returns the answer, whatever it is.
    QDBusMessage desk(const QString &method, const QVariantList &arguments = {}) const;

    void failNext(const QString &error, const QString &message) const;
    void answerNext(const QVariantList &values) const;
    void ignoreNext() const;
    void delayNext(uint milliseconds) const;
    void dieInNext() const;
    void holdNext(uint count) const;
    void release(const QList<uint> &order) const;
    void waitForCalls(uint count) const;
    void waitForHeld(uint count) const;
    QVector<Call> calls() const;
    void reset() const;

private:
    // Calls a method that must succeed, about "UpdateWindowStatus".
    void arrange(const QString &method, const QVariantList &arguments = {}) const;

    QString m_address;
    std::unique_ptr<Process> m_process;
    QDBusConnection m_connection;
};

#endif
