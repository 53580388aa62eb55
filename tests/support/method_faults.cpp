// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "method_faults.h"

#include "simulator.h"

MethodFaults::MethodFaults(const Simulator &simulator, const QString &interface,
                           const QString &method)
    : m_simulator(simulator)
    , m_interface(interface)
    , m_method(method)
{
}

void MethodFaults::failNext(const QString &error, const QString &message) const
{
    arrange("FailNext", {error, message});
}

void MethodFaults::answerNext(const QVariantList &values) const
{
    arrange("AnswerNext", {QVariant(values)});
}

void MethodFaults::ignoreNext() const
{
    arrange("IgnoreNext");
}

void MethodFaults::delayNext(uint milliseconds) const
{
    arrange("DelayNext", {milliseconds});
}

void MethodFaults::dieInNext() const
{
    arrange("DieInNext");
}

void MethodFaults::holdNext(uint count) const
{
    arrange("HoldNext", {count});
}

void MethodFaults::release(const QList<uint> &order) const
{
    arrange("Release", {QVariant::fromValue(order)});
}

void MethodFaults::waitForCalls(uint count) const
{
    arrange("WaitForCalls", {count});
}

void MethodFaults::waitForHeld(uint count) const
{
    arrange("WaitForHeld", {count});
}

void MethodFaults::arrange(const QString &deskMethod, const QVariantList &arguments) const
{
    const QVariantList about{m_interface, m_method};
    const QDBusMessage answer = m_simulator.desk(deskMethod, about + arguments);
    if (answer.type() != QDBusMessage::ReplyMessage) {
        qFatal("the fault desk refused %s: %s", qPrintable(deskMethod),
               qPrintable(answer.errorMessage()));
    }
}
