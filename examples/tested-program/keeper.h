// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef KEEPER_H
#define KEEPER_H

#include <Ostrel/Control>

#include <QtCore/QObject>
#include <QtCore/QString>

//! [class]
// Keeps an application running: starts it, and starts it again when it has ended or the service has
// restarted. Tries a start that fails twice more.
class Keeper : public QObject
{
    Q_OBJECT

public:
    explicit Keeper(const QString &appId);

    // Starts the application, unless a start is under way.
    void start();

    // Returns the instance that runs, or a null string.
    QString instance() const { return m_instance; }

Q_SIGNALS:
    void started(const QString &instance);
    void failed(const QString &reason);

private:
    void tryAgain(const Ostrel::Error &error);

    static constexpr int maximumTries = 3;
    QString m_appId;
    QString m_instance;
    Ostrel::Control m_control;
    bool m_isStarting = false;
    int m_tries = 0;
};
//! [class]

#endif
