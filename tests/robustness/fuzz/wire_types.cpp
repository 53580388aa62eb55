// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "wire_types.h"

#include <string_view>

namespace
{

constexpr std::string_view basicCodes = "ybnqiuxtdsogh";
constexpr std::string_view allCodes = "ybnqiuxtdsoghva(";

// A signature may have 255 characters, and open containers must be closed.
constexpr std::size_t longEnough = 150;

// Returns the byte if it is one of the codes, or another code for it.
char codeOf(std::uint8_t byte, std::string_view codes)
{
    const char code = static_cast<char>(byte);
    return codes.find(code) != std::string_view::npos ? code : codes[byte % codes.size()];
}

void appendType(std::string &type, Bytes &bytes, Room room);

void appendArray(std::string &type, Bytes &bytes, Room room)
{
    --room.arrays;
    --room.containers;
    type += 'a';
    if (room.structures == 0 || room.containers == 0 || !bytes.takeIf('{')) {
        appendType(type, bytes, room);
        return;
    }
    --room.structures;
    --room.containers;
    type += '{';
    type += codeOf(bytes.take(), basicCodes);
    appendType(type, bytes, room);
    type += '}';
    bytes.takeIf('}');
}

void appendStructure(std::string &type, Bytes &bytes, Room room)
{
    --room.structures;
    --room.containers;
    type += '(';
    do {
        appendType(type, bytes, room);
    } while (!bytes.takeIf(')') && !bytes.isEmpty() && type.size() < longEnough);
    type += ')';
}

void appendType(std::string &type, Bytes &bytes, Room room)
{
    const char code = codeOf(bytes.take(), allCodes);
    const bool mayNest = room.containers > 0 && type.size() < longEnough;
    if (code == 'a' && mayNest && room.arrays > 0) {
        appendArray(type, bytes, room);
    } else if (code == '(' && mayNest && room.structures > 0) {
        appendStructure(type, bytes, room);
    } else if (code == 'v' && mayNest) {
        type += code;
    } else {
        type += codeOf(static_cast<std::uint8_t>(code), basicCodes);
    }
}

} // namespace

std::string takeType(Bytes &bytes, Room room)
{
    std::string type;
    appendType(type, bytes, room);
    return type;
}

const char *endOfType(const char *type)
{
    if (*type == 'a') {
        return endOfType(type + 1);
    }
    if (*type == '(' || *type == '{') {
        const char *end = type + 1;
        while (*end != ')' && *end != '}') {
            end = endOfType(end);
        }
        return end + 1;
    }
    return type + 1;
}

int descriptorsIn(const std::string &types)
{
    int count = 0;
    for (const char *code = types.c_str(); *code != '\0';) {
        count += *code == 'h' ? 1 : 0;
        code = *code == 'a' ? endOfType(code) : code + 1;
    }
    return count;
}
