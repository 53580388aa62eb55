// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The cost of loading a library.
//
// Usage: benchmark-load DEPENDENCY... LIBRARY
// Loads all of them. Prints, for the last one alone, the processor time in nanoseconds and the
// private memory in KiB.

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

namespace
{

long long processorTime()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return time.tv_sec * 1'000'000'000LL + time.tv_nsec;
}

void load(const char *library)
{
    if (dlopen(library, RTLD_NOW | RTLD_GLOBAL) == nullptr) {
        std::cerr << dlerror() << '\n';
        std::exit(EXIT_FAILURE);
    }
}

// The private memory of the process that is mapped from a file of this name.
unsigned long privateDirty(const std::string &name)
{
    std::ifstream mappings("/proc/self/smaps");
    bool counts = false;
    unsigned long sum = 0;
    for (std::string line; std::getline(mappings, line);) {
        std::istringstream words(line);
        std::string first;
        unsigned long size = 0;
        words >> first;
        if (first == "Private_Dirty:" && counts && words >> size) {
            sum += size;
        } else if (first.find('-') != std::string::npos) {
            counts = line.find(name) != std::string::npos;
        }
    }
    return sum;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2) {
        std::cerr << "usage: benchmark-load DEPENDENCY... LIBRARY\n";
        return 2;
    }
    std::for_each(argv + 1, argv + argc - 1, load);
    const char *library = argv[argc - 1];
    const long long before = processorTime();
    load(library);
    const long long after = processorTime();
    const std::string name = std::filesystem::path(library).filename();
    std::cout << after - before << '\t' << privateDirty(name) << '\n';
    return 0;
}
