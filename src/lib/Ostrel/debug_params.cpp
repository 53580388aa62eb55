// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "Ostrel/debug_params.h"

namespace Ostrel
{

namespace
{

// Built when the library is loaded, over static data.
// clazy:excludeall=non-pod-global-static
const QString applicationWrapperKey = QStringLiteral("applicationWrapper");
const QString commandLineParamsKey = QStringLiteral("commandLineParams");
const QString environmentKey = QStringLiteral("environment");
const QString firejailParamsKey = QStringLiteral("firejailParams");
const QString sandboxKey = QStringLiteral("sandbox");
const QString stdoutFileKey = QStringLiteral("stdoutFile");
const QString stderrFileKey = QStringLiteral("stderrFile");

} // namespace

DebugParams::DebugParams() = default;

DebugParams::DebugParams(const QVariantMap &params)
    : m_params(params)
{
}

DebugParams::DebugParams(const DebugParams &other) = default;

DebugParams &DebugParams::operator=(const DebugParams &other) = default;

DebugParams::~DebugParams() = default;

void DebugParams::setApplicationWrapper(const QStringList &applicationWrapper)
{
    m_params.insert(applicationWrapperKey, applicationWrapper);
}

QStringList DebugParams::applicationWrapper() const
{
    return m_params.value(applicationWrapperKey).toStringList();
}

void DebugParams::setCommandLineParams(const QStringList &commandLineParams)
{
    m_params.insert(commandLineParamsKey, commandLineParams);
}

QStringList DebugParams::commandLineParams() const
{
    return m_params.value(commandLineParamsKey).toStringList();
}

void DebugParams::setEnvironment(const QStringList &environment)
{
    m_params.insert(environmentKey, environment);
}

QStringList DebugParams::environment() const
{
    return m_params.value(environmentKey).toStringList();
}

void DebugParams::setFireJailParams(const QStringList &firejailParams)
{
    m_params.insert(firejailParamsKey, firejailParams);
}

QStringList DebugParams::firejailParams() const
{
    return m_params.value(firejailParamsKey).toStringList();
}

void DebugParams::setSandboxEnabled(bool enabled)
{
    m_params.insert(sandboxKey, enabled);
}

bool DebugParams::sandboxEnabled() const
{
    // The sandbox is on unless it was switched off.
    return m_params.value(sandboxKey, true).toBool();
}

void DebugParams::setStdoutFile(const QString &stdoutFile)
{
    m_params.insert(stdoutFileKey, stdoutFile);
}

QString DebugParams::stdoutFile() const
{
    return m_params.value(stdoutFileKey).toString();
}

void DebugParams::setStderrFile(const QString &stderrFile)
{
    m_params.insert(stderrFileKey, stderrFile);
}

QString DebugParams::stderrFile() const
{
    return m_params.value(stderrFileKey).toString();
}

QVariantMap DebugParams::toMap() const
{
    return m_params;
}

} // namespace Ostrel
