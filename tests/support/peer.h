// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_PEER_H
#define TESTS_PEER_H

#include "kit.h"

#include <QtCore/QStringList>
#include <QtCore/QVariantList>

// A process on the bus, without Qt, that sends whatever it is told to. tests/support/peer/main.cpp
// describes the orders.
class Peer
{
public:
    explicit Peer(const PrivateBus &bus);

    // Its unique name.
    QString name() const { return m_name; }

    // Gives an order, and returns when it has been carried out.
    void order(const QString &line);
    // Gives an order without waiting, for a peer that does not answer now.
    void orderLater(const QString &line);
    void waitForOrder();

    // Arranges what happens to the next call of a method.
    void on(const QString &method, const QString &action);

    // Sends values, written as in an order, to this process. Returns what arrives on the session
    // bus.
    QVariantList receive(const QString &signature, const QString &values);

    void freeze();
    void thaw();
    void kill();
    // Waits until the peer, which was told to end, has ended.
    void waitForEnd();

private:
    Process m_process;
    QString m_name;
};

#endif
