// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_WINDOW_MANAGEMENT1_H
#define SIMULATOR_WINDOW_MANAGEMENT1_H

#include "bus/interface.h"

#include <QtCore/QMap>
#include <QtCore/QVector>
#include <QtDBus/QDBusArgument>

// The report of a window: "(siii)".
struct ReportedWindow
{
    QString name;
    int status = 0;
    int arg1 = 0;
    int arg2 = 0;
};
Q_DECLARE_METATYPE(ReportedWindow)

QDBusArgument &operator<<(QDBusArgument &argument, const ReportedWindow &window);
const QDBusArgument &operator>>(const QDBusArgument &argument, ReportedWindow &window);

// ".WindowManagement1": keeps the reports, and returns the reported status as the state.
class WindowManagement1 : public Interface
{
public:
    WindowManagement1();

    // In the order of their names.
    QVector<ReportedWindow> windows() const;

    void handle(const QDBusMessage &call, const Answer &answer) override;
    void reset() override;

private:
    QMap<QString, ReportedWindow> m_windows;
};

#endif
