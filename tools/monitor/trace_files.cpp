// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "trace_files.h"

#include "history_replay.h"
#include "trace_writer.h"

#include <QtCore/QFileInfo>

struct TraceFiles::Recording
{
    QString file;
    TraceWriter writer;
    std::unique_ptr<LiveTrace> trace;
    // Why nothing more is written.
    QString error;
};

TraceFiles::TraceFiles(Ostrel::Control &control)
    : m_control(control)
    , m_loader(m_loaded)
    , m_trace(
          control, [this](const TraceEvent &event) { m_live.append(event); },
          [this](const TraceEvent &call) { m_live.beginCall(call); })
{
    m_live.setClock(&LiveTrace::now);
    connect(&m_loader, &HistoryLoader::progressed, this, &TraceFiles::progressed);
    connect(&m_loader, &HistoryLoader::finished, this, [this](int skipped) {
        onRead(m_loaded.isEmpty() ? tr("The file has no events.")
                   : skipped > 0
                   ? tr("%1 of its lines are no events: the file is damaged or incomplete.")
                         .arg(skipped)
                   : QString());
    });
    connect(&m_loader, &HistoryLoader::failed, this, [this](const QString &error) {
        onRead(tr("Only a part of it could be read."));
        Q_EMIT failed(error);
    });
}

TraceFiles::~TraceFiles()
{
    blockSignals(true);
    stopRecording();
}

void TraceFiles::add(CallsMonitor &monitor)
{
    m_monitor = &monitor;
    m_trace.add(monitor);
}

Result<> TraceFiles::open(const QString &file)
{
    if (Result<> loaded = m_loader.load(file); !loaded) {
        return loaded;
    }
    m_openFile = file;
    m_remark.clear();
    Q_EMIT historyChanged();
    Q_EMIT changed();
    return {};
}

void TraceFiles::cancelReading()
{
    if (isReading()) {
        m_loader.cancel();
        m_loaded.flush();
        onRead(tr("Only a part of it has been read."));
    }
}

void TraceFiles::onRead(const QString &remark)
{
    m_remark = remark;
    Q_EMIT read();
    Q_EMIT changed();
}

void TraceFiles::backToLive()
{
    if (isLive()) {
        return;
    }
    m_loader.cancel();
    m_openFile = m_remark = QString();
    Q_EMIT historyChanged();
    m_loaded.clear();
    Q_EMIT changed();
}

// What is no file could hold up everything, and what is in use would be lost.
Result<> TraceFiles::checkTarget(const QString &file) const
{
    const QFileInfo info(file);
    const auto isSame = [&info](const QString &other) {
        return !other.isNull() && info.exists()
            && info.canonicalFilePath() == QFileInfo(other).canonicalFilePath();
    };
    if (info.exists() && !info.isFile()) {
        return Failure(QStringLiteral("cannot write %1: it is no file").arg(file));
    }
    if (isSame(recordFile())) {
        return Failure(QStringLiteral("cannot write %1: it is being recorded to").arg(file));
    }
    if (isReading() && isSame(m_openFile)) {
        return Failure(QStringLiteral("cannot write %1: it is being read").arg(file));
    }
    return {};
}

Result<> TraceFiles::record(const QString &file)
{
    if (Result<> checked = checkTarget(file); !checked) {
        return checked;
    }
    stopRecording();
    auto recording = std::make_unique<Recording>();
    if (Result<> opened = recording->writer.open(file); !opened) {
        return opened;
    }
    recording->file = file;
    const auto write = [this, to = recording.get()](const TraceEvent &event) {
        const Result<> written = to->writer.write(event);
        if (!written) {
            to->error = written.error();
            // Not while the trace is at work.
            const auto stopFailed = [this] {
                if (m_recording != nullptr && !m_recording->error.isNull()) {
                    stopRecording();
                }
            };
            QMetaObject::invokeMethod(this, stopFailed, Qt::QueuedConnection);
        }
    };
    recording->trace = std::make_unique<LiveTrace>(m_control, write);
    if (m_monitor != nullptr) {
        recording->trace->add(*m_monitor);
    }
    m_recording = std::move(recording);
    Q_EMIT changed();
    return {};
}

void TraceFiles::stopRecording()
{
    if (m_recording == nullptr) {
        return;
    }
    const std::unique_ptr<Recording> ended = std::move(m_recording);
    ended->trace->finish();
    ended->trace.reset();
    const Result<> closed = ended->writer.close();
    Q_EMIT changed();
    if (!ended->error.isNull() || !closed) {
        Q_EMIT failed(ended->error.isNull() ? closed.error() : ended->error);
    }
}

QString TraceFiles::recordFile() const
{
    return m_recording != nullptr ? m_recording->file : QString();
}

Result<> TraceFiles::save(const QString &file)
{
    if (Result<> checked = checkTarget(file); !checked) {
        return checked;
    }
    history().flush();
    return saveHistory(history(), file);
}
