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

    // Takes the answer of a call: a reply or an error.
    using Answer = std::function<void(const QDBusMessage &answer)>;

    // Carries out a call of a method that the description has, with the arguments that it names,
    // and gives the answer, at once or later, and never after a reset.
    virtual void handle(const QDBusMessage &call, const Answer &answer) = 0;

    // The properties with their present values; all can only be read.
    virtual QVariantMap properties() const { return {}; }

    // Whether calls are logged and subject to faults.
    virtual bool isSimulated() const { return true; }

    // Forgets everything that calls have left behind.
    virtual void reset() { }

    // False for an object that a call has made: it goes when the service is reset.
    virtual bool outlastsReset() const { return true; }

private:
    Q_DISABLE_COPY(Interface)

    QString m_path;
    InterfaceDescription m_description;
};

#endif
