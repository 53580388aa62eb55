// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_TESTING_PRIVATE_BUS_H
#define OSTREL_TESTING_PRIVATE_BUS_H

#include <QtCore/QString>
#include <QtCore/QTemporaryDir>

#include <memory>

namespace Ostrel::Testing
{

class BusProcess;

/**
 * A message bus of the test: a dbus-daemon in a process of its own, in place of the user's buses.
 *
 * It starts no services, and everybody on it may do everything. It ends with the test, also if a
 * signal ends the test, and leaves no files.
 *
 * Make it before anything uses a bus, and keep it as long as the test runs: QtDBus opens one
 * connection to each of the two buses, and opens no other when that bus has ended. A member of the
 * test's class does that. Use the object in the main thread.
 */
class PrivateBus
{
public:
    /** Which buses a private bus stands in for. */
    enum Buses {
        /** The bus of the user's session, which the library uses by default. */
        SessionBus,
        /** The bus of the whole device, which a TaskInvoker can use. */
        SystemBus,
        /** Both. One Simulator then serves both. */
        BothBuses
    };

    /**
     * Starts a message bus, and returns when programs can connect to it.
     *
     * Sets DBUS_SESSION_BUS_ADDRESS, DBUS_SYSTEM_BUS_ADDRESS or both in the environment to its
     * address, for this process and the programs that it starts. The variables keep that value when
     * the object is destroyed. If dbus-daemon is missing, the test ends with a line that says so.
     * This makes no bus call.
     *
     * @param buses     the buses that it stands in for.
     * @param elements  elements of a `busconfig`, which come after those of the bus: for example
     *                  policies or limits.
     */
    explicit PrivateBus(Buses buses = SessionBus, const QString &elements = QString());

    /** Ends the bus as end() does. */
    ~PrivateBus();

    /** Returns the address of the bus, as QDBusConnection::connectToBus() takes it. */
    QString address() const;

    /** Returns the number of the bus's process. */
    qint64 processId() const;

    /** Ends the bus. All connections to it are lost, and none comes back. */
    void end();

    /**
     * Makes the bus hang: programs can connect to it, and get no replies. Does nothing if the bus
     * has ended.
     */
    void suspend();

    /** Ends what suspend() began. */
    void resume();

private:
    Q_DISABLE_COPY(PrivateBus)

    void send(int signal);

    QTemporaryDir m_folder;
    std::unique_ptr<BusProcess> m_process;
};

} // namespace Ostrel::Testing

#endif
