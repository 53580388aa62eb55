// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef BENCHMARKS_RECORDS_H
#define BENCHMARKS_RECORDS_H

#include <systemd/sd-bus.h>

// The values that the service sends. Every function returns a negative errno on failure.

// The property map of a started application: two values.
int append_details(sd_bus_message *message);

// The two lists of running things, of so many records of four properties in all. Every tenth record
// is a service, all others are applications.
int append_running(sd_bus_message *message, unsigned records);

// A property map that holds so many active tasks of four properties.
int append_active_tasks(sd_bus_message *message, unsigned tasks);

#endif
