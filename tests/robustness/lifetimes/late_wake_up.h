// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_LIFETIMES_LATE_WAKE_UP_H
#define TESTS_LIFETIMES_LATE_WAKE_UP_H

// The application ends while QtDBus's thread is about to wake its event dispatcher.
int lateWakeUp(int &argc, char **argv);

#endif
