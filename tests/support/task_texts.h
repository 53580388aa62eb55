// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_TASK_TEXTS_H
#define TESTS_TASK_TEXTS_H

#include "record_rows.h"

#include <DBus/types.h>

// The members of a record, in order, as a string. Templates find these functions because they are
// in the namespace of the records.
namespace Ostrel
{

inline QString text(const TaskState &task)
{
    return QString("%1 %2 {%3}").arg(task.name).arg(task.state).arg(::text(task.properties));
}

inline QString text(const AvailableTask &task)
{
    return QString("%1 {%2}").arg(task.name, ::text(task.properties));
}

inline QString text(const ActiveTask &task)
{
    return QString("%1 %2 {%3}").arg(task.name).arg(task.pid).arg(::text(task.properties));
}

} // namespace Ostrel

#endif
