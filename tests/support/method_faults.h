// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_METHOD_FAULTS_H
#define TESTS_METHOD_FAULTS_H

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QVariantList>

class Simulator;

// Tells the fault desk how the service treats the next calls of one method. Ends the test if the
// desk refuses.
class MethodFaults
{
public:
    MethodFaults(const Simulator &simulator, const QString &interface, const QString &method);

    void failNext(const QString &error, const QString &message) const;
    void answerNext(const QVariantList &values) const;
    void ignoreNext() const;
    void delayNext(uint milliseconds) const;
    void dieInNext() const;
    void holdNext(uint count) const;
    void release(const QList<uint> &order) const;
    void waitForCalls(uint count) const;
    void waitForHeld(uint count) const;

private:
    void arrange(const QString &deskMethod, const QVariantList &arguments = {}) const;

    const Simulator &m_simulator;
    QString m_interface;
    QString m_method;
};

#endif
