// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_FUZZ_BYTES_H
#define TESTS_FUZZ_BYTES_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

// The bytes of one execution, taken from the front. After the last one come zeros, so any number of
// bytes means something.
class Bytes
{
public:
    Bytes(const std::uint8_t *data, std::size_t size)
        : m_next(data)
        , m_left(size)
    {
    }

    bool isEmpty() const { return m_left == 0; }

    std::uint8_t peek() const { return isEmpty() ? 0 : *m_next; }

    std::uint8_t take()
    {
        const std::uint8_t byte = peek();
        if (!isEmpty()) {
            ++m_next;
            --m_left;
        }
        return byte;
    }

    // Takes the next byte if it is this one. Returns whether it is.
    bool takeIf(char byte)
    {
        const bool is = !isEmpty() && peek() == static_cast<std::uint8_t>(byte);
        if (is) {
            take();
        }
        return is;
    }

    // A length or a count below 16. The digits 0 to 9 stand for themselves.
    int takeCount() { return take() % 16; }

    // A little-endian integer.
    template <typename Number> Number takeNumber()
    {
        std::uint64_t number = 0;
        for (std::size_t i = 0; i < sizeof(Number); ++i) {
            number |= static_cast<std::uint64_t>(take()) << (8 * i);
        }
        return static_cast<Number>(number);
    }

    // A string whose length comes before it.
    std::string takeString()
    {
        const std::size_t size = std::min(static_cast<std::size_t>(takeCount()), m_left);
        std::string string(size, '\0');
        std::generate(string.begin(), string.end(), [this] { return static_cast<char>(take()); });
        return string;
    }

private:
    const std::uint8_t *m_next;
    std::size_t m_left;
};

#endif
