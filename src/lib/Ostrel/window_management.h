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
 * A program that shows windows reports each change of a window's status, and learns in return the
 * state that the service now assigns to the application. The service may be absent when the object
 * is made, may come and go: each report stands for itself, and nothing is queued or repeated.
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
 * The object uses the session bus, and the event loop of the thread that calls it must run. Like
 * any QObject it belongs to one thread and is used there; only the callback may run in another one.
 * A connection to the bus that is lost does not come back: when the message bus itself has ended,
 * every later report of the process fails.
 */
class OSTREL_EXPORT WindowManagement : public QObject
{
    Q_OBJECT

public:
    /**
     * Constructs the object with the given @p parent.
     *
     * The connection to the session bus is opened if the process has none yet, and the message bus
     * is asked who owns the service's name. That takes a few milliseconds; a message bus that hangs
     * holds it up. Nothing is sent to the service, and it does not matter whether it runs. Without
     * a bus the object works all the same; its reports then fail.
     */
    explicit WindowManagement(QObject *parent = nullptr);

    /**
     * Destroys the object. Reports whose answer has not come yet are not withdrawn: their callbacks
     * still run, as long as their context objects live.
     */
    ~WindowManagement() override;

    /** Sets how long later reports wait for a reply, as Control::setTimeout() does. */
    void setTimeout(int milliseconds);

    /** Returns the timeout of later reports in milliseconds; -1 for the bus library's default. */
    int timeout() const;

    /**
     * Reports the status of one window, and returns at once.
     *
     * This makes the bus call "UpdateWindowStatus" (signature "siii", answered by "u") on the
     * service's ".WindowManagement1" interface. The string and the three numbers go out as given (a
     * text ends at a character U+0000, and half of a surrogate pair arrives as "?"); what they
     * mean, and which of them are valid, is for the service to say.
     *
     * @param window   names the window.
     * @param status   the status of the window.
     * @param arg1     the first further number, whatever the service defines for the status.
     * @param arg2     the second further number, likewise.
     * @param context  the object on whose behalf the call is made. It must be alive. The callback
     *                 runs in this object's thread, from that thread's event loop; once the object
     *                 is destroyed, the callback is dropped and never runs.
     * @param callback receives the outcome, exactly once if the context lives, and never from
     *                 within this function. On success it gets the state that the service assigned,
     *                 any number included, and an Error that is no error. On failure it gets
     *                 ApplicationStateUnknown (255) and the Error: the code of the service's own
     *                 error, or Error::Failed when the service is absent, ends before it answers,
     *                 answers with another type, or lets the bus's time limit pass (25 seconds by
     *                 default), when there is no bus, and when @p window is too large for a message
     *                 (128 MiB). A service may answer with an error reply
     *                 of the name "NoError": that gives 255, too, and an Error that is no error but
     *                 has the reply's message. The callback is copied and kept until then, and
     *                 may delete any object, the context and this one included. An empty one makes
     *                 the event loop throw `std::bad_function_call`.
     *
     * Callbacks run in the order in which the answers arrive, which need not be the order of the
     * calls.
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
