// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// Has races on purpose: scripts/races fails if they are not reported.

#include <Ostrel/Control>

#include <QtCore/QCoreApplication>

#include <thread>

namespace
{

int calls = 0; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)

// Twice at once, where the documentation allows one thread alone.
Q_NEVER_INLINE void setTimeoutInTwoThreads(Ostrel::Control &control, int milliseconds)
{
    control.setTimeout(milliseconds);
    ++calls;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    Ostrel::Control control;
    std::thread other([&control] { setTimeoutInTwoThreads(control, 1000); });
    setTimeoutInTwoThreads(control, 2000);
    other.join();
    return calls == 2 ? 0 : 1;
}
