// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The service of the benchmarks. It replies as fast as it can, and emits signals on order.
//
// Usage: benchmark-service SOCKET
//
// It takes orders on a socket that is not on the bus, so an order costs every contestant the same.
// The reply to each order is "done" or "failed":
//   records N          reply to GetRunningApplications with N records from now on
//   states COUNT       emit COUNT changes of state
//   tasks N COUNT      announce a list of N active tasks, COUNT times
// It ends when its standard input does.

#include "DBus/names_p.h"
#include "interfaces.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <systemd/sd-event.h>
#include <unistd.h>

static int obey(struct service *service, const char *order)
{
    unsigned number = 0;
    unsigned count = 0;
    if (sscanf(order, "records %u", &number) == 1) {
        service->records = number;
        return 0;
    }
    if (sscanf(order, "states %u", &count) == 1) {
        return emit_state_changes(service, count);
    }
    if (sscanf(order, "tasks %u %u", &number, &count) == 2) {
        return emit_active_tasks(service, number, count);
    }
    return -EINVAL;
}

// Each order comes as one packet.
static int on_order(sd_event_source *source, int socket, uint32_t events, void *data)
{
    (void)events;
    char order[64];
    const ssize_t length = read(socket, order, sizeof order - 1);
    if (length <= 0) {
        const int result = sd_event_source_set_enabled(source, SD_EVENT_OFF);
        close(socket);
        return result;
    }
    order[length] = '\0';
    const int result = obey(data, order);
    if (result < 0) {
        fprintf(stderr, "benchmark-service: \"%s\": %s\n", order, strerror(-result));
    }
    const char *answer = result < 0 ? "failed" : "done";
    return write(socket, answer, strlen(answer)) < 0 ? -errno : 0;
}

static int on_client(sd_event_source *source, int listener, uint32_t events, void *data)
{
    (void)events;
    const int client = accept(listener, NULL, NULL);
    if (client < 0) {
        return -errno;
    }
    return sd_event_add_io(sd_event_source_get_event(source), NULL, client, EPOLLIN, on_order,
                           data);
}

static int on_input(sd_event_source *source, int input, uint32_t events, void *data)
{
    (void)events;
    (void)data;
    char ignored[64];
    return read(input, ignored, sizeof ignored) > 0
        ? 0
        : sd_event_exit(sd_event_source_get_event(source), 0);
}

static int listen_at(const char *path)
{
    struct sockaddr_un address = {.sun_family = AF_UNIX};
    if (strlen(path) >= sizeof address.sun_path) {
        return -ENAMETOOLONG;
    }
    strcpy(address.sun_path, path);
    const int listener = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    if (listener < 0 || bind(listener, (const struct sockaddr *)&address, sizeof address) < 0
        || listen(listener, SOMAXCONN) < 0) {
        return -errno;
    }
    return listener;
}

static int serve(const char *path)
{
    struct service service = {0};
    sd_event *loop = NULL;
    int result = sd_event_default(&loop);
    if (result >= 0) {
        result = sd_bus_open_user(&service.bus);
    }
    if (result >= 0) {
        result = sd_bus_attach_event(service.bus, loop, SD_EVENT_PRIORITY_NORMAL);
    }
    if (result >= 0) {
        result = add_interfaces(&service);
    }
    if (result >= 0) {
        result = sd_bus_request_name(service.bus, OSTREL_SERVICE_NAME, 0);
    }
    const int listener = result >= 0 ? listen_at(path) : result;
    if (listener >= 0) {
        result = sd_event_add_io(loop, NULL, listener, EPOLLIN, on_client, &service);
    } else {
        result = listener;
    }
    if (result >= 0) {
        result = sd_event_add_io(loop, NULL, STDIN_FILENO, EPOLLIN, on_input, NULL);
    }
    if (result >= 0) {
        puts("ready");
        fflush(stdout);
        result = sd_event_loop(loop);
    }
    sd_bus_flush_close_unref(service.bus);
    sd_event_unref(loop);
    return result;
}

int main(int argc, char **argv)
{
    if (argc != 2) {
        fputs("usage: benchmark-service SOCKET\n", stderr);
        return 2;
    }
    const int result = serve(argv[1]);
    if (result < 0) {
        fprintf(stderr, "benchmark-service: %s\n", strerror(-result));
        return 1;
    }
    return 0;
}
