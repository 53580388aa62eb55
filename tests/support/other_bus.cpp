// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "test_bus.h"

namespace
{

std::unique_ptr<BusProcess> makeBroker(const QString &folder)
{
    return brokerIn(folder, quotasOfSessionBus());
}

// Before the first private bus.
[[maybe_unused]] const auto chosen = Ostrel::Testing::otherBus =
    busKind() == DBusBroker ? makeBroker : nullptr;

} // namespace
