// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTRELCTL_CONTROL_CLIENT_H
#define OSTRELCTL_CONTROL_CLIENT_H

#include <Ostrel/Control>

#include <QtCore/QCoreApplication>

// A Control whose blocking calls end when the bus goes away: until the event loop has run once,
// that is not noticed.
class ControlClient : public Ostrel::Control // clazy:exclude=missing-qobject-macro
{
public:
    ControlClient() { QCoreApplication::processEvents(); }
};

#endif
