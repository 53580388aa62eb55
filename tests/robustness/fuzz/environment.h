// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_FUZZ_ENVIRONMENT_H
#define TESTS_FUZZ_ENVIRONMENT_H

#include "peer.h"

// Creates the application object. The strings are the beginnings of what may be logged. Any other
// warning is a finding, for example when Qt reads a value as another type. Later calls do nothing.
void prepareProcess(std::initializer_list<const char *> expectedTexts);

// The peer that all executions of a target share. The first call prepares the process as above and
// creates the peer, which lives until the process ends.
Peer &sharedPeer(std::initializer_list<const char *> expectedTexts);

#endif
