// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "trace_reader.h"

#include "line_reader.h"

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>

#include <cstring>

Result<int> readTrace(const QString &file, const std::function<void(const TraceEvent &)> &receive)
{
    QFile input(file);
    if (!input.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        return Failure(QStringLiteral("cannot read %1: %2").arg(file, input.errorString()));
    }
    const auto isStopped = [] { return false; };
    LineReader lines(input.handle());
    const auto first = lines.next(isStopped);
    if (lines.error() == 0 && (!first || first->trimmed() != "[")) {
        return Failure(QStringLiteral("%1 is no trace").arg(file));
    }
    int skipped = 0;
    while (auto line = lines.next(isStopped)) {
        QByteArray text = line->trimmed();
        if (text.isEmpty() || text == "]") {
            continue;
        }
        if (text.endsWith(',')) {
            text.chop(1);
        }
        const auto event = traceEvent(QJsonDocument::fromJson(text).object());
        if (event) {
            receive(*event);
        } else {
            ++skipped;
        }
    }
    if (lines.error() != 0) {
        return Failure(QStringLiteral("cannot read %1: %2")
                           .arg(file, QString::fromLocal8Bit(std::strerror(lines.error()))));
    }
    return skipped + lines.skippedLines();
}
