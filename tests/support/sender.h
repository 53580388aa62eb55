// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_SENDER_H
#define TESTS_SENDER_H

#include "private_bus.h"

#include <QtCore/QVariantList>

// A process that sends values of any type, without Qt.
class Sender
{
public:
    explicit Sender(const PrivateBus &bus);

    // What arrives of the values, which are given by their signature and in busctl's form.
    QVariantList receive(const QString &signature, const QString &values) const;

private:
    Process m_process;
};

#endif
