// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "faults.h"

#include "method_names_p.h"
#include "simulator.h"

#include "Ostrel/error_p.h"

namespace Ostrel::Testing
{

Faults::Faults(const Simulator &simulator, const QString &interface, const QString &method)
    : m_simulator(&simulator)
    , m_interface(interface)
    , m_method(method)
{
}

void Faults::failNext(Error::Code code, const QString &message) const
{
    failNext(busErrorNameOf(code), message);
}

void Faults::failNext(const QString &error, const QString &message) const
{
    arrange(QStringLiteral("FailNext"), {error, message});
}

void Faults::failNextWith(const QString &error, const QVariantList &values) const
{
    arrange(QStringLiteral("FailNextWith"), {error, QVariant(values)});
}

void Faults::answerNext(const QVariantList &values) const
{
    arrange(QStringLiteral("AnswerNext"), {QVariant(values)});
}

void Faults::delayNext(int milliseconds) const
{
    arrange(QStringLiteral("DelayNext"), {static_cast<uint>(milliseconds)});
}

void Faults::holdNext(int count) const
{
    arrange(QStringLiteral("HoldNext"), {static_cast<uint>(count)});
}

void Faults::release(const QVector<int> &order) const
{
    QList<uint> indexes;
    for (const int index : order) {
        indexes.append(static_cast<uint>(index));
    }
    arrange(QStringLiteral("Release"), {QVariant::fromValue(indexes)});
}

void Faults::ignoreNext() const
{
    arrange(QStringLiteral("IgnoreNext"));
}

void Faults::dieInNext() const
{
    arrange(QStringLiteral("DieInNext"));
}

bool Faults::waitForCalls(int count) const
{
    return wait(QStringLiteral("WaitForCalls"), count, QStringLiteral("%1 calls of %2"));
}

bool Faults::waitForHeld(int count) const
{
    return wait(QStringLiteral("WaitForHeld"), count, QStringLiteral("%1 held replies of %2"));
}

void Faults::arrange(const QString &deskMethod, const QVariantList &arguments) const
{
    m_simulator->order(deskMethod, QVariantList{m_interface, m_method} + arguments);
}

bool Faults::wait(const QString &deskMethod, int count, const QString &what) const
{
    return m_simulator->wait(deskMethod, {m_interface, m_method, static_cast<uint>(count)},
                             what.arg(count).arg(textOf(MethodNames{m_interface, m_method})));
}

} // namespace Ostrel::Testing
