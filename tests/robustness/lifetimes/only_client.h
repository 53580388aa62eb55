// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_LIFETIMES_ONLY_CLIENT_H
#define TESTS_LIFETIMES_ONLY_CLIENT_H

// Programs with one kind of client, and a static object that uses the library when all connections
// have been closed, as in main.cpp.

int onlyControl(int &argc, char **argv);
int onlyInvoker(int &argc, char **argv);
int onlyWindows(int &argc, char **argv);

#endif
