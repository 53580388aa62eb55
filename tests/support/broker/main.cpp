// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include <systemd/sd-bus.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

// Runs dbus-broker as a private message bus. Its own launcher needs systemd.
//
// Usage: ostrel-test-broker SOCKET NAME [OPTION...]. It prints the address of the bus when programs
// can connect. The name, unless it is empty, is one of a service that the bus can start, and that
// never comes up. The options are those of dbus-broker.

namespace
{

const char *const namePath = "/org/bus1/DBus/Name/0";
const char *const nameInterface = "org.bus1.DBus.Name";

void require(bool condition, const char *what)
{
    if (!condition) {
        std::cerr << "ostrel-test-broker: " << what << ": " << std::strerror(errno) << std::endl;
        ::_exit(1);
    }
}

// sd-bus returns its errors.
void require(int result, const char *what)
{
    errno = result < 0 ? -result : 0;
    require(result >= 0, what);
}

int listenAt(const std::string &path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    require(path.size() < sizeof address.sun_path, "too long a path");
    path.copy(address.sun_path, path.size());
    // dbus-broker accepts until nobody is waiting.
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0);
    require(::bind(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0,
            "cannot bind");
    require(::listen(socket, SOMAXCONN) == 0, "cannot listen");
    return socket;
}

// Everybody may do everything. A rule is a verdict, a priority, and a filter that matches
// everything.
void appendPolicy(sd_bus_message *message)
{
#define OSTREL_RULES "bta(btbs)a(btssssuutt)a(btssssuutt)"
    constexpr int allow = 1;
    constexpr std::uint64_t priority = 1;
    constexpr std::uint64_t zero = 0;
    // The rules for all users and for some, the labels of SELinux, AppArmor, and the type of the
    // bus.
    require(sd_bus_message_append(message, "v",
                                  "(a(u(" OSTREL_RULES "))a(buu(" OSTREL_RULES "))a(ss)bs)",
                                  // For all users, to connect.
                                  1, UINT32_MAX, allow, priority,
                                  // To own a name that begins with anything.
                                  1, allow, priority, 1, "",
                                  // To send and to receive.
                                  1, allow, priority, "", "", "", "", 0, 0, zero, UINT64_MAX, //
                                  1, allow, priority, "", "", "", "", 0, 0, zero, UINT64_MAX, //
                                  0, 0, 0, "session"),
            "cannot write the policy");
#undef OSTREL_RULES
}

int failActivation(sd_bus_message *message, void * /*data*/, sd_bus_error * /*error*/)
{
    std::uint64_t serial = 0;
    require(sd_bus_message_read(message, "t", &serial), "cannot read the serial number");
    return sd_bus_call_method_async(sd_bus_message_get_bus(message), nullptr, nullptr, namePath,
                                    nameInterface, "Reset", nullptr, nullptr, "ts", serial,
                                    "org.bus1.DBus.Name.Error.UnitFailure");
}

// Ends with dbus-broker, and dbus-broker with it.
[[noreturn]] void control(int broker, int listener, const std::string &path,
                          const std::string &name)
{
    const char *const root = "/org/bus1/DBus/Broker";
    const char *const interface = "org.bus1.DBus.Broker";
    sd_bus *bus = nullptr;
    require(sd_bus_new(&bus), "no bus");
    require(sd_bus_set_fd(bus, broker, broker), "no socket");
    require(sd_bus_start(bus), "cannot connect");
    if (!name.empty()) {
        require(sd_bus_match_signal(bus, nullptr, nullptr, namePath, nameInterface, "Activate",
                                    failActivation, nullptr),
                "no match");
        require(sd_bus_call_method(bus, nullptr, root, interface, "AddName", nullptr, nullptr,
                                   "osu", namePath, name.c_str(), ::getuid()),
                "AddName");
    }
    sd_bus_message *message = nullptr;
    require(sd_bus_message_new_method_call(bus, &message, nullptr, root, interface, "AddListener"),
            "no message");
    require(sd_bus_message_append(message, "oh", "/org/bus1/DBus/Listener/0", listener),
            "no listener");
    appendPolicy(message);
    require(sd_bus_call(bus, message, UINT64_MAX, nullptr, nullptr), "AddListener");
    ::close(listener);
    std::cout << "unix:path=" << path << std::endl;
    int result = 0;
    while (result >= 0) {
        result = sd_bus_process(bus, nullptr);
        if (result == 0) {
            result = sd_bus_wait(bus, UINT64_MAX);
        }
    }
    ::_exit(0);
}

} // namespace

int main(int argc, char **argv)
{
    require(argc > 2, "it needs a path and a name");
    const int listener = listenAt(argv[1]);
    std::array<int, 2> sockets = {};
    require(::socketpair(AF_UNIX, SOCK_STREAM, 0, sockets.data()) == 0, "no sockets");
    // The process becomes dbus-broker, so that who has started it can stop or kill the bus.
    const pid_t controller = ::fork();
    require(controller >= 0, "cannot fork");
    if (controller == 0) {
        ::close(sockets[0]);
        control(sockets[1], listener, argv[1], argv[2]);
    }
    ::close(sockets[1]);
    ::close(listener);
    const std::string socket = std::to_string(sockets[0]);
    std::vector<const char *> arguments = {"dbus-broker", "--controller", socket.c_str(),
                                           "--machine-id", "0123456789abcdef0123456789abcdef"};
    arguments.insert(arguments.end(), argv + 3, argv + argc);
    arguments.push_back(nullptr);
    ::execvp(arguments.front(), const_cast<char **>(arguments.data()));
    require(false, "dbus-broker does not start");
}
