// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_DEBUG_LAUNCH_H
#define SIMULATOR_DEBUG_LAUNCH_H

#include "programs/launch.h"

#include <QtCore/QVariantMap>

// The parameters of "StartDebug".
class DebugLaunch
{
public:
    // Reads the parameters, if their types are right.
    static Result<DebugLaunch> fromParameters(const QVariantMap &parameters);

    // Changes the way in which a program is run. Fails if an output file cannot be opened.
    Result<> apply(Launch &launch) const;

    // The parameters that the simulator ignores.
    QVariantMap others() const { return m_others; }

private:
    QStringList m_wrapper;
    QStringList m_parameters;
    QStringList m_environment;
    QString m_standardOutput;
    QString m_standardError;
    QVariantMap m_others;
};

#endif
