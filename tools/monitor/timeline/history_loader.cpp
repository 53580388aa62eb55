// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "history_loader.h"

#include "history.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QFileInfo>

#include <utility>

HistoryLoader::HistoryLoader(History &history, QObject *parent)
    : QObject(parent)
    , m_history(history)
{
    connect(&m_timer, &QTimer::timeout, this, &HistoryLoader::readSome);
}

Result<> HistoryLoader::load(const QString &file)
{
    // A pipe or a device could hold up everything.
    const QFileInfo info(file);
    if (info.exists() && !info.isFile()) {
        return Failure(QStringLiteral("%1 is no trace").arg(file));
    }
    auto reader = std::make_unique<TraceReader>();
    if (Result<> opened = reader->open(file); !opened) {
        return opened;
    }
    cancel();
    m_reader = std::move(reader);
    m_history.setClock(nullptr);
    m_history.clear();
    m_percent = 0;
    m_timer.start(0);
    return {};
}

void HistoryLoader::cancel()
{
    m_timer.stop();
    m_reader.reset();
}

void HistoryLoader::readSome()
{
    constexpr int milliseconds = 10;
    QElapsedTimer elapsed;
    elapsed.start();
    const auto append = [this](const TraceEvent &event) { m_history.append(event); };
    while (!elapsed.hasExpired(milliseconds)) {
        const Result<bool> read = m_reader->next(append);
        if (read && *read) {
            continue;
        }
        const int skipped = m_reader->skipped();
        cancel();
        m_history.flush();
        if (read) {
            Q_EMIT finished(skipped);
        } else {
            Q_EMIT failed(read.error());
        }
        return;
    }
    const int percent = m_reader->percent();
    if (std::exchange(m_percent, percent) != percent) {
        Q_EMIT progressed(percent);
    }
}
