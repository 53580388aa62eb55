// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_TESTING_METHOD_H
#define OSTREL_TESTING_METHOD_H

namespace Ostrel::Testing
{

/** The methods of the lifecycle service, and what calls them. */
enum class Method {
    /** Control::start(). */
    Start,
    /** Control::startDebug(). */
    StartDebug,
    /** Control::terminate(). */
    Terminate,
    /** Control::getRunningApplications(), and the models of applications and services. */
    GetRunningApplications,
    /** The constructor of TaskInvoker, and the model of tasks. */
    RegisterInvoker,
    /** TaskInvoker::start(): "Start" of ".TaskInvokerSession1". */
    StartTask,
    /** TaskInvoker::stop(): "Stop" of ".TaskInvokerSession1". */
    StopTask,
    /** WindowManagement::updateWindowStatus(). */
    UpdateWindowStatus
};

} // namespace Ostrel::Testing

#endif
