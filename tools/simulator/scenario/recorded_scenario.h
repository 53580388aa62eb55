// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_RECORDED_SCENARIO_H
#define SIMULATOR_RECORDED_SCENARIO_H

#include "scenario/members.h"
#include "scenario/scenario.h"
#include "json/json_file.h"

#include <QtCore/QString>

// The scenario in which a recorded service does again what it did. Each recorded call is a track:
// the call, its reply, and what the service did before the next call. Throws a JsonError.
//
// name: of the file, for the places of the steps.
Scenario recordedScenario(const JsonFile &trace, const QString &name, const Members &members);

#endif
