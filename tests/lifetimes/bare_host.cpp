// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// A program that knows nothing of Qt: loads a plugin, has it use the library and unloads it, again
// and again.

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>

int main(int argc, char **argv)
{
    const int rounds = argc > 2 ? std::atoi(argv[2]) : 0;
    for (int i = 0; i < rounds; ++i) {
        void *plugin = dlopen(argv[1], RTLD_NOW);
        if (plugin == nullptr) {
            std::fprintf(stderr, "%s\n", dlerror());
            return 1;
        }
        const auto use = reinterpret_cast<int (*)()>(dlsym(plugin, "useLibrary"));
        std::printf("%d\n", use());
        dlclose(plugin);
        if (dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD) != nullptr) {
            std::fputs("the plugin stays\n", stderr);
            return 1;
        }
    }
    return 0;
}
