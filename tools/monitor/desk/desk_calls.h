// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_DESK_DESK_CALLS_H
#define MONITOR_DESK_DESK_CALLS_H

#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QVariantList>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusServiceWatcher>

#include <functional>
#include <limits>

// The fault desk on the bus, and whether the service has one. Nothing here waits.
class DeskCalls : public QObject
{
    Q_OBJECT

public:
    enum State {
        // The service has no fault desk, or there has been none since the start.
        Absent,
        // The service has just come, and has been asked.
        Asked,
        Ready,
        // The service with the fault desk has gone.
        Gone,
    };
    Q_ENUM(State)

    explicit DeskCalls(QObject *parent = nullptr);

    State state() const { return m_state; }

    // The folder of the service's processes. The answer shows that there is a desk.
    QString rootFs() const { return m_rootFs; }

    // As many calls as a number field offers.
    static constexpr int mostCalls = 1000000;
    // Some calls of the desk return when something has happened. The bus replies if the service
    // goes.
    static constexpr int noTimeout = std::numeric_limits<int>::max();

    using Handler = std::function<void(const QDBusMessage &reply)>;

    // The service or the bus has gone.
    void lose();

    // Calls a method for the user. The handler gets its reply, and failed() says why there is none.
    // what: what is attempted, for that message: "Cannot reset".
    void call(const QString &what, const QString &method, const QVariantList &arguments,
              const Handler &handler);

    // Calls a method on behalf of the window. The handler gets the reply or the error, unless the
    // service has been replaced since.
    // timeout: in milliseconds; -1 is that of QtDBus.
    void ask(const QString &method, const Handler &handler, int timeout = -1);

Q_SIGNALS:
    void stateChanged();
    // What has happened, for the user.
    void done(const QString &text);
    void failed(const QString &text);

private:
    void look();
    void setState(State state);
    void send(const QString &method, const QVariantList &arguments, int timeout,
              const Handler &handler);

    QDBusServiceWatcher m_watcher;
    State m_state = Absent;
    QString m_rootFs;
    // Of the service's processes, one after the other.
    int m_generation = 0;
};

#endif
