// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "memory_figures.h"

#include <QtCore/QFile>

#include <malloc.h>

namespace
{

// Returns a line of the process's status, in KiB.
qint64 status(const QByteArray &name)
{
    QFile file("/proc/self/status");
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("%s", qPrintable(file.errorString()));
    }
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith(name + ':')) {
            return line.mid(name.size() + 1).chopped(2).trimmed().toLongLong();
        }
    }
    qFatal("there is no %s", name.constData());
}

qint64 allocated()
{
    const struct mallinfo2 info = mallinfo2();
    return static_cast<qint64>(info.uordblks) + static_cast<qint64>(info.hblkhd);
}

// Resets the peak. Where the system forbids that, the peak counts from the start of the process.
void resetPeak()
{
    QFile file("/proc/self/clear_refs");
    if (file.open(QIODevice::WriteOnly)) {
        file.write("5");
    }
}

} // namespace

MemoryFigures::MemoryFigures()
{
    malloc_trim(0);
    resetPeak();
    m_residentBefore = status("VmRSS");
    m_allocatedBefore = allocated();
    m_timer.start();
}

void MemoryFigures::print(const QString &what) const
{
    const qint64 time = m_timer.elapsed();
    const qint64 peak = status("VmHWM");
    const qint64 allocatedAfter = allocated();
    malloc_trim(0);
    qInfo("%s: %lld ms; resident %lld KiB before, %lld at the peak, %lld after; "
          "allocated %lld KiB before, %lld after",
          qPrintable(what), time, m_residentBefore, peak, status("VmRSS"), m_allocatedBefore / 1024,
          allocatedAfter / 1024);
}

qint64 MemoryFigures::growth() const
{
#if defined(__SANITIZE_ADDRESS__)
    return 0;
#else
    return allocated() - m_allocatedBefore;
#endif
}

bool longTests()
{
    return qEnvironmentVariableIsSet("OSTREL_LONG_TESTS");
}

bool leavesNothingBehind(const QString &what, const std::function<void()> &run, qint64 bytes)
{
    run();
    for (int i = 0; i < 20; ++i) {
        const MemoryFigures figures;
        run();
        const qint64 growth = figures.growth();
        figures.print(what);
        if (growth < bytes) {
            return true;
        }
    }
    return false;
}
