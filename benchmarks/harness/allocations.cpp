// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// A library for LD_PRELOAD, which counts allocations.

#include "allocations.h"

#include <atomic>
#include <cerrno>
#include <cstddef>

// The C library's own functions: dlsym() would allocate.
extern "C" {
void *__libc_malloc(std::size_t size); // NOLINT(bugprone-reserved-identifier)
void *__libc_calloc(std::size_t number, std::size_t size); // NOLINT(bugprone-reserved-identifier)
void *__libc_realloc(void *old, std::size_t size); // NOLINT(bugprone-reserved-identifier)
// NOLINTNEXTLINE(bugprone-reserved-identifier)
void *__libc_memalign(std::size_t alignment, std::size_t size);
}

namespace
{

std::atomic<unsigned long long> count;
std::atomic<unsigned long long> bytes;

void counted(std::size_t size)
{
    count.fetch_add(1, std::memory_order_relaxed);
    bytes.fetch_add(size, std::memory_order_relaxed);
}

} // namespace

extern "C" {

#define EXPORT __attribute__((visibility("default")))

EXPORT Allocations benchmarkAllocations()
{
    return {count.load(), bytes.load()};
}

EXPORT void *malloc(std::size_t size)
{
    counted(size);
    return __libc_malloc(size);
}

EXPORT void *calloc(std::size_t number, std::size_t size)
{
    counted(number * size);
    return __libc_calloc(number, size);
}

// A block that grows counts as a new one, since it may have to move.
EXPORT void *realloc(void *old, std::size_t size)
{
    counted(size);
    return __libc_realloc(old, size);
}

EXPORT void *memalign(std::size_t alignment, std::size_t size)
{
    counted(size);
    return __libc_memalign(alignment, size);
}

EXPORT void *aligned_alloc(std::size_t alignment, std::size_t size)
{
    return memalign(alignment, size);
}

EXPORT int posix_memalign(void **block, std::size_t alignment, std::size_t size)
{
    *block = memalign(alignment, size);
    return *block != nullptr ? 0 : ENOMEM;
}
}
