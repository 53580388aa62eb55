// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_RECORDED_CALL_H
#define SIMULATOR_RECORDED_CALL_H

#include "scenario/members.h"
#include "scenario/scenario.h"
#include "json/json_node.h"

#include <QtCore/QString>

#include <chrono>
#include <optional>

// A call in a trace, and its reply, as the steps that make them happen again. Times are those of
// the trace, in microseconds.
struct RecordedCall
{
    qint64 time = 0;
    Step call;
    qint64 replyTime = 0;
    // Nothing if there was no reply, or one that the call itself makes.
    std::optional<Step> reply;
};

// Reads a call from its event. Nothing if it is none that a scenario can wait for. Throws a
// JsonError.
std::optional<RecordedCall> readRecordedCall(const JsonNode &event, const QString &place,
                                             const Members &members);

// The time of an event.
qint64 timeOf(const JsonNode &event);

std::chrono::milliseconds toMilliseconds(qint64 microseconds);

#endif
