// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_CONNECTING_H
#define MONITOR_CONNECTING_H

class BusChoice;
class CallsMonitor;

// Connects the process and the monitor to the session bus. A bus that accepts a connection may not
// reply, so another thread waits for that, and a window says so. Its user can only end the process
// then.
void connectToBus(const BusChoice &bus, CallsMonitor &monitor);

#endif
