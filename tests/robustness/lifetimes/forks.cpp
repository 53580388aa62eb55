// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "forks.h"

#include "clients.h"

#include <QtCore/QCoreApplication>

#include <csignal>
#include <cstdlib>
#include <functional>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

// Forks. Returns how the child ended: its exit status, or minus the signal.
int inChild(const std::function<void()> &function)
{
    const pid_t parent = ::getpid();
    const pid_t child = ::fork();
    if (child == 0) {
        // A child that hangs ends with the test.
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != parent) {
            ::_exit(98);
        }
        function();
        ::_exit(99);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

// Makes calls, runs the function in a child, and goes on.
int withChild(int &argc, char **argv, const std::function<void()> &function)
{
    const QCoreApplication application(argc, argv);
    Clients clients;
    clients.sayEvents(1);
    clients.call();
    say(QString("child: %1").arg(inChild(function)));
    clients.start();
    clients.sayEvents(3);
    // The same without calls in flight.
    say(QString("child: %1").arg(inChild(function)));
    clients.call();
    clients.start();
    clients.sayEvents(3);
    return 0;
}

} // namespace

int childExecs(int &argc, char **argv)
{
    return withChild(argc, argv,
                     [argv] { ::execl(argv[0], argv[0], "applicationComesLater", nullptr); });
}

// Not even the connection to the bus.
int childInheritsNothing(int &argc, char **argv)
{
    return withChild(argc, argv, [] {
        ::execl("/bin/sh", "sh", "-c", "ls -l /proc/self/fd | grep socket", nullptr);
    });
}

int childUsesNothing(int &argc, char **argv)
{
    return withChild(argc, argv, [] { ::_exit(7); });
}

int childComesFirst(int &argc, char **argv)
{
    const int status = inChild([&argc, argv] {
        const QCoreApplication application(argc, argv);
        {
            Clients clients;
            clients.start();
            clients.sayEvents(2);
        }
        std::exit(7); // NOLINT(concurrency-mt-unsafe)
    });
    say(QString("child: %1").arg(status));
    const QCoreApplication application(argc, argv);
    Clients clients;
    clients.start();
    clients.sayEvents(2);
    return 0;
}
