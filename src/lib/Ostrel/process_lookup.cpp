// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "Ostrel/process_lookup_p.h"

#include "Ostrel/control.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>

namespace Ostrel
{

namespace
{

struct CloseFile
{
    void operator()(std::FILE *file) const { static_cast<void>(std::fclose(file)); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

// The end of a control group's path.
struct Components
{
    const char *appId = nullptr;
    const char *instance = nullptr;
};

File openControlGroups(int pid)
{
    const char *root = std::getenv("OSTREL_ROOTFS");
    std::array<char, 4096> path;
    // A path that is too long is cut, and does not exist.
    static_cast<void>(std::snprintf(path.data(), path.size(), "%s/proc/%d/cgroup",
                                    root != nullptr ? root : "", pid));
    // "e": a program that another thread starts meanwhile does not inherit the descriptor.
    return File(std::fopen(path.data(), "re"));
}

// The path in a line of the form "NUMBER:memory:PATH"; null for other lines. strtok_r() skips empty
// fields, so a line without a controller does not match.
char *memoryGroup(char *line)
{
    char *rest = nullptr;
    const char *number = strtok_r(line, ":", &rest);
    const char *controller = number != nullptr ? strtok_r(nullptr, ":", &rest) : nullptr;
    if (controller == nullptr) {
        return nullptr;
    }
    char *path = strtok_r(nullptr, ":\n", &rest);
    if (path == nullptr || strtok_r(nullptr, ":\n", &rest) != nullptr) {
        return nullptr;
    }
    return std::strcmp(controller, "memory") == 0 ? path : nullptr;
}

// The last two components of a path; both are null if it has fewer.
Components lastComponents(char *path)
{
    char *rest = nullptr;
    const char *previous = nullptr;
    const char *last = strtok_r(path, "/", &rest);
    while (const char *next = last != nullptr ? strtok_r(nullptr, "/", &rest) : nullptr) {
        previous = std::exchange(last, next);
    }
    return previous != nullptr ? Components{previous, last} : Components{};
}

// strlcpy(), which older C libraries lack.
void copyBounded(char *target, const char *source, std::size_t size)
{
    if (size > 0) {
        const std::size_t length = strnlen(source, size - 1);
        std::memcpy(target, source, length);
        target[length] = '\0';
    }
}

// The identifiers of the application and, as its control group names it, of the instance.
struct Identifiers
{
    std::array<char, 128> appId;
    std::array<char, 160> instance;
};

bool lookUp(int pid, Identifiers &identifiers)
{
    return readControlGroup(pid, identifiers.appId.data(), identifiers.appId.size(),
                            identifiers.instance.data(), identifiers.instance.size());
}

// QString drops a byte order mark at the start of a string, but would keep it in the middle.
const char *withoutByteOrderMark(const char *text)
{
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    return std::strncmp(text, mark.data(), mark.size()) == 0 ? text + mark.size() : text;
}

} // namespace

bool readControlGroup(int pid, char *appId, std::size_t appIdSize, char *instance,
                      std::size_t instanceSize)
{
    if (appId == nullptr || instance == nullptr) {
        return false;
    }
    std::array<char, 4096> buffer; // outlives the file
    const File file = openControlGroups(pid);
    if (!file) {
        return false;
    }
    // Otherwise the stream asks for the file's block size and allocates a buffer.
    static_cast<void>(std::setvbuf(file.get(), buffer.data(), _IOFBF, buffer.size()));

    bool found = false;
    std::array<char, 1024> line;
    // A longer line comes in pieces, each of which counts as a line.
    while (std::fgets(line.data(), line.size(), file.get()) != nullptr) {
        char *path = memoryGroup(line.data());
        if (path == nullptr) {
            continue;
        }
        if (std::strstr(path, "ostrel-helper") == nullptr) {
            break;
        }
        const Components components = lastComponents(path);
        if (components.appId == nullptr || std::strchr(components.appId, '.') == nullptr) {
            break;
        }
        // If both are too long, the line is refused; one alone is cut.
        if (std::strlen(components.appId) >= appIdSize
            && std::strlen(components.instance) >= instanceSize) {
            break;
        }
        copyBounded(appId, components.appId, appIdSize);
        copyBounded(instance, components.instance, instanceSize);
        // A later line may match again.
        found = true;
    }
    return found;
}

QString Control::getAppIdByPid(int pid) const
{
    Identifiers identifiers;
    return lookUp(pid, identifiers) ? QString::fromUtf8(identifiers.appId.data()) : QString();
}

QString Control::getAppInstanceIdByPid(int pid) const
{
    Identifiers identifiers;
    if (!lookUp(pid, identifiers)) {
        return {};
    }
    const char *instance = withoutByteOrderMark(identifiers.instance.data());
    constexpr std::string_view prefix = "instance_";
    if (std::strncmp(instance, prefix.data(), prefix.size()) == 0) {
        // Joined before decoding, so that only one string is allocated.
        std::array<char, sizeof identifiers> id;
        const int length =
            std::snprintf(id.data(), id.size(), "%s.%s", identifiers.appId.data(), instance);
        return QString::fromUtf8(id.data(), length);
    }
    if (std::strcmp(instance, "app") == 0) {
        return QString::fromUtf8(identifiers.appId.data());
    }
    return {};
}

} // namespace Ostrel
