// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DEBUG_PARAMS_P_H
#define OSTREL_DEBUG_PARAMS_P_H

#include "Ostrel/debug_params.h"

namespace Ostrel
{

// What the parameters look like on the bus; for the call that sends them.
class DebugParamsPrivate
{
public:
    static const QVariantMap &map(const DebugParams &params) { return params.m_params; }
};

} // namespace Ostrel

#endif
