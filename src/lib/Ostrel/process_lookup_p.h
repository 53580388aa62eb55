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
// Returns true and fills both buffers, cutting to their sizes, which count the terminating zero. If
// there is nothing to be found, it returns false and touches neither.
//
// It keeps no state of its own, so that any thread may call it.
bool readControlGroup(int pid, char *appId, std::size_t appIdSize, char *instance,
                      std::size_t instanceSize);

} // namespace Ostrel

#endif
