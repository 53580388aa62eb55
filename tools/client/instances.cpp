// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "instances.h"

QString instanceOf(const Ostrel::Control &control, int pid, const QVariantMap &properties)
{
    // The simulator sends it. On a device, the process may be in a control group that names it.
    const QVariant sent = properties.value(QStringLiteral("InstanceId"));
    const bool isSent = sent.userType() == QMetaType::QString && !sent.toString().isEmpty();
    return isSent ? sent.toString() : control.getAppInstanceIdByPid(pid);
}

QString adviceOnInstance(const Ostrel::Control &control, const QString &given,
                         const QVector<Ostrel::RunningApplication> &applications)
{
    bool isListed = false;
    QStringList instances;
    for (const Ostrel::RunningApplication &application : applications) {
        const QString instance = instanceOf(control, application.pid, application.properties);
        if (instance == given) {
            return {};
        }
        if (application.appId == given || QString::number(application.pid) == given) {
            isListed = true;
            instances.append(instance);
        }
    }
    instances.removeAll(QString());
    if (!isListed) {
        return {};
    }
    const QString advice =
        QStringLiteral("this takes an instance, not an application or a process");
    return instances.isEmpty()
        ? advice + QStringLiteral("; 'start' and 'watch' print the instances that are started")
        : advice + QStringLiteral(": ") + instances.join(QLatin1Char(' '));
}
