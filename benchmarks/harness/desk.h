// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef BENCHMARKS_DESK_H
#define BENCHMARKS_DESK_H

#include <string>

// The socket on which the service takes orders; BENCHMARK_DESK is its path. It is not on the bus,
// so an order costs every contestant the same.
class Desk
{
public:
    Desk();
    ~Desk();
    Desk(const Desk &) = delete;
    Desk &operator=(const Desk &) = delete;

    // Sends an order, and waits until it has been carried out. Ends the program on failure.
    void order(const std::string &order) const;

private:
    int m_socket = -1;
};

#endif
