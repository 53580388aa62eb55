// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_CALL_LOG_H
#define SIMULATOR_CALL_LOG_H

#include <QtCore/QMetaType>
#include <QtCore/QPair>
#include <QtCore/QString>
#include <QtCore/QVariantList>
#include <QtCore/QVector>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusMessage>

// An interface and one of its members.
using Method = QPair<QString, QString>;

// A call as it was received: "(ssssav)".
struct LoggedCall
{
    QString path;
    QString interface;
    QString member;
    QString signature;
    QVariantList arguments;
};
Q_DECLARE_METATYPE(LoggedCall)

QDBusArgument &operator<<(QDBusArgument &argument, const LoggedCall &call);
const QDBusArgument &operator>>(const QDBusArgument &argument, LoggedCall &call);

class CallLog
{
public:
    CallLog();

    void append(const QDBusMessage &call);
    void clear() { m_calls.clear(); }

    const QVector<LoggedCall> &calls() const { return m_calls; }
    uint count(const Method &method) const;

private:
    QVector<LoggedCall> m_calls;
};

#endif
