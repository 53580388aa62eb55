// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TOOLS_INSTANCES_H
#define TOOLS_INSTANCES_H

#include <Ostrel/Control>

// The identifier of the instance that a record of what runs is about; null if it is unknown. The
// record itself has no member for it.
QString instanceOf(const Ostrel::Control &control, int pid, const QVariantMap &properties);

// What the user can do if the service cannot terminate what was given: null unless that is an
// application or a process in the list of what runs.
QString adviceOnInstance(const Ostrel::Control &control, const QString &given,
                         const QVector<Ostrel::RunningApplication> &applications);

#endif
