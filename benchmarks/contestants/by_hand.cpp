// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// QtDBus by hand.

#include "by_hand_client.h"
#include "look_up_with_qfile.h"
#include "qt_contestant.h"

Contestant makeContestant(int &argc, char **argv)
{
    static const QCoreApplication application(argc, argv);
    Contestant contestant = QtContestant<ByHand::Control, ByHand::Invoker, ByHand::Windows>::make();
    contestant.lookUp = lookUpWithQFile;
    return contestant;
}
