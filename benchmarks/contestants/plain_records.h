// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef BENCHMARKS_PLAIN_RECORDS_H
#define BENCHMARKS_PLAIN_RECORDS_H

#include <cstdint>
#include <map>
#include <string>
#include <variant>

// The service's records, for contestants without types of their own.

namespace Plain
{

using Value = std::variant<bool, std::int32_t, std::uint32_t, std::uint64_t, std::string>;
using Properties = std::map<std::string, Value>;

struct Application
{
    std::string appId;
    std::int32_t pid;
    std::uint32_t state;
    std::uint32_t kind;
    Properties properties;
};

struct Service
{
    std::string appId;
    std::string name;
    std::int32_t pid;
    std::uint32_t state;
    Properties properties;
};

struct Task
{
    std::string name;
    std::int32_t pid;
    Properties properties;
};

} // namespace Plain

#endif
