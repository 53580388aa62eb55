// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// QDBusInterface.

#include "interface_client.h"
#include "qt_contestant.h"

Contestant makeContestant(int &argc, char **argv)
{
    static const QCoreApplication application(argc, argv);
    return QtContestant<Interface::Control, Interface::Invoker, Interface::Windows>::make();
}
