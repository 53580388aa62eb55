// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_FUZZ_ENVIRONMENT_H
#define TESTS_FUZZ_ENVIRONMENT_H

#include "peer.h"

// Makes the application object. The texts are what may be logged, by their beginnings: anything
// else that is logged as a warning or worse is a finding, like Qt's complaint about a value that
// was read as something else. Only the first call does something.
void prepareProcess(std::initializer_list<const char *> expectedTexts);

// What the executions of a target share; it is made at first use, with the process prepared as
// above, and lives until the process ends.
Peer &sharedPeer(std::initializer_list<const char *> expectedTexts);

#endif
