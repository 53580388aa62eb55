// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_PROCESS_LOOKUP_P_H
#define OSTREL_PROCESS_LOOKUP_P_H

#include <cstddef>

namespace Ostrel
{

// Reads from the process's memory control group which application and which instance the process
// belongs to. The control group is named ".../ostrel-helper/.../APPLICATION/INSTANCE".
//
// If it finds them, it fills both buffers and returns true. It cuts the identifiers to the sizes of
// the buffers, terminating zero included. Otherwise it returns false and leaves the buffers alone.
//
// It keeps no state: any thread may call it.
bool readControlGroup(int pid, char *appId, std::size_t appIdSize, char *instance,
                      std::size_t instanceSize);

} // namespace Ostrel

#endif
