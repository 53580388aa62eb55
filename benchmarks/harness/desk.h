// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef BENCHMARKS_DESK_H
#define BENCHMARKS_DESK_H

#include <string>

// The socket at which the service takes orders; its address is in BENCHMARK_DESK. It is no part of
// the bus, so that an order costs every contestant the same.
class Desk
{
public:
    Desk();
    ~Desk();
    Desk(const Desk &) = delete;
    Desk &operator=(const Desk &) = delete;

    // Gives an order, and waits until it has been carried out. Ends the program if it cannot be.
    void order(const std::string &order) const;

private:
    int m_socket = -1;
};

#endif
