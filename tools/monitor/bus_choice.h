// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_BUS_CHOICE_H
#define MONITOR_BUS_CHOICE_H

#include <QtCore/QString>

// The message bus that the window looks at.
class BusChoice
{
public:
    // "session", "system" or an address.
    explicit BusChoice(const QString &name = QStringLiteral("session"));

    // Makes it the session bus of this process, which is the one that the library calls. Nothing
    // may have used the session bus before.
    void apply() const;

    // "the session bus".
    QString label() const;

    // What the user can do if there is no bus, or no service on it.
    QString adviceOnMissingBus() const;
    QString adviceOnMissingService() const;

private:
    QString m_name;
};

#endif
