// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "value_writer.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <deque>
#include <map>
#include <sstream>

// A peer on the bus that sends whatever it is told to, right or wrong. It shares no code with Qt.
//
// Usage: peer ADDRESS. It prints its unique name. Each line of standard input is an order of words
// between blanks. When the order has been carried out, the peer prints "ok":
//
//   own NAME, release NAME
//   take NAME                like own, but at once from an owner that took it, which gets it back
//                            when this one releases it
//   forget                   forgets all arrangements
//   on METHOD ACTION...      arranges what happens to the next call of a method: one of
//       answer SIGNATURE VALUE...
//       fail NAME SIGNATURE VALUE...
//       ignore
//       die                  the process ends
//       kill PID             another process is killed
//       release NAME ACTION...
//       forge SIGNATURE VALUE... | ACTION...
//                            a stranger answers the call first, with these values and with errors,
//                            with the right serial number and those around it
//   signal SENDER DESTINATION PATH INTERFACE MEMBER SIGNATURE VALUE...
//   return SENDER DESTINATION SERIAL SIGNATURE VALUE...
//   error SENDER DESTINATION SERIAL NAME SIGNATURE VALUE...
//
// The sender is written into the message, but the bus replaces it. A word '' is empty, and @N at
// its end stands for N times the letter x. A call for which nothing is arranged is an unknown
// method.

namespace
{

using Words = std::deque<std::string>;

std::string take(Words &words)
{
    require(!words.empty(), "an order lacks words");
    std::string word = words.front();
    words.pop_front();
    return word;
}

const char *orNull(const std::string &word)
{
    return word.empty() ? nullptr : word.c_str();
}

class Peer
{
public:
    explicit Peer(const char *address)
        : m_address(address)
        , m_bus(dbus_connection_open_private(address, nullptr))
    {
        require(m_bus != nullptr && dbus_bus_register(m_bus, nullptr) != 0, "no bus");
        std::cout << dbus_bus_get_unique_name(m_bus) << std::endl;
    }

    void run();

private:
    void carryOut(Words order);
    void handle(DBusMessage *call);
    void act(DBusMessage *call, Words action);
    void forge(DBusMessage *call, Words &action) const;
    void sendForged(DBusMessage *message, const std::string &sender, const std::string &destination,
                    Words &values);
    void send(DBusMessage *message, Words &values);

    const char *m_address;
    DBusConnection *m_bus;
    std::map<std::string, std::deque<Words>> m_actions;
};

void Peer::send(DBusMessage *message, Words &values)
{
    const std::string signature = take(values);
    append(message, signature, {values.cbegin(), values.cend()});
    dbus_connection_send(m_bus, message, nullptr);
    dbus_message_unref(message);
    dbus_connection_flush(m_bus);
}

void Peer::sendForged(DBusMessage *message, const std::string &sender,
                      const std::string &destination, Words &values)
{
    dbus_message_set_sender(message, orNull(sender));
    dbus_message_set_destination(message, orNull(destination));
    send(message, values);
}

void Peer::forge(DBusMessage *call, Words &action) const
{
    const std::string signature = take(action);
    std::vector<std::string> values;
    for (std::string word = take(action); word != "|"; word = take(action)) {
        values.push_back(word);
    }
    DBusConnection *stranger = dbus_connection_open_private(m_address, nullptr);
    require(stranger != nullptr && dbus_bus_register(stranger, nullptr) != 0, "no bus");
    const dbus_uint32_t serial = dbus_message_get_serial(call);
    for (dbus_uint32_t guess = serial < 20 ? 1 : serial - 20; guess < serial + 20; ++guess) {
        for (const char *destination :
             {dbus_message_get_sender(call), static_cast<const char *>(nullptr)}) {
            for (const int type : {DBUS_MESSAGE_TYPE_METHOD_RETURN, DBUS_MESSAGE_TYPE_ERROR}) {
                DBusMessage *message = dbus_message_new(type);
                dbus_message_set_no_reply(message, 1);
                dbus_message_set_reply_serial(message, guess);
                dbus_message_set_destination(message, destination);
                dbus_message_set_sender(message, dbus_message_get_destination(call));
                if (type == DBUS_MESSAGE_TYPE_ERROR) {
                    dbus_message_set_error_name(message, "test.Forged");
                }
                append(message, signature, values);
                dbus_connection_send(stranger, message, nullptr);
                dbus_message_unref(message);
            }
        }
    }
    // When the bus answers this, it has handled all of them.
    require(dbus_bus_request_name(stranger, "test.Stranger", 0, nullptr) == 1, "no name");
    dbus_connection_close(stranger);
    dbus_connection_unref(stranger);
}

void Peer::act(DBusMessage *call, Words action)
{
    const std::string kind = take(action);
    if (kind == "answer") {
        send(dbus_message_new_method_return(call), action);
    } else if (kind == "fail") {
        const std::string name = take(action);
        send(dbus_message_new_error(call, name.c_str(), nullptr), action);
    } else if (kind == "die") {
        _exit(0);
    } else if (kind == "kill") {
        ::kill(std::stoi(take(action)), SIGKILL);
    } else if (kind == "release") {
        dbus_bus_release_name(m_bus, take(action).c_str(), nullptr);
        act(call, action);
    } else if (kind == "forge") {
        forge(call, action);
        act(call, action);
    } else {
        require(kind == "ignore", "no action: " + kind);
    }
}

void Peer::handle(DBusMessage *call)
{
    std::deque<Words> &actions = m_actions[dbus_message_get_member(call)];
    Words action{"fail", DBUS_ERROR_UNKNOWN_METHOD, "s", "unknown"};
    if (!actions.empty()) {
        action = actions.front();
        actions.pop_front();
    }
    act(call, action);
}

void Peer::carryOut(Words order)
{
    const std::string kind = take(order);
    if (kind == "own") {
        require(dbus_bus_request_name(m_bus, take(order).c_str(), 0, nullptr) == 1, "no name");
    } else if (kind == "take") {
        constexpr unsigned replaceable =
            DBUS_NAME_FLAG_ALLOW_REPLACEMENT | DBUS_NAME_FLAG_REPLACE_EXISTING;
        require(dbus_bus_request_name(m_bus, take(order).c_str(), replaceable, nullptr) == 1,
                "no name");
    } else if (kind == "release") {
        dbus_bus_release_name(m_bus, take(order).c_str(), nullptr);
    } else if (kind == "forget") {
        m_actions.clear();
    } else if (kind == "on") {
        const std::string method = take(order);
        m_actions[method].push_back(order);
    } else {
        const std::string sender = take(order);
        const std::string destination = take(order);
        if (kind == "signal") {
            const std::string path = take(order);
            const std::string interface = take(order);
            const std::string member = take(order);
            sendForged(dbus_message_new_signal(path.c_str(), interface.c_str(), member.c_str()),
                       sender, destination, order);
        } else {
            require(kind == "return" || kind == "error", "no order: " + kind);
            DBusMessage *message = dbus_message_new(
                kind == "error" ? DBUS_MESSAGE_TYPE_ERROR : DBUS_MESSAGE_TYPE_METHOD_RETURN);
            dbus_message_set_no_reply(message, 1);
            dbus_message_set_reply_serial(message, std::stoul(take(order)));
            if (kind == "error") {
                dbus_message_set_error_name(message, take(order).c_str());
            }
            sendForged(message, sender, destination, order);
        }
    }
}

Words wordsOf(const std::string &line)
{
    std::istringstream text(line);
    Words words;
    std::string word;
    while (text >> word) {
        if (word == "''") {
            word.clear();
        } else if (const auto at = word.find('@'); at != std::string::npos) {
            word.replace(at, std::string::npos, std::stoul(word.substr(at + 1)), 'x');
        }
        words.push_back(word);
    }
    return words;
}

void Peer::run()
{
    int bus = -1;
    require(dbus_connection_get_unix_fd(m_bus, &bus) != 0, "no socket");
    std::string pending;
    while (dbus_connection_read_write(m_bus, 0) != 0) {
        while (DBusMessage *message = dbus_connection_pop_message(m_bus)) {
            if (dbus_message_get_type(message) == DBUS_MESSAGE_TYPE_METHOD_CALL) {
                handle(message);
            }
            dbus_message_unref(message);
        }
        std::array<pollfd, 2> from{{{STDIN_FILENO, POLLIN, 0}, {bus, POLLIN, 0}}};
        require(poll(from.data(), from.size(), -1) > 0, "poll() failed");
        if (from[0].revents == 0) {
            continue;
        }
        std::array<char, 65536> read{};
        const ssize_t count = ::read(STDIN_FILENO, read.data(), read.size());
        if (count <= 0) {
            return;
        }
        pending.append(read.data(), static_cast<std::size_t>(count));
        for (std::size_t end = 0; (end = pending.find('\n')) != std::string::npos;) {
            carryOut(wordsOf(pending.substr(0, end)));
            pending.erase(0, end + 1);
            std::cout << "ok" << std::endl;
        }
    }
}

} // namespace

int main(int argc, char **argv)
{
    require(argc == 2, "usage: peer ADDRESS");
    Peer(argv[1]).run();
    return 0;
}
