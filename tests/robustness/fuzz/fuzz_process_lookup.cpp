// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "environment.h"
#include "require.h"

#include "Ostrel/process_lookup_p.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

// The reader of control groups, with any file and buffers of any size. The first two bytes are the
// sizes, the rest is the file.

namespace
{

constexpr int pid = 1;

// A root file system with this one file.
class Root
{
public:
    Root()
        : m_file(m_folder.filePath(QString("proc/%1/cgroup").arg(pid)))
    {
        QDir(m_folder.path()).mkpath(QString("proc/%1").arg(pid));
        qputenv("OSTREL_ROOTFS", QFile::encodeName(m_folder.path()));
    }

    void write(const char *data, std::size_t size)
    {
        require(m_file.open(QIODevice::WriteOnly | QIODevice::Unbuffered), "the file opens");
        require(m_file.write(data, static_cast<qint64>(size)) == static_cast<qint64>(size),
                "the file is written");
        m_file.close();
    }

private:
    QTemporaryDir m_folder;
    QFile m_file;
};

// The string must end in its buffer.
void requireEnd(const std::vector<char> &buffer)
{
    require(buffer.empty() || std::find(buffer.cbegin(), buffer.cend(), '\0') != buffer.cend(),
            "a text ends within its buffer");
}

} // namespace

// NOLINTNEXTLINE(readability-identifier-naming)
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    prepareProcess({});
    static Root root;
    if (size < 2) {
        return 0;
    }
    // On the heap, where the sanitizers see an overflow of one byte.
    std::vector<char> appId(data[0], '#');
    std::vector<char> instance(data[1], '#');
    root.write(reinterpret_cast<const char *>(data) + 2, size - 2);
    if (Ostrel::readControlGroup(pid, appId.data(), appId.size(), instance.data(),
                                 instance.size())) {
        requireEnd(appId);
        requireEnd(instance);
    } else {
        require(std::count(appId.cbegin(), appId.cend(), '#') == data[0],
                "what is not found changes nothing");
        require(std::count(instance.cbegin(), instance.cend(), '#') == data[1],
                "what is not found changes nothing");
    }
    return 0;
}
