// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_INTERFACE_H
#define SIMULATOR_INTERFACE_H

#include "bus/interface_description.h"

#include <QtCore/QVariantMap>
#include <QtDBus/QDBusMessage>

#include <functional>

// One interface at one object path of the service.
class Interface
{
public:
    Interface(const QString &path, const QString &shortName);
    virtual ~Interface();

    QString path() const { return m_path; }
    const InterfaceDescription &description() const { return m_description; }

    // Sends the reply to a call, which may be an error.
    using Answer = std::function<void(const QDBusMessage &answer)>;

    // Carries out a call. Its method and signature are in the description. Replies at once or
    // later, but never after a reset.
    virtual void handle(const QDBusMessage &call, const Answer &answer) = 0;

    // The properties with their current values. All are read-only.
    virtual QVariantMap properties() const { return {}; }

    // Whether calls are logged and can have faults.
    virtual bool isSimulated() const { return true; }

    // Drops the state that calls have made.
    virtual void reset() { }

    // False for an object that a call has created: a reset of the service deletes it.
    virtual bool outlastsReset() const { return true; }

private:
    Q_DISABLE_COPY(Interface)

    QString m_path;
    InterfaceDescription m_description;
};

#endif
