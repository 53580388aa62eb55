// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_CALLS_WITHOUT_TIMEOUT_H
#define TESTS_CALLS_WITHOUT_TIMEOUT_H

// Gives the calls to services that have no timeout of their own this one, in milliseconds.
void setServiceTimeout(int timeout);

#endif
