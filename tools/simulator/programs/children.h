// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_CHILDREN_H
#define SIMULATOR_CHILDREN_H

#include "programs/child.h"
#include "programs/root_fs.h"

#include <QtCore/QObject>
#include <QtCore/QVector>

#include <chrono>
#include <functional>

// The processes that the simulator runs. The root file system lists each one while it lives.
class Children : public QObject
{
    Q_OBJECT

public:
    // killAfter: how long a program may take to end on SIGTERM.
    Children(RootFs &rootFs, std::chrono::milliseconds killAfter);

    // Ends all processes, and waits until they are gone.
    ~Children() override;

    QString rootFs() const { return m_rootFs.path(); }

    // Runs a program in the control group of this path. The child is deleted some time after it is
    // gone.
    Child *run(const Launch &launch, const QString &group);

    // Kills all processes, and calls the function when they are gone.
    void killAll(const std::function<void()> &done);

    // Ends this process at once. The children are killed with it.
    [[noreturn]] void die();

Q_SIGNALS:
    // This process is about to end at once.
    void aboutToDie();

private:
    Q_DISABLE_COPY(Children)

    void onGone(Child *child);

    RootFs &m_rootFs;
    std::chrono::milliseconds m_killAfter;
    QVector<Child *> m_children;
};

#endif
