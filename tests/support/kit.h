// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_KIT_H
#define TESTS_KIT_H

#include <Ostrel/Testing/PrivateBus>
#include <Ostrel/Testing/Process>
#include <Ostrel/Testing/Simulator>
#include <Ostrel/Testing/waiting.h>

#include <limits>

// What these tests have from the library for tests of other programs.
using Ostrel::Testing::Call;
using Ostrel::Testing::Faults;
using Ostrel::Testing::Method;
using Ostrel::Testing::PrivateBus;
using Ostrel::Testing::Process;
using Ostrel::Testing::Simulator;
using Ostrel::Testing::waitUntil;

// Returns when all that the service has to send is on the bus. It sends signals after the reply.
inline void waitUntilAllIsSent(const Simulator &simulator)
{
    simulator.desk("RootFs");
}

// The timeout of a call or of a wait that has none, in milliseconds. CTest ends a test that hangs.
constexpr int forever = std::numeric_limits<int>::max();

#endif
