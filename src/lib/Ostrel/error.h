// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_ERROR_H
#define OSTREL_ERROR_H

#include <Ostrel/export.h>

#include <QtCore/QDebug>
#include <QtCore/QMetaType>
#include <QtCore/QObject>
#include <QtCore/QString>

class QDBusError;

namespace Ostrel
{

/**
 * The outcome of an operation: a code and a message.
 *
 * Every operation that calls the lifecycle service returns an Error or passes one to its callback.
 * A failed bus call throws no exception. An Error that converts to true is a failure:
 *
 * @code
 * if (error) {
 *     qWarning() << error.code() << error.message();
 * }
 * @endcode
 *
 * The message is the one of the bus error, unchanged. The service or the message bus writes it, in
 * any language. Do not parse it.
 *
 * An Error is a plain value with implicitly shared strings. Copies are cheap, and may be used in
 * different threads at once. Its properties are for QML and other code that knows no types.
 */
class OSTREL_EXPORT Error
{
    Q_GADGET
    /** What code() returns. */
    Q_PROPERTY(Code code READ code)
    /** What name() returns. */
    Q_PROPERTY(QString name READ name)
    /** What message() returns. */
    Q_PROPERTY(QString message READ message)
    /** What busErrorName() returns. */
    Q_PROPERTY(QString busErrorName READ busErrorName)

public:
    /**
     * The kind of failure. The numbers never change.
     *
     * Each code except Failed stands for exactly one bus error name. InvalidArgs, NotSupported and
     * AccessDenied stand for "org.freedesktop.DBus.Error." and the name of the code. All others
     * stand for the service name, ".Error." and the name of the code.
     */
    enum Code : qint32 {
        /** The operation succeeded. */
        NoError = 0,
        /**
         * The operation failed, and no other code says why. This is the code for
         * "org.freedesktop.DBus.Error.Failed" and for every name without a code of its own. For
         * example, the service does not run, does not reply in time or replies with unexpected
         * types, or there is no message bus.
         */
        Failed = 1,
        /** The service has no handler for the request. */
        HandlerNotFound = 2,
        /** The service's handler for the request failed. */
        HandlerFailed = 3,
        /** The service or the message bus refused the arguments. */
        InvalidArgs = 4,
        /** The service or the message bus does not support the operation. */
        NotSupported = 5,
        /** The service or the message bus did not permit the operation. */
        AccessDenied = 6,
        /** The service does not manage the process. */
        ProcessNotHandled = 7,
        /** The application, or this instance of it, is not running. */
        ApplicationNotRunning = 8,
        /** The application is already running. */
        ApplicationAlreadyRunning = 9,
    };
    Q_ENUM(Code)

    /**
     * Constructs an error with @p code and @p message, as given. Without arguments it is no error.
     */
    Error(Code code = NoError, const QString &message = QString());

    /** Returns whether code() is other than NoError. */
    bool isError() const;

    /** Returns isError(). */
    operator bool() const;

    /** Returns the code. */
    Code code() const;

    /**
     * Returns the message of the bus error. It is null for a success, with one exception: an error
     * reply named "NoError" gives a success with the message of that reply.
     */
    QString message() const;

    /**
     * Returns the name of the code as in this header, for example "HandlerNotFound"; a null string
     * for a code outside the enumeration.
     */
    QString name() const;

    /**
     * Returns the name of the D-Bus error that this Error was made from, unchanged. It says why an
     * operation Failed: no service, no bus, no reply in time (see @ref errors). It is null for a
     * success, and for an Error that did not come from the bus.
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
 * Writes the name of the code, or its number if it has none, and the message:
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
 * An Error converts to bool, so a comparison of errors would compare bools: all failures would be
 * equal. Compare Error::code() instead.
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
