// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/process_end_p.h"

#include "DBus/service_name_p.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QThread>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusConnectionInterface>

#include <array>
#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

namespace Ostrel
{

namespace
{

std::atomic<bool> announced = false;
std::atomic<bool> begun = false;
// Set before the end is announced.
std::thread::id endingThread; // clazy:exclude=non-pod-global-static

// How many delays this thread holds.
thread_local int delays = 0;

// What QtDBus calls the two buses.
constexpr std::array<const char *, 2> busNames{"qt_default_session_bus", "qt_default_system_bus"};

// Never destroyed: static objects of the program may make requests after the sentinel is gone.
std::shared_mutex &mutex()
{
    static auto *const forever = new std::shared_mutex;
    return *forever;
}

// Waits until QtDBus's thread has sent the calls and posted the events that it was about to.
// Returns the thread, which all connections share, or null after its end.
QThread *waitForThreadOfQtDBus()
{
    for (const char *const bus : busNames) {
        QDBusConnection connection{QLatin1String(bus)};
        const QDBusConnectionInterface *const interface = connection.interface();
        if (QThread *const thread = interface == nullptr ? nullptr : interface->thread()) {
            // The thread handles this request after all earlier ones, and finds nothing to
            // disconnect.
            QObject receiver;
            connection.disconnect(QString(), QString(), serviceName, QStringLiteral("Nothing"),
                                  &receiver, SLOT(deleteLater()));
            return thread;
        }
    }
    return nullptr;
}

// QtDBus returns both connections again when somebody asks for them later, even if it has deleted
// them. It deletes none that are in use.
void useConnectionsForEver()
{
    static auto *const inUse = new std::vector<QDBusConnection>;
    for (const char *const bus : busNames) {
        inUse->emplace_back(QLatin1String(bus));
    }
}

// QtDBus's thread may be about to wake the event dispatcher for a reply. The application removes
// the dispatcher, then emits destroyed(), and then deletes the dispatcher.
void watchApplication()
{
    QObject::connect(QCoreApplication::instance(), &QObject::destroyed,
                     [] { waitForThreadOfQtDBus(); });
}

struct Sentinel
{
    // Also called for each application that is made later.
    Sentinel() { qAddPreRoutine(watchApplication); }

    ~Sentinel()
    {
        endingThread = std::this_thread::get_id();
        announced = true;
        // A message handler that a request called may have ended the process. It never returns.
        for (; delays > 0; --delays) {
            mutex().unlock_shared();
        }
        const std::unique_lock<std::shared_mutex> waitForDelays(mutex());
        begun = true;
        // QtDBus ends its thread when it is destroyed itself. By then the thread may already have
        // used Qt's types and timers after their destruction.
        if (QThread *const thread = waitForThreadOfQtDBus()) {
            useConnectionsForEver();
            thread->quit();
            thread->wait();
        }
    }
};

} // namespace

void ProcessEnd::watch()
{
    static const Sentinel sentinel;
}

bool ProcessEnd::hasBegun()
{
    return begun;
}

QDBusConnection ProcessEnd::bus(QDBusConnection::BusType type)
{
    if (hasBegun()) {
        return QDBusConnection(QString());
    }
    return type == QDBusConnection::SessionBus ? QDBusConnection::sessionBus()
                                               : QDBusConnection::systemBus();
}

void ProcessEnd::keep(const void *call)
{
    static auto *const calls = new std::vector<const void *>;
    const std::unique_lock<std::shared_mutex> lock(mutex());
    calls->push_back(call);
}

// Threads that keep making requests could delay the end for ever. So none begins a request after
// the end has been announced.
ProcessEnd::Delay::Delay()
{
    if (!announced) {
        m_lock = std::shared_lock<std::shared_mutex>(mutex());
        ++delays;
    }
    // The end may have been announced meanwhile.
    m_isGranted = m_lock.owns_lock() ? !begun : endingThread == std::this_thread::get_id();
}

ProcessEnd::Delay::~Delay()
{
    delays -= m_lock.owns_lock() ? 1 : 0;
}

} // namespace Ostrel
