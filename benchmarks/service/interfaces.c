// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "interfaces.h"

#include "DBus/names_p.h"
#include "records.h"

#include <stdio.h>

// The type whose tasks can be started. Any type can be registered.
#define SESSION_PATH OSTREL_TASK_INVOKER_SESSIONS_PATH "benchmark"

// Sends and frees a reply. The result is that of filling it.
static int finish(sd_bus_message *reply, int result)
{
    if (result >= 0) {
        result = sd_bus_send(NULL, reply, NULL);
    }
    sd_bus_message_unref(reply);
    return result;
}

static int start_application(sd_bus_message *call, void *data, sd_bus_error *error)
{
    (void)data;
    (void)error;
    sd_bus_message *reply = NULL;
    int result = sd_bus_message_new_method_return(call, &reply);
    if (result >= 0) {
        result = sd_bus_message_append(reply, "s", "demo.Viewer.instance_1");
    }
    if (result >= 0) {
        result = append_details(reply);
    }
    return finish(reply, result);
}

static int get_running_applications(sd_bus_message *call, void *data, sd_bus_error *error)
{
    (void)error;
    const struct service *service = data;
    sd_bus_message *reply = NULL;
    int result = sd_bus_message_new_method_return(call, &reply);
    if (result >= 0) {
        result = append_running(reply, service->records);
    }
    return finish(reply, result);
}

static int register_invoker(sd_bus_message *call, void *data, sd_bus_error *error)
{
    (void)data;
    (void)error;
    const char *type = NULL;
    int result = sd_bus_message_read(call, "s", &type);
    char path[256];
    snprintf(path, sizeof path, "%s%s", OSTREL_TASK_INVOKER_SESSIONS_PATH, type);
    sd_bus_message *reply = NULL;
    if (result >= 0) {
        result = sd_bus_message_new_method_return(call, &reply);
    }
    if (result >= 0) {
        result = sd_bus_message_append(reply, "o", path);
    }
    if (result >= 0) {
        result = append_active_tasks(reply, 0);
    }
    return finish(reply, result);
}

static int start_task(sd_bus_message *call, void *data, sd_bus_error *error)
{
    (void)data;
    (void)error;
    return sd_bus_reply_method_return(call, "i", 4711);
}

static int update_window_status(sd_bus_message *call, void *data, sd_bus_error *error)
{
    (void)data;
    (void)error;
    return sd_bus_reply_method_return(call, "u", 2U);
}

static const sd_bus_vtable control[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("Start", "s", "sa{sv}", start_application, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("GetRunningApplications", "", "a(siuua{sv})a(ssiua{sv})",
                  get_running_applications, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_SIGNAL("Started", "sa{sv}", 0),
    SD_BUS_SIGNAL("Terminated", "sa{sv}", 0),
    SD_BUS_SIGNAL("StateChanged", "sa{sv}", 0),
    SD_BUS_SIGNAL("SelectedByOom", "s", 0),
    SD_BUS_VTABLE_END,
};

static const sd_bus_vtable invokers[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("RegisterInvoker", "s", "oa{sv}", register_invoker, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};

static const sd_bus_vtable session[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("Start", "sa{sv}a{sv}", "i", start_task, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};

static const sd_bus_vtable windows[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("UpdateWindowStatus", "siii", "u", update_window_status,
                  SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};

int add_interfaces(struct service *service)
{
    static const struct
    {
        const char *path;
        const char *interface;
        const sd_bus_vtable *vtable;
    } objects[] = {
        {OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, control},
        {OSTREL_TASK_INVOKER_PATH, OSTREL_TASK_INVOKER_INTERFACE, invokers},
        {SESSION_PATH, OSTREL_TASK_INVOKER_SESSION_INTERFACE, session},
        {OSTREL_WINDOW_MANAGEMENT_PATH, OSTREL_WINDOW_MANAGEMENT_INTERFACE, windows},
    };
    int result = 0;
    for (size_t i = 0; result >= 0 && i < sizeof objects / sizeof *objects; ++i) {
        result = sd_bus_add_object_vtable(service->bus, NULL, objects[i].path, objects[i].interface,
                                          objects[i].vtable, service);
    }
    return result;
}

int emit_state_changes(struct service *service, unsigned count)
{
    int result = 0;
    for (unsigned i = 0; result >= 0 && i < count; ++i) {
        result = sd_bus_emit_signal(service->bus, OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE,
                                    "StateChanged", "sa{sv}", "demo.Viewer.instance_1", 1, "State",
                                    "u", i % 4);
    }
    return result;
}

int emit_active_tasks(struct service *service, unsigned tasks, unsigned count)
{
    int result = 0;
    for (unsigned i = 0; result >= 0 && i < count; ++i) {
        sd_bus_message *signal = NULL;
        result = sd_bus_message_new_signal(service->bus, &signal, SESSION_PATH,
                                           "org.freedesktop.DBus.Properties", "PropertiesChanged");
        if (result >= 0) {
            result = sd_bus_message_append(signal, "s", OSTREL_TASK_INVOKER_SESSION_INTERFACE);
        }
        if (result >= 0) {
            result = append_active_tasks(signal, tasks);
        }
        if (result >= 0) {
            result = sd_bus_message_append(signal, "as", 0);
        }
        result = finish(signal, result);
    }
    return result;
}
