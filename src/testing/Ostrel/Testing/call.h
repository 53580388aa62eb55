// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_TESTING_CALL_H
#define OSTREL_TESTING_CALL_H

#include <Ostrel/Testing/method.h>

#include <QtCore/QString>
#include <QtCore/QStringView>
#include <QtCore/QVariant>
#include <QtCore/QVector>

#include <functional>
#include <type_traits>

/**
 * @file
 * The calls that the service has received, and those that a test expects.
 */

namespace Ostrel::Testing
{

class Simulator;

/** A call as the service received it. */
struct Call
{
    /** The path of the object. */
    QString path;
    /** The interface. */
    QString interface;
    /** The method. */
    QString member;
    /** The D-Bus signature of the arguments. */
    QString signature;
    /** The arguments as QtDBus reads them: Control::toPlainValue() makes plain values of them. */
    QVariantList arguments;

    /**
     * Returns the method and its arguments: `Control1.Start("demo.Viewer")`. Values are written as
     * GLib writes them: a number that is no 32-bit integer has its type before it, as in
     * `uint32 3`.
     */
    QString text() const;
};

/**
 * What an argument of a call should be: a value, or what anything(), containing() and satisfying()
 * return. An object is a plain value.
 */
class Argument
{
public:
    /**
     * Expects this value.
     *
     * Numbers of different types differ: a quint32 is what the service receives as "u". Arrays and
     * structures equal lists, and maps equal QVariantMap, at any depth.
     *
     * @param value  any type of QtDBus, or what Qt can make a string of.
     */
    template <typename T>
    Argument(const T &value)
        : Argument(toVariant(value))
    {
    }

    /** Expects a string, given as UTF-8. */
    Argument(const char *utf8);

    /** Expects the @p value that the variant holds. */
    Argument(const QVariant &value);

    /** Returns whether a received @p value is as expected. */
    bool matches(const QVariant &value) const { return m_matches(value); }

    /** Returns what is expected, as Call::text() writes it. */
    QString text() const { return m_text; }

private:
    friend Argument anything();
    friend Argument containing(const QVariantMap &entries);
    friend Argument satisfying(const QString &description,
                               const std::function<bool(const QVariant &)> &condition);
    Argument(const QString &text, const std::function<bool(const QVariant &)> &matches);

    template <typename T> static QVariant toVariant(const T &value)
    {
        if constexpr (std::is_convertible_v<T, QStringView>) {
            return QStringView(value).toString();
        } else if constexpr (QMetaTypeId2<T>::Defined == 0 && std::is_convertible_v<T, QString>) {
            return QString(value); // QLatin1String, and strings that are being concatenated
        } else {
            return QVariant::fromValue(value);
        }
    }

    QString m_text;
    std::function<bool(const QVariant &)> m_matches;
};

/** Returns what any argument matches. */
Argument anything();

/** Returns what a map with at least these @p entries matches. */
Argument containing(const QVariantMap &entries);

/**
 * Returns what an argument matches for which a condition holds.
 *
 * @param description  what is expected, for the difference.
 * @param condition    is called with the argument, without D-Bus types at any depth.
 */
Argument satisfying(const QString &description,
                    const std::function<bool(const QVariant &)> &condition);

/** A call that a test expects. An object is a plain value. */
class ExpectedCall
{
public:
    /** Expects a call of a @p method with any arguments. */
    ExpectedCall(Method method);

    /**
     * Expects these arguments, and no others.
     *
     * @param arguments  for each argument what it should be: see Argument.
     * @return this object.
     */
    template <typename... Arguments> ExpectedCall &with(const Arguments &...arguments)
    {
        m_hasArguments = true;
        m_arguments = {Argument(arguments)...};
        return *this;
    }

    /** Returns whether a @p call is as expected. */
    bool matches(const Call &call) const;

    /** Returns what is expected, as Call::text() writes it. Any arguments are `(...)`. */
    QString text() const;

private:
    Method m_method;
    bool m_hasArguments = false;
    QVector<Argument> m_arguments;
};

/** Returns an expected call of a @p method with any arguments. */
inline ExpectedCall call(Method method)
{
    return ExpectedCall(method);
}

/**
 * Returns how calls differ from those that were expected.
 *
 * @param received  the calls that the service has received, in this order.
 * @param expected  the calls that a test expects, in this order.
 * @return a null string if all match. Otherwise one line for each call: with "-" if it was
 *         expected and did not come, with "+" if it came and was not expected.
 */
QString difference(const QVector<Call> &received, const QVector<ExpectedCall> &expected);

/**
 * What OSTREL_COMPARE_CALLS() does.
 *
 * @param file       the file of the test.
 * @param line       the line of the test.
 * @param simulator  the simulator.
 * @param expected   the calls that the test expects, in this order.
 * @return whether the calls are as expected.
 */
bool compareCallsWith(const char *file, int line, const Simulator &simulator,
                      const QVector<ExpectedCall> &expected);

/** What OSTREL_COMPARE_CALLS() calls: compareCallsWith() with each expected call by itself. */
template <typename... Expected>
bool compareCalls(const char *file, int line, const Simulator &simulator,
                  const Expected &...expected)
{
    return compareCallsWith(file, line, simulator,
                            QVector<ExpectedCall>{ExpectedCall(expected)...});
}

} // namespace Ostrel::Testing

/**
 * Compares the calls that the service has received with those that the test expects: their order,
 * and no others.
 *
 * It runs the event loop until the service has received as many calls as the test expects, or
 * waitLimit() has passed. If the calls differ, the test function fails with the difference(), and
 * returns.
 *
 * It does not see a call that comes later. To show that the program makes no further call, first
 * wait for something that the program does after it would have made that call.
 *
 * @code
 * OSTREL_COMPARE_CALLS(simulator, call(Method::Start).with("demo.Viewer"), Method::Terminate);
 * @endcode
 *
 * @param ...  the Simulator, and the expected calls, each an ExpectedCall or a Method. Those calls
 *             count that it has received since it was started or reset.
 */
#define OSTREL_COMPARE_CALLS(...)                                                                  \
    do {                                                                                           \
        if (!Ostrel::Testing::compareCalls(__FILE__, __LINE__, __VA_ARGS__)) {                     \
            return;                                                                                \
        }                                                                                          \
    } while (false)

#endif
