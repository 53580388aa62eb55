// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_ROOT_FS_H
#define SIMULATOR_ROOT_FS_H

#include "result.h"

#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QTemporaryDir>

#include <optional>

// A small root file system with "proc/PID/cgroup" for each process that the simulator runs.
class RootFs
{
public:
    RootFs() = default;
    ~RootFs();

    // Makes the folder, or a temporary one if the name is empty.
    Result<> make(const QString &folder);

    QString path() const { return m_path; }

    // Removes all of it.
    void clear();

    // Adds a process in the control group of this path.
    bool add(int pid, const QString &group);
    void remove(int pid);

private:
    Q_DISABLE_COPY(RootFs)

    QString processFolder(int pid) const;

    std::optional<QTemporaryDir> m_temporary;
    QString m_path;
    QSet<int> m_processes;
};

#endif
