// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

// Without the fuzzer, runs a target once with each file of a folder.
int main(int argc, char **argv)
{
    if (argc != 2) {
        std::cerr << "usage: " << argv[0] << " FOLDER" << std::endl;
        return 2;
    }
    std::vector<std::filesystem::path> files;
    for (const auto &entry : std::filesystem::directory_iterator(argv[1])) {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    for (const auto &file : files) {
        // The last file that is printed is the one that fails.
        std::cout << file.string() << std::endl;
        std::ifstream stream(file, std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size());
    }
    return files.empty() ? 1 : 0;
}
