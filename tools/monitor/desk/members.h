// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_DESK_MEMBERS_H
#define MONITOR_DESK_MEMBERS_H

#include <QtCore/QString>
#include <QtCore/QVector>

// A method or a signal of the service.
struct Member
{
    // "Control1.Start"
    QString label() const;

    // The full name, and the one without the service's name.
    QString interface;
    QString shortInterface;
    QString name;
    // Of the object; empty if there may be several.
    QString path;
    // Of the values that it returns or that it is sent with.
    QString signature;
};

// In the order of the interfaces, and then of the alphabet.
const QVector<Member> &serviceMethods();
const QVector<Member> &serviceSignals();

#endif
