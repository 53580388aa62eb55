// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_PRESENCE_H
#define SIMULATOR_PRESENCE_H

#include "bus/service.h"
#include "options.h"

#include <QtCore/QObject>
#include <QtCore/QString>

// The connection of the service to its bus, where it owns the service's name.
class Presence : public QObject
{
    Q_OBJECT

public:
    Presence(Service &service, const Options &options, const QString &rootFs);

    // Connects and takes the name. Prints that the service is ready, or why it is not.
    bool enter();

    // Closes the connection. The bus replies to whoever waits for a reply.
    void leave();

    // Blocks until what has been sent is on the bus, since QtDBus sends in a thread of its own; or
    // for ten seconds, if the bus does not reply.
    void flush() const;

Q_SIGNALS:
    void lost();

private Q_SLOTS:
    void onDisconnected();

private:
    Q_DISABLE_COPY(Presence)

    QDBusConnection connectToBus();
    bool isReachable(const QDBusConnection &bus) const;
    bool own(const QDBusConnection &bus) const;
    QString label() const;

    Service &m_service;
    Options m_options;
    QString m_rootFs;
    QString m_connectionName;
    int m_connections = 0;
};

#endif
