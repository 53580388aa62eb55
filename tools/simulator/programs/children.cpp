// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "programs/children.h"

#include "print.h"

#include <QtCore/QDeadlineTimer>

#include <cstdio>
#include <cstdlib>
#include <memory>

Children::Children(RootFs &rootFs, std::chrono::milliseconds killAfter)
    : m_rootFs(rootFs)
    , m_killAfter(killAfter)
{
}

Children::~Children()
{
    const QVector<Child *> children = m_children;
    for (Child *const child : children) {
        child->end();
    }
    const QDeadlineTimer deadline(m_killAfter);
    for (Child *const child : children) {
        // No event loop runs, so no timer kills it.
        if (!child->waitForFinished(static_cast<int>(deadline.remainingTime()))) {
            child->killAll();
            child->waitForFinished(-1);
        }
    }
}

Child *Children::run(const Launch &launch, const QString &group)
{
    // A program that looks itself up has to find the simulator's control groups.
    Launch told = launch;
    told.environment.insert(QStringLiteral("OSTREL_ROOTFS"), m_rootFs.path());
    auto *child = new Child(told, m_killAfter, this);
    m_children.append(child);
    // Connected first: the process has left the root file system before others learn of its end.
    connect(child, &Child::failed, this, [this, child] { onGone(child); });
    connect(child, &Child::ended, this, [this, child] { onGone(child); });
    child->run([this, &group](int pid) {
        if (!m_rootFs.add(pid, group)) {
            print(stderr, QStringLiteral("cannot write to %1").arg(m_rootFs.path()));
        }
    });
    return child;
}

void Children::killAll(const std::function<void()> &done)
{
    if (m_children.isEmpty()) {
        done();
        return;
    }
    const auto left = std::make_shared<int>(m_children.size());
    for (Child *const child : qAsConst(m_children)) {
        connect(child, &Child::gone, this, [left, done] {
            if (--*left == 0) {
                done();
            }
        });
        child->killAll();
    }
}

void Children::die()
{
    Q_EMIT aboutToDie();
    // The only cleaning up: the user's folder for temporary files must not fill.
    m_rootFs.clear();
    std::_Exit(EXIT_FAILURE);
}

void Children::onGone(Child *child)
{
    m_rootFs.remove(child->pid());
    m_children.removeOne(child);
    child->deleteLater();
}
