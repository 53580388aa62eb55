// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_CONTROL1_H
#define SIMULATOR_CONTROL1_H

#include "bus/interface.h"
#include "bus/service.h"
#include "interfaces/debug_launch.h"
#include "interfaces/running_records.h"
#include "programs/catalogue.h"
#include "programs/children.h"
#include "programs/instance.h"

#include <QtCore/QHash>
#include <QtCore/QObject>
#include <QtCore/QVector>

// ".Control1": runs the applications of the catalogue.
class Control1 : public QObject, public Interface
{
    Q_OBJECT

public:
    Control1(Service &service, const Catalogue &catalogue, Children &children);

    void handle(const QDBusMessage &call, const Answer &answer) override;

    // Drops the instances. Their processes belong to the owner of the children.
    void reset() override;

    bool isRunning(const QString &instanceId) const { return find(instanceId) != nullptr; }

    // Sends "SelectedByOom" for a running instance, and kills it.
    void killByOom(const QString &instanceId);

Q_SIGNALS:
    // An instance has ended, and all signals about it have been sent.
    void ended();

private:
    using Handler = void (Control1::*)(const QDBusMessage &call, const Answer &answer);
    static const QHash<QString, Handler> &handlers();

    void start(const QDBusMessage &call, const Answer &answer);
    void startDebug(const QDBusMessage &call, const Answer &answer);
    void terminate(const QDBusMessage &call, const Answer &answer);
    void getRunningApplications(const QDBusMessage &call, const Answer &answer);

    void start(const QDBusMessage &call, const Answer &answer, const DebugLaunch &debug);
    void onRunning(const Instance &instance, const QVariantMap &details);
    void onEnded(Instance *instance);
    void forget(Instance *instance);
    Instance *find(const QString &instanceId) const;
    void sendSignal(const QString &member, const QVariantList &arguments);

    Service &m_service;
    Catalogue m_catalogue;
    Children &m_children;
    QVector<Instance *> m_instances; // in the order in which they were started
    QHash<QString, uint> m_starts;
};

#endif
