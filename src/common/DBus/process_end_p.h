// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_PROCESS_END_P_H
#define OSTREL_DBUS_PROCESS_END_P_H

#include <QtCore/QtGlobal>
#include <QtDBus/QDBusConnection>

#include <shared_mutex>

// Protects pending calls when the process ends. QtDBus then deletes the calls that wait for a
// reply, although others hold references to them.
namespace Ostrel::ProcessEnd
{

// Starts watching for the end of the process. Static objects are destroyed in reverse order, so
// each proxy calls this after QtDBus and the types have been set up: the end is noticed before they
// go.
void watch();

// Whether QtDBus may have deleted the calls that wait for a reply.
bool hasBegun();

// Returns the bus, or no connection once the end has begun: QtDBus cannot connect any more then,
// and would never return.
QDBusConnection bus(QDBusConnection::BusType type);

// Leaks a call on purpose, where leak checkers still find it.
void keep(const void *call);

// The end of the process waits while one of these exists. QtDBus and its types then stay until
// another thread has received and read its reply.
class Delay
{
public:
    Delay();
    ~Delay();

    // False if another thread is already ending the process: QtDBus may go at any moment.
    bool isGranted() const { return m_isGranted; }

private:
    Q_DISABLE_COPY(Delay)

    std::shared_lock<std::shared_mutex> m_lock;
    bool m_isGranted = true;
};

} // namespace Ostrel::ProcessEnd

#endif
