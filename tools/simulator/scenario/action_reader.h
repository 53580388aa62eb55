// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_ACTION_READER_H
#define SIMULATOR_ACTION_READER_H

#include "scenario/members.h"
#include "scenario/scenario.h"
#include "json/json_node.h"

#include <QtCore/QVector>

#include <chrono>
#include <optional>

// Reads what happens in a step. Throws a JsonError.
//
// call: the method whose call the step waits for, if it waits for one.
QVector<Action> readActions(const JsonNode &node, const Members &members,
                            const std::optional<Members::Member> &call);

// A time in milliseconds.
std::chrono::milliseconds readTime(const JsonNode &node);

#endif
