// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "interfaces/window_management1.h"

#include "DBus/names_p.h"

#include <QtDBus/QDBusMetaType>

QDBusArgument &operator<<(QDBusArgument &argument, const ReportedWindow &window)
{
    argument.beginStructure();
    argument << window.name << window.status << window.arg1 << window.arg2;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, ReportedWindow &window)
{
    argument.beginStructure();
    argument >> window.name >> window.status >> window.arg1 >> window.arg2;
    argument.endStructure();
    return argument;
}

WindowManagement1::WindowManagement1()
    : Interface(QStringLiteral(OSTREL_WINDOW_MANAGEMENT_PATH), QStringLiteral("WindowManagement1"))
{
    qDBusRegisterMetaType<ReportedWindow>();
    qDBusRegisterMetaType<QVector<ReportedWindow>>();
}

QVector<ReportedWindow> WindowManagement1::windows() const
{
    return QVector<ReportedWindow>(m_windows.cbegin(), m_windows.cend());
}

void WindowManagement1::handle(const QDBusMessage &call, const Answer &answer)
{
    const QVariantList arguments = call.arguments();
    const ReportedWindow window{arguments.at(0).toString(), arguments.at(1).toInt(),
                                arguments.at(2).toInt(), arguments.at(3).toInt()};
    m_windows.insert(window.name, window);
    answer(call.createReply(static_cast<uint>(window.status)));
}

void WindowManagement1::reset()
{
    m_windows.clear();
}
