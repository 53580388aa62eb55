// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef BENCHMARKS_RECORDS_H
#define BENCHMARKS_RECORDS_H

#include <systemd/sd-bus.h>

// The values that the service sends. Every function returns a negative errno on failure.

// The property map of a started application: two values.
int append_details(sd_bus_message *message);

// The lists of running applications and services: this many records in all, with four properties
// each. Every tenth record is a service.
int append_running(sd_bus_message *message, unsigned records);

// A property map with this many active tasks, with four properties each.
int append_active_tasks(sd_bus_message *message, unsigned tasks);

#endif
