// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_WINDOW_MANAGEMENT_P_H
#define OSTREL_WINDOW_MANAGEMENT_P_H

#include "Ostrel/window_management.h"

#include <QtDBus/QDBusAbstractInterface>

namespace Ostrel
{

// The proxy of the service. It adds nothing to its base class, not even a meta-object.
class WindowManagementInterface
    : public QDBusAbstractInterface // clazy:exclude=missing-qobject-macro
{
public:
    WindowManagementInterface();
    ~WindowManagementInterface() override;
};

class WindowManagementPrivate
{
public:
    void updateWindowStatus(const QString &window, int status, int arg1, int arg2,
                            const QObject *context,
                            const std::function<void(ApplicationState, const Error &)> &callback);

    WindowManagementInterface &proxy() const { return *m_interface; }

private:
    // Never deleted: it lives until the process ends.
    WindowManagementInterface *m_interface = new WindowManagementInterface;
};

} // namespace Ostrel

#endif
