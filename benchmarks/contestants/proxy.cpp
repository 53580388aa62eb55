// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// Proxies that qdbusxml2cpp generates.

#include "proxy_client.h"
#include "qt_contestant.h"

Contestant makeContestant(int &argc, char **argv)
{
    static const QCoreApplication application(argc, argv);
    return QtContestant<Proxy::Control, Proxy::Invoker, Proxy::Windows>::make();
}
