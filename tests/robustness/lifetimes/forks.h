// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_LIFETIMES_FORKS_H
#define TESTS_LIFETIMES_FORKS_H

// Programs that fork while they use the library, as in main.cpp.

int childExecs(int &argc, char **argv);
int childInheritsNothing(int &argc, char **argv);
int childUsesNothing(int &argc, char **argv);
int childComesFirst(int &argc, char **argv);

#endif
