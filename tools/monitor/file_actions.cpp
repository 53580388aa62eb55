// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "file_actions.h"

#include "event_log_view.h"
#include "message_bar.h"
#include "notice.h"
#include "trace_files.h"

#include "display.h"

#include <QtCore/QFileInfo>
#include <QtWidgets/QAction>
#include <QtWidgets/QLabel>
#include <QtWidgets/QProgressBar>

FileActions::FileActions(QWidget &window, const WindowActions &actions, TraceFiles &files,
                         EventLogView &log, MessageBar &messages)
    : QObject(&window)
    , m_window(window)
    , m_actions(actions)
    , m_files(files)
    , m_messages(messages)
    , m_notice(new Notice(tr("Back to live")))
    , m_recording(new QLabel)
    , m_progress(new QProgressBar)
{
    m_recording->setTextFormat(Qt::PlainText);
    m_recording->setAccessibleName(tr("Recording"));
    m_progress->setAccessibleName(tr("How much of the file has been read"));
    const int characters = 16;
    m_progress->setMaximumWidth(characters * m_progress->fontMetrics().averageCharWidth());
    connectActions(log);
    connect(&files, &TraceFiles::changed, this, &FileActions::show);
    connect(&files, &TraceFiles::progressed, m_progress, &QProgressBar::setValue);
    connect(&files, &TraceFiles::failed, this,
            [this](const QString &error) { m_messages.add(error); });
    show();
}

void FileActions::connectActions(EventLogView &log)
{
    const auto on = [this](QAction *action, const std::function<void()> &act) {
        connect(action, &QAction::triggered, this, act);
    };
    on(m_actions.record, [this] {
        ask(QFileDialog::AcceptSave, tr("Record to a file"), QStringLiteral("trace.json"),
            [this](const QString &file) { record(file); });
    });
    on(m_actions.stopRecording, [this] { m_files.stopRecording(); });
    on(m_actions.open, [this] {
        ask(QFileDialog::AcceptOpen, tr("Open a trace"), QString(),
            [this](const QString &file) { open(file); });
    });
    on(m_actions.save, [this] {
        ask(QFileDialog::AcceptSave, tr("Save the timeline"), QStringLiteral("trace.json"),
            [this](const QString &file) { report(m_files.save(file), tr("Saved %1").arg(file)); });
    });
    on(m_actions.saveLog, [this, &log] {
        ask(QFileDialog::AcceptSave, tr("Save the log"), QStringLiteral("log.txt"),
            [this, &log](const QString &file) {
                const Result<> checked = m_files.checkTarget(file);
                report(checked ? log.save(file) : checked, tr("Saved %1").arg(file));
            });
    });
    on(m_actions.backToLive, [this] { m_files.backToLive(); });
    connect(m_notice, &Notice::clicked, this, [this] {
        if (m_files.isReading()) {
            m_files.cancelReading();
        } else {
            m_files.backToLive();
        }
    });
}

void FileActions::ask(QFileDialog::AcceptMode mode, const QString &title, const QString &file,
                      const Use &use)
{
    auto *dialog = new QFileDialog(&m_window, title, m_folder);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(mode);
    dialog->setFileMode(mode == QFileDialog::AcceptSave ? QFileDialog::AnyFile
                                                        : QFileDialog::ExistingFile);
    dialog->selectFile(file);
    connect(dialog, &QFileDialog::fileSelected, this, [this, use](const QString &selected) {
        m_folder = QFileInfo(selected).path();
        use(selected);
    });
    dialog->open();
}

void FileActions::open(const QString &file)
{
    report(m_files.open(file));
}

void FileActions::record(const QString &file)
{
    report(m_files.record(file));
}

void FileActions::report(const Result<> &result, const QString &done)
{
    if (!result) {
        m_messages.add(result.error());
    } else if (!done.isEmpty()) {
        Q_EMIT this->done(done);
    }
}

void FileActions::show()
{
    const QString recorded = m_files.recordFile();
    m_actions.record->setEnabled(recorded.isNull());
    m_actions.stopRecording->setEnabled(!recorded.isNull());
    m_recording->setVisible(!recorded.isNull());
    m_recording->setText(tr("%1 Recording to %2").arg(QChar(0x25cf)).arg(shownName(recorded)));
    m_recording->setToolTip(shown(recorded).toHtmlEscaped());

    const bool isReading = m_files.isReading();
    m_actions.save->setEnabled(!isReading);
    m_actions.backToLive->setEnabled(!m_files.isLive());
    m_progress->setVisible(isReading);
    m_progress->setValue(0);
    const QString opened = shownName(m_files.openFile());
    m_notice->setButtonText(isReading ? tr("Cancel") : tr("Back to live"));
    m_notice->setText(m_files.isLive() ? QString()
                          : isReading  ? tr("Reading %1").arg(opened)
                                       : tr("Looking at %1").arg(opened),
                      m_files.remark());
    m_notice->setToolTip(shown(m_files.openFile()).toHtmlEscaped());
}
