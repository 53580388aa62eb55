// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// A program without Qt. It loads a plugin that uses the library, and unloads it, several times.

#include <cstdlib>
#include <dlfcn.h>
#include <iostream>

int main(int argc, char **argv)
{
    const long rounds = argc > 2 ? std::strtol(argv[2], nullptr, 10) : 0;
    for (long i = 0; i < rounds; ++i) {
        void *plugin = dlopen(argv[1], RTLD_NOW);
        if (plugin == nullptr) {
            std::cerr << dlerror() << std::endl;
            return 1;
        }
        const auto use = reinterpret_cast<int (*)()>(dlsym(plugin, "useLibrary"));
        std::cout << use() << std::endl;
        dlclose(plugin);
        if (dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD) != nullptr) {
            std::cerr << "the plugin stays" << std::endl;
            return 1;
        }
    }
    return 0;
}
