// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TOOLS_BUS_MESSAGE_H
#define TOOLS_BUS_MESSAGE_H

#include <QtCore/QJsonArray>
#include <QtCore/QString>

// A message on the bus, as far as a trace needs it.
struct BusMessage
{
    enum Type {
        Call,
        Reply,
        Error,
        Signal
    };

    Type type = Signal;
    quint32 serial = 0;
    // Of the call that this replies to.
    quint32 replySerial = 0;
    bool expectsReply = true;
    QString sender;
    QString destination;
    QString path;
    QString interface;
    QString member;
    QString errorName;
    // The first argument of a call or a reply, if it is a string.
    QString text;
    // Of a call or a reply, as 'busctl --json' prints them. Of too many values for a trace, the
    // first ones suffice.
    QString signature;
    QJsonArray values;
};

// Whether a call is one to the service, by its name or to its connection.
bool isForService(const BusMessage &call);

#endif
