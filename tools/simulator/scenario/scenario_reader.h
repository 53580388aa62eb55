// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_SCENARIO_READER_H
#define SIMULATOR_SCENARIO_READER_H

#include "result.h"
#include "scenario/members.h"
#include "scenario/scenario.h"

#include <QtCore/QString>

// Reads a scenario, or a trace as one. An error comes with its line in the file.
Result<Scenario> readScenario(const QString &file, const Members &members);

#endif
