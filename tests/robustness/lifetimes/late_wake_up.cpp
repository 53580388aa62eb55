// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "late_wake_up.h"

#include "clients.h"

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QFile>
#include <QtCore/QThread>

#include <atomic>
#include <thread>

namespace
{

std::atomic<bool> holdsWakeUps{false};
std::atomic<bool> isHeld{false};
std::atomic<bool> applicationEnds{false};
std::atomic<bool> dispatcherIsGone{false};

bool mainThreadSleeps()
{
    const QString process = QString::number(QCoreApplication::applicationPid());
    QFile file(QString("/proc/self/task/%1/stat").arg(process));
    return file.open(QIODevice::ReadOnly) && file.readAll().contains(") S ");
}

// Handles only posted events. Holds a thread that wakes it until the application waits for that
// thread, or until the dispatcher has been deleted.
class Dispatcher : public QAbstractEventDispatcher // clazy:exclude=missing-qobject-macro
{
public:
    ~Dispatcher() override { dispatcherIsGone = true; }

    void wakeUp() override
    {
        if (!holdsWakeUps || QThread::currentThread() == thread()) {
            return;
        }
        isHeld = true;
        while (!dispatcherIsGone && !(applicationEnds && mainThreadSleeps())) {
            std::this_thread::yield();
        }
        say(dispatcherIsGone ? "too late" : "in time");
        holdsWakeUps = false;
    }

    bool processEvents(QEventLoop::ProcessEventsFlags /*flags*/) override
    {
        QCoreApplication::sendPostedEvents();
        return false;
    }

    bool hasPendingEvents() override { return false; }
    void registerSocketNotifier(QSocketNotifier * /*notifier*/) override { }
    void unregisterSocketNotifier(QSocketNotifier * /*notifier*/) override { }
    void registerTimer(int /*id*/, int /*interval*/, Qt::TimerType /*type*/,
                       QObject * /*object*/) override
    {
    }
    bool unregisterTimer(int /*id*/) override { return false; }
    bool unregisterTimers(QObject * /*object*/) override { return false; }
    QList<TimerInfo> registeredTimers(QObject * /*object*/) const override { return {}; }
    int remainingTime(int /*id*/) override { return -1; }
    void interrupt() override { }
    void flush() override { }
};

} // namespace

int lateWakeUp(int &argc, char **argv)
{
    std::unique_ptr<Clients> clients;
    {
        QCoreApplication::setEventDispatcher(new Dispatcher);
        const QCoreApplication application(argc, argv);
        clients = std::make_unique<Clients>();
        clients->call();
        holdsWakeUps = true;
        say("called");
        while (!isHeld) {
            std::this_thread::yield();
        }
        applicationEnds = true;
    }
    clients.reset();
    return 0;
}
