// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_MEMBERS_H
#define SIMULATOR_MEMBERS_H

#include "bus/service.h"
#include "json/json_node.h"

#include <QtCore/QString>

// The methods and signals of the service, by their names in a file: "Control1.Start", the same with
// the full name of the interface, or "Terminate" if only one interface has it.
class Members
{
public:
    explicit Members(const Service &service)
        : m_interfaces(service.known())
    {
    }

    struct Member
    {
        Method name;
        // Of the object; empty if there may be several.
        QString path;
        // Of the arguments, and of the reply to them. A signal of another service has none.
        QString signature;
        QString reply;
        bool isKnown = true;
    };

    // Whether exactly one interface has a method of this name.
    bool hasMethod(const QString &name) const { return candidates(Method_, name).size() == 1; }

    // Both throw a JsonError for a name that there is not.
    Member method(const JsonNode &name) const;
    // A signal may also be one of any interface, with its full name.
    Member signal(const JsonNode &name) const;

private:
    enum Kind {
        Method_,
        Signal_
    };
    QVector<Service::Known> candidates(Kind kind, const QString &name) const;
    Member find(Kind kind, const JsonNode &name) const;

    QVector<Service::Known> m_interfaces;
};

#endif
