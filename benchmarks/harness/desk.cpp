// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "desk.h"

#include "fail.h"

#include <array>
#include <cstdlib>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

Desk::Desk()
    : m_socket(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0))
{
    const char *path = std::getenv("BENCHMARK_DESK");
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string name = path != nullptr ? path : "";
    if (name.empty() || name.size() >= sizeof address.sun_path) {
        fail("BENCHMARK_DESK names no socket");
    }
    name.copy(address.sun_path, name.size());
    if (connect(m_socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) < 0) {
        fail("cannot reach the service's desk at " + name);
    }
}

Desk::~Desk()
{
    close(m_socket);
}

void Desk::order(const std::string &order) const
{
    std::array<char, 16> answer{};
    if (write(m_socket, order.data(), order.size()) < 0
        || read(m_socket, answer.data(), answer.size() - 1) <= 0
        || std::string(answer.data()) != "done") {
        fail("the service has not carried out \"" + order + "\"");
    }
}
