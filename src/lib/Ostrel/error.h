// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_ERROR_H
#define OSTREL_ERROR_H

#include <Ostrel/export.h>

#include <QtCore/QDebug>
#include <QtCore/QMetaType>
#include <QtCore/QString>

class QDBusError;

namespace Ostrel
{

/**
 * The outcome of an operation: a code, and a text for people.
 *
 * Every operation that talks to the lifecycle service returns an Error or hands one to its
 * callback; nothing is thrown when a bus call fails. A value that tests true is a failure:
 *
 * @code
 * if (error) {
 *     qWarning() << error.code() << error.message();
 * }
 * @endcode
 *
 * The message is the text that came with the bus error, unchanged. It is written by the service or
 * by the message bus, in no particular language, and is not meant to be parsed.
 *
 * An Error is a plain value with implicitly shared text: copies are cheap, and different copies may
 * be used in different threads at the same time.
 */
class OSTREL_EXPORT Error
{
public:
    /**
     * What went wrong. The numbers are fixed.
     *
     * Each code but Failed belongs to exactly one bus error name: the service's own names are the
     * service name, ".Error." and the name of the code; those of InvalidArgs, NotSupported and
     * AccessDenied begin with "org.freedesktop.DBus.Error." instead.
     */
    enum Code : qint32 {
        /** The operation succeeded. */
        NoError = 0,
        /**
         * The operation failed, and no other code says how. This covers the bus error
         * "org.freedesktop.DBus.Error.Failed" and every name that has no code of its own: the
         * service is not running, it did not answer in time, it answered with other types than
         * expected, there is no message bus.
         */
        Failed = 1,
        /** The service has no handler for what was asked. */
        HandlerNotFound = 2,
        /** The service's handler for what was asked could not do it. */
        HandlerFailed = 3,
        /** The service, or the bus, refused the arguments. */
        InvalidArgs = 4,
        /** The service does not support the operation. */
        NotSupported = 5,
        /** The service, or the bus, did not permit the operation. */
        AccessDenied = 6,
        /** The process is not one that the service looks after. */
        ProcessNotHandled = 7,
        /** The application, or this instance of it, is not running. */
        ApplicationNotRunning = 8,
        /** The application is running already. */
        ApplicationAlreadyRunning = 9,
    };

    /**
     * Constructs an error from @p code and @p message, both stored as given; without arguments, a
     * success.
     */
    Error(Code code = NoError, const QString &message = QString());

    /** Returns true exactly when code() is not NoError. */
    bool isError() const;

    /** The same as isError(): a value that tests true is a failure. */
    operator bool() const;

    /** Returns the code. */
    Code code() const;

    /**
     * Returns the text that came with the failure. It is null for a success, with one exception: a
     * service may answer with an error reply of the name "NoError", whose text is kept.
     */
    QString message() const;

    /**
     * Returns the name of the code as this header spells it ("HandlerNotFound"); a null string if
     * the code is none of the enumeration.
     */
    QString name() const;

    /**
     * Returns the name of the D-Bus error that this Error was made from, unchanged. It says which
     * failure hides behind Failed: no service, no bus, no reply in time (see @ref errors). It is
     * null for a success, and for an Error that did not come from the bus.
     */
    QString busErrorName() const;

private:
    friend Error fromDBusError(const QDBusError &error);
    friend Error failedWith(const QDBusError &error);
    Error(Code code, const QString &message, const QString &busErrorName);

    Code m_code;
    QString m_message;
    QString m_busErrorName;
};

/**
 * Writes the name of the code, or the number of an unknown one, and the message:
 * `Ostrel::Error(HandlerNotFound, "no handler")`.
 */
inline QDebug operator<<(QDebug debug, const Error &error)
{
    const QDebugStateSaver saver(debug);
    const QString name = error.name();
    debug.nospace().noquote() << "Ostrel::Error("
                              << (name.isNull() ? QString::number(error.code()) : name);
    debug.quote() << ", " << error.message() << ')';
    return debug;
}

/**
 * @name Comparisons that do not compile
 *
 * An Error converts to bool, so that a comparison would look at that alone: any failure would equal
 * any other. Compare Error::code() instead.
 * @{
 */
bool operator==(const Error &error, Error::Code code) = delete;
bool operator==(Error::Code code, const Error &error) = delete;
bool operator==(const Error &left, const Error &right) = delete;
bool operator!=(const Error &error, Error::Code code) = delete;
bool operator!=(Error::Code code, const Error &error) = delete;
bool operator!=(const Error &left, const Error &right) = delete;
/** @} */

} // namespace Ostrel

Q_DECLARE_METATYPE(Ostrel::Error)

#endif
