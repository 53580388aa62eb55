// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus/call_log.h"

#include <QtDBus/QDBusMetaType>

#include <algorithm>

QDBusArgument &operator<<(QDBusArgument &argument, const LoggedCall &call)
{
    argument.beginStructure();
    argument << call.path << call.interface << call.member << call.signature << call.arguments;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, LoggedCall &call)
{
    argument.beginStructure();
    argument >> call.path >> call.interface >> call.member >> call.signature >> call.arguments;
    argument.endStructure();
    return argument;
}

CallLog::CallLog()
{
    qDBusRegisterMetaType<LoggedCall>();
    qDBusRegisterMetaType<QVector<LoggedCall>>();
}

void CallLog::append(const QDBusMessage &call)
{
    m_calls.append(LoggedCall{call.path(), call.interface(), call.member(), call.signature(),
                              call.arguments()});
}

uint CallLog::count(const Method &method) const
{
    return static_cast<uint>(
        std::count_if(m_calls.cbegin(), m_calls.cend(), [&method](const LoggedCall &call) {
            return call.interface == method.first && call.member == method.second;
        }));
}
