// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "records.h"

#include <stdint.h>
#include <stdio.h>

enum {
    services_share = 10
};

int append_details(sd_bus_message *message)
{
    return sd_bus_message_append(message, "a{sv}", 2, "Pid", "i", 4711, "State", "u", 1U);
}

// The four properties that each record has.
static int append_properties(sd_bus_message *message, unsigned number)
{
    return sd_bus_message_append(message, "a{sv}", 4, "Title", "s", "A window of the application",
                                 "Visible", "b", (int)(number % 2), "Memory", "t",
                                 (uint64_t)number * 4096, "Icon", "s",
                                 "/usr/share/icons/application.png");
}

static int append_application(sd_bus_message *message, unsigned number)
{
    char name[32];
    snprintf(name, sizeof name, "demo.Application%u", number);
    int result = sd_bus_message_open_container(message, 'r', "siuua{sv}");
    if (result >= 0) {
        result = sd_bus_message_append(message, "siuu", name, (int)(1000 + number), number % 4,
                                       number % 2);
    }
    if (result >= 0) {
        result = append_properties(message, number);
    }
    return result >= 0 ? sd_bus_message_close_container(message) : result;
}

static int append_service(sd_bus_message *message, unsigned number)
{
    char name[32];
    snprintf(name, sizeof name, "demo.Service%u", number);
    int result = sd_bus_message_open_container(message, 'r', "ssiua{sv}");
    if (result >= 0) {
        result = sd_bus_message_append(message, "ssiu", "demo.Application", name,
                                       (int)(1000 + number), number % 4);
    }
    if (result >= 0) {
        result = append_properties(message, number);
    }
    return result >= 0 ? sd_bus_message_close_container(message) : result;
}

int append_running(sd_bus_message *message, unsigned records)
{
    const unsigned services = records / services_share;
    int result = sd_bus_message_open_container(message, 'a', "(siuua{sv})");
    for (unsigned i = services; result >= 0 && i < records; ++i) {
        result = append_application(message, i);
    }
    if (result >= 0) {
        result = sd_bus_message_close_container(message);
    }
    if (result >= 0) {
        result = sd_bus_message_open_container(message, 'a', "(ssiua{sv})");
    }
    for (unsigned i = 0; result >= 0 && i < services; ++i) {
        result = append_service(message, i);
    }
    return result >= 0 ? sd_bus_message_close_container(message) : result;
}

static int append_active_task(sd_bus_message *message, unsigned number)
{
    char name[32];
    snprintf(name, sizeof name, "task%u", number);
    int result = sd_bus_message_open_container(message, 'r', "sia{sv}");
    if (result >= 0) {
        result = sd_bus_message_append(message, "si", name, (int)(1000 + number));
    }
    if (result >= 0) {
        result = append_properties(message, number);
    }
    return result >= 0 ? sd_bus_message_close_container(message) : result;
}

int append_active_tasks(sd_bus_message *message, unsigned tasks)
{
    static const struct
    {
        char type;
        const char *contents;
    } containers[] = {{'a', "{sv}"}, {'e', "sv"}, {'v', "a(sia{sv})"}, {'a', "(sia{sv})"}};
    enum {
        depth = sizeof containers / sizeof *containers,
        entry = 1
    };

    int result = 0;
    for (int i = 0; result >= 0 && i < depth; ++i) {
        result = sd_bus_message_open_container(message, containers[i].type, containers[i].contents);
        if (result >= 0 && i == entry) {
            result = sd_bus_message_append(message, "s", "ActiveTasks");
        }
    }
    for (unsigned i = 0; result >= 0 && i < tasks; ++i) {
        result = append_active_task(message, i);
    }
    for (int i = 0; result >= 0 && i < depth; ++i) {
        result = sd_bus_message_close_container(message);
    }
    return result;
}
