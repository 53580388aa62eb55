// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "process_folder_p.h"

#include "end_of_test_p.h"

#include <QtCore/QDir>

#include <array>
#include <cstdlib>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Ostrel::Testing
{

namespace
{

// Becomes a shell that removes the folder when the other end of the pipe is closed. It leaves the
// test's output and errors, because CTest would wait for their end.
[[noreturn]] void removeLater(int pipe, const char *path)
{
    const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(pipe, STDIN_FILENO);
    dup2(null, STDOUT_FILENO);
    dup2(null, STDERR_FILENO);
    // The programs that the test started end with it, and may write until then.
    execl("/bin/sh", "sh", "-c", "cat; rm -rf \"$0\" || { sleep 1; rm -rf \"$0\"; }", path,
          nullptr);
    _exit(127);
}

QByteArray makeFolder()
{
    QByteArray path = QDir::tempPath().toLocal8Bit() + "/ostrel-test-XXXXXX";
    std::array<int, 2> pipe{};
    if (mkdtemp(path.data()) == nullptr || pipe2(pipe.data(), O_CLOEXEC) != 0) {
        const QString problem = qt_error_string(); // tempPath() sets errno
        endTest(QStringLiteral("The test cannot make a folder in %1: %2. Set TMPDIR to a folder "
                               "that it can write to.")
                    .arg(QDir::tempPath(), problem));
    }
    // It becomes an orphan, so whoever kills this process and its children does not kill it.
    const pid_t parent = fork();
    if (parent == 0) {
        setsid();
        if (fork() == 0) {
            close(pipe[1]);
            removeLater(pipe[0], path.constData());
        }
        _exit(0);
    }
    waitpid(parent, nullptr, 0);
    close(pipe[0]);
    // The other end stays open until the process ends.
    return path;
}

} // namespace

QByteArray processFolder()
{
    static const QByteArray path = makeFolder();
    return path;
}

} // namespace Ostrel::Testing
