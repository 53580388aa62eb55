// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_INTERFACE_H
#define SIMULATOR_INTERFACE_H

#include "interface_description.h"

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

    // Whether calls are logged and subject to faults.
    virtual bool isSimulated() const { return true; }

    // Forgets everything that calls have left behind.
    virtual void reset() { }

private:
    Q_DISABLE_COPY(Interface)

    QString m_path;
    InterfaceDescription m_description;
};

#endif
