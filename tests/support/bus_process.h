// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_BUS_PROCESS_H
#define TESTS_BUS_PROCESS_H

#include "process.h"

#include <QtCore/QTemporaryDir>

#include <memory>

// The process of a message bus that programs can connect to.
class BusProcess : public Process
{
public:
    // The program that the tests run against. OSTREL_TEST_BUS in the environment names it.
    enum Kind {
        DBusDaemon,
        DBusBroker
    };
    static Kind kind();

    // dbus-daemon with these elements in its configuration, after those of a private bus or alone.
    static std::unique_ptr<BusProcess> daemon(const QTemporaryDir &folder, const QString &elements);
    static std::unique_ptr<BusProcess> daemonAt(const QString &address, const QTemporaryDir &folder,
                                                const QString &elements);

    // dbus-broker with these options. It can start the service, which never comes up.
    static std::unique_ptr<BusProcess> broker(const QTemporaryDir &folder,
                                              const QStringList &options,
                                              const QString &service = QString());

    QString address() const { return m_address; }

private:
    BusProcess(const QString &program, const QStringList &arguments);

    QString m_address;
};

// What usual session and system buses of dbus-broker have.
QStringList quotasOfSessionBus();
QStringList quotasOfSystemBus();

// How many nested containers it delivers.
int deepestMessage();

// What the bus says about a service that does not run, and about one that ended before it replied.
// Each program has its own words.
QString absentServiceText();
QString endedServiceText();

#endif
