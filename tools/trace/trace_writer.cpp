// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "trace_writer.h"

#include <QtCore/QFile>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace
{

Failure failure(const QString &what, const QString &file)
{
    return Failure(QStringLiteral("cannot %1 %2: %3")
                       .arg(what, file, QString::fromLocal8Bit(std::strerror(errno))));
}

} // namespace

TraceWriter::~TraceWriter()
{
    if (m_descriptor >= 0) {
        ::close(m_descriptor);
    }
}

Result<> TraceWriter::open(const QString &file)
{
    constexpr mode_t mode = 0666;
    const int descriptor =
        ::open(QFile::encodeName(file).constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode);
    if (descriptor < 0) {
        return failure(QStringLiteral("create"), file);
    }
    own(descriptor, file);
    return {};
}

Result<> TraceWriter::use(int descriptor, const QString &file)
{
    const int copy = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    if (copy < 0) {
        return failure(QStringLiteral("write"), file);
    }
    own(copy, file);
    return {};
}

void TraceWriter::own(int descriptor, const QString &file)
{
    // By default, a file that exceeds the limit of the process ends the process.
    static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
    m_descriptor = descriptor;
    m_file = file;
}

Result<> TraceWriter::write(const TraceEvent &event)
{
    if (m_descriptor < 0) {
        return {};
    }
    return append((m_size == 0 ? QByteArrayLiteral("[\n") : QByteArrayLiteral(",\n"))
                  + toJson(event));
}

Result<> TraceWriter::close()
{
    if (m_descriptor < 0) {
        return {};
    }
    Result<> closed =
        append(m_size == 0 ? QByteArrayLiteral("[\n]\n") : QByteArrayLiteral("\n]\n"));
    const int descriptor = std::exchange(m_descriptor, -1);
    if (descriptor >= 0 && ::close(descriptor) != 0 && closed) {
        closed = failure(QStringLiteral("write"), m_file);
    }
    return closed;
}

Result<> TraceWriter::append(const QByteArray &bytes)
{
    int done = 0;
    while (done < bytes.size()) {
        const ssize_t written =
            ::write(m_descriptor, bytes.constData() + done, std::size_t(bytes.size() - done));
        if (written < 0 && errno != EINTR) {
            const Failure failed = failure(QStringLiteral("write"), m_file);
            // A device or a pipe cannot be cut.
            [[maybe_unused]] const int cut = ::ftruncate(m_descriptor, m_size);
            ::close(std::exchange(m_descriptor, -1));
            return failed;
        }
        done += int(std::max<ssize_t>(written, 0));
    }
    m_size += bytes.size();
    return {};
}
