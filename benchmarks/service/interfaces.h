// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef BENCHMARKS_INTERFACES_H
#define BENCHMARKS_INTERFACES_H

#include <systemd/sd-bus.h>

// The service's objects. Every function returns a negative errno on failure.

struct service
{
    sd_bus *bus;
    // How many records the next reply to GetRunningApplications holds.
    unsigned records;
};

int add_interfaces(struct service *service);

// Emits this many changes of state.
int emit_state_changes(struct service *service, unsigned count);

// Announces a list of this many active tasks, count times.
int emit_active_tasks(struct service *service, unsigned tasks, unsigned count);

#endif
