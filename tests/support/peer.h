// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_PEER_H
#define TESTS_PEER_H

#include "private_bus.h"

#include <QtCore/QStringList>
#include <QtCore/QVariantList>

// A process without Qt on the bus, which says whatever it is told to. tests/support/peer/main.cpp
// describes the orders.
class Peer
{
public:
    explicit Peer(const PrivateBus &bus);

    // Its unique name.
    QString name() const { return m_name; }

    // Returns when the order has been carried out.
    void order(const QString &line);
    // The same without waiting, for one that does not listen.
    void orderLater(const QString &line);
    void waitForOrder();

    // What becomes of the next call of a method.
    void on(const QString &method, const QString &action);

    // What arrives on the session bus of these values, which are written as in an order.
    QVariantList receive(const QString &signature, const QString &values);

    void freeze();
    void thaw();
    void kill();
    // Waits for the end that it was told to come to.
    void waitForEnd();

private:
    Process m_process;
    QString m_name;
};

#endif
