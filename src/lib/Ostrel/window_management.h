// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_WINDOW_MANAGEMENT_H
#define OSTREL_WINDOW_MANAGEMENT_H

#include <Ostrel/error.h>
#include <Ostrel/export.h>

#include <DBus/types.h>

#include <QtCore/QObject>

#include <functional>
#include <memory>

namespace Ostrel
{

class WindowManagementPrivate;

/**
 * Reports the status of a program's windows to the lifecycle service.
 *
 * A program that shows windows reports each change of a window's status. The reply is the state
 * that the service now assigns to the application. The service may be absent when the object is
 * made, and may come and go. Nothing is queued or sent again.
 *
 * @code
 * Ostrel::WindowManagement windows;
 * windows.updateWindowStatus(QStringLiteral("main"), 1, 0, 0, this,
 *                            [](Ostrel::ApplicationState state, const Ostrel::Error &error) {
 *                                if (error) {
 *                                    qWarning() << error.message();
 *                                } else {
 *                                    qInfo() << "state" << quint32(state);
 *                                }
 *                            });
 * @endcode
 *
 * The object uses the session bus, and belongs to the thread that made it. Use it in that thread,
 * and run an event loop there; only the callback may run in another thread. No function waits for
 * the service.
 *
 * See also @ref behaviour (with lost connections, fork() and the end of the process).
 */
class OSTREL_EXPORT WindowManagement : public QObject
{
    Q_OBJECT

public:
    /**
     * Constructs the object with the given @p parent.
     *
     * This opens the process's connection to the session bus if there is none yet, and asks the
     * message bus who owns the service's name, which takes a few milliseconds. If the message bus
     * accepts the connection and then does not reply, the first object of a process blocks without
     * a limit, and later ones block for about 50 seconds. Nothing is sent to the service, which
     * need not run. Without a bus the object still works: its reports fail.
     *
     * The library lifts libdbus's limits of received messages and file descriptors for this
     * connection, as long as the process lives. @ref behaviour says why, and what that can cost.
     */
    explicit WindowManagement(QObject *parent = nullptr);

    /**
     * Destroys the object. Reports under way are not withdrawn: their callbacks still run if their
     * context objects live.
     */
    ~WindowManagement() override;

    /**
     * Sets how long later reports wait for a reply. The range, the default and the failure are
     * those of Control::setTimeout().
     */
    void setTimeout(int milliseconds);

    /** Returns the timeout of later reports in milliseconds, or -1 for the default. */
    int timeout() const;

    /**
     * Reports the status of one window, and returns at once.
     *
     * Makes the bus call "UpdateWindowStatus" (signature "siii", reply "u") on the service's
     * ".WindowManagement1" interface. The service defines what the string and the numbers mean and
     * which are valid; they are sent as given. @ref sending says what a string can hold.
     *
     * Callbacks run in the order of the replies, which may differ from the order of the calls.
     *
     * @param window   the name of the window.
     * @param status   the status of the window.
     * @param arg1     the first further number of the status.
     * @param arg2     the second further number of the status.
     * @param context  the object on whose behalf the call is made; it must be alive. If it is
     *                 destroyed, the callback is dropped.
     * @param callback receives the outcome, exactly once if the context lives, from the event
     *                 loop of the thread of @p context, never from within this function. It is
     *                 copied. It may delete any object, the context and this one included. If it
     *                 is empty, the event loop throws `std::bad_function_call`. On success it
     *                 receives the state that the service assigned, which may be any number, and
     *                 no error. On failure it receives ApplicationStateUnknown (255) and an error.
     *                 An error reply named "NoError" gives 255, no error, and the reply's message.
     *                 The codes of the error are:
     *                 - the code of the service's own error;
     *                 - AccessDenied, InvalidArgs or NotSupported, if the message bus refuses
     *                   the call;
     *                 - Failed, if the service is absent, ends before it replies, replies with
     *                   another type, or does not reply in time (25 seconds by default); if there
     *                   is no bus; or if @p window is too large for a message (128 MiB).
     */
    void updateWindowStatus(
        const QString &window, int status, int arg1, int arg2, const QObject *context,
        const std::function<void(ApplicationState state, const Error &error)> &callback);

private:
    Q_DISABLE_COPY(WindowManagement)

    const std::unique_ptr<WindowManagementPrivate> d;
};

} // namespace Ostrel

#endif
