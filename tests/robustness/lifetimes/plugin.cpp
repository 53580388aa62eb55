// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// A plugin that uses the library, and leaves behind what the library itself keeps: the shared
// Control and the proxy of a WindowManagement.

#include <Ostrel/Control>
#include <Ostrel/TaskInvoker>
#include <Ostrel/WindowManagement>

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>

#include <memory>

using Ostrel::ApplicationState;
using Ostrel::Control;
using Ostrel::Error;
using Ostrel::TaskInvoker;
using Ostrel::WindowManagement;

namespace
{

// QtDBus may keep a message longer than the plugin is loaded. So the strings own their memory.
QString text(const char *characters)
{
    return characters;
}

// Returns how many of the four requests succeed.
int useEverything()
{
    int good = 0;
    QVector<Ostrel::RunningApplication> applications;
    QVector<Ostrel::RunningService> services;
    QCoreApplication::processEvents();
    good += Control::instance()->getRunningApplications(applications, services) ? 0 : 1;
    good += Control().terminate(text("none")).code() == Error::ApplicationNotRunning ? 1 : 0;

    QEventLoop loop;
    int outcomes = 0;
    const auto arrived = [&](bool isGood) {
        good += isGood ? 1 : 0;
        if (++outcomes == 2) {
            loop.quit();
        }
    };
    TaskInvoker invoker(TaskInvoker::SessionBus, text("sync"));
    invoker.onReady([&](const Error &error) { arrived(!error); });
    WindowManagement windows;
    windows.updateWindowStatus(text("w"), 1, 2, 3, &invoker,
                               [&](ApplicationState, const Error &error) { arrived(!error); });
    loop.exec();

    // The answer would come after the plugin is unloaded.
    invoker.start(text("photos"), {}, {}, [](int, const Error &) { qFatal("late"); });
    return good;
}

} // namespace

extern "C" Q_DECL_EXPORT int useLibrary()
{
    if (QCoreApplication::instance() != nullptr) {
        return useEverything();
    }
    int argc = 1;
    char name[] = "plugin";
    char *argv[] = {name, nullptr};
    const QCoreApplication application(argc, argv);
    return useEverything();
}
