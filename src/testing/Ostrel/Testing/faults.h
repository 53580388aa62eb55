// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_TESTING_FAULTS_H
#define OSTREL_TESTING_FAULTS_H

#include <Ostrel/error.h>

#include <QtCore/QString>
#include <QtCore/QVariantList>
#include <QtCore/QVector>

namespace Ostrel::Testing
{

class Simulator;

/**
 * What the service does in the next calls of one method.
 *
 * Each call uses up one fault, in the order in which they were arranged. A call without a fault
 * gets its usual reply. Simulator::reset() drops all faults.
 *
 * Each function calls the fault desk's method of the same name, and returns when the fault is
 * arranged. If the desk refuses, the simulator does not run, or it does not reply within
 * waitLimit(), the test ends with a line that says so. Simulator::faults() makes the objects. They
 * are plain values, and must not outlive the Simulator. Use them in the main thread.
 */
class Faults
{
public:
    /**
     * Has the next call return an error, and do nothing else.
     *
     * @param code     the code that the library makes of the error. Error::NoError sends the error
     *                 named "NoError", which the library takes for a success without values.
     * @param message  the message of the error.
     */
    void failNext(Error::Code code, const QString &message = QString()) const;

    /**
     * Has the next call return an error of any name, and do nothing else.
     *
     * @param error    the name of a D-Bus error, such as "org.freedesktop.DBus.Error.NoReply".
     * @param message  the message of the error.
     */
    void failNext(const QString &error, const QString &message = QString()) const;

    /**
     * Has the next call return an error with these values in place of a message.
     *
     * @param error   the name of a D-Bus error.
     * @param values  the values, of any types.
     */
    void failNextWith(const QString &error, const QVariantList &values) const;

    /**
     * Has the next call return these values, and do nothing else.
     *
     * @param values  one value for each value of the reply, of any types, also of wrong ones.
     */
    void answerNext(const QVariantList &values) const;

    /**
     * Has the service carry out the next call at once, and send its reply late. The signals that
     * the call causes are not delayed.
     *
     * @param milliseconds  the delay, from 0.
     */
    void delayNext(int milliseconds) const;

    /**
     * Has the service carry out the next calls at once, and hold their replies back until
     * release(). The signals that the calls cause are not held back.
     *
     * @param count  how many calls, from 1.
     */
    void holdNext(int count = 1) const;

    /**
     * Sends replies that are held back.
     *
     * @param order  the index of each reply to send, in this order. The oldest of those that are
     *               held back has the index 0. The others stay.
     */
    void release(const QVector<int> &order = {0}) const;

    /** Has the next call do nothing and never return. Its caller waits for its timeout. */
    void ignoreNext() const;

    /**
     * Has the process of the service exit during the next call. Simulator::waitForEnd() waits for
     * it, and Simulator::start() starts another.
     */
    void dieInNext() const;

    /**
     * Runs the event loop until the service has received calls of the method.
     *
     * @param count  how many calls, since the simulator started or was reset.
     * @return whether they came. If they did not within waitLimit(), the test function has failed,
     *         with a line that says which calls came instead.
     */
    bool waitForCalls(int count = 1) const;

    /**
     * Runs the event loop until replies of the method are held back.
     *
     * @param count  how many replies.
     * @return as for waitForCalls().
     */
    bool waitForHeld(int count = 1) const;

private:
    friend class Simulator;
    Faults(const Simulator &simulator, const QString &interface, const QString &method);

    void arrange(const QString &deskMethod, const QVariantList &arguments = {}) const;
    bool wait(const QString &deskMethod, int count, const QString &what) const;

    const Simulator *m_simulator;
    QString m_interface;
    QString m_method;
};

} // namespace Ostrel::Testing

#endif
