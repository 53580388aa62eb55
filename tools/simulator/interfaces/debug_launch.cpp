// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "interfaces/debug_launch.h"

#include "bus/values.h"

#include <QtCore/QFile>
#include <QtCore/QHash>

#include <cerrno>
#include <fcntl.h>

namespace
{

const QString wrapperKey = QStringLiteral("applicationWrapper");
const QString parametersKey = QStringLiteral("commandLineParams");
const QString environmentKey = QStringLiteral("environment");
const QString standardOutputKey = QStringLiteral("stdoutFile");
const QString standardErrorKey = QStringLiteral("stderrFile");

// The types of the parameters that are known.
const QHash<QString, QString> &signatures()
{
    static const QHash<QString, QString> all{
        {wrapperKey, QStringLiteral("as")},
        {parametersKey, QStringLiteral("as")},
        {environmentKey, QStringLiteral("as")},
        {standardOutputKey, QStringLiteral("s")},
        {standardErrorKey, QStringLiteral("s")},
        {QStringLiteral("firejailParams"), QStringLiteral("as")},
        {QStringLiteral("sandbox"), QStringLiteral("b")},
    };
    return all;
}

// Truncates the file and opens it for the program; null if there is no name. Both outputs may go to
// one file, so each of them appends.
Result<std::shared_ptr<QFile>> open(const QString &name)
{
    if (name.isNull()) {
        return nullptr;
    }
    // Without waiting: a named pipe may have no reader.
    const int flags = O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC | O_NOCTTY;
    const int descriptor = ::open(QFile::encodeName(name).constData(), flags | O_NONBLOCK, 0666);
    if (descriptor < 0) {
        return Failure(QStringLiteral("Cannot open \"%1\": %2").arg(name, qt_error_string(errno)));
    }
    fcntl(descriptor, F_SETFL, flags);
    auto file = std::make_shared<QFile>();
    file->open(descriptor, QIODevice::WriteOnly, QFileDevice::AutoCloseHandle);
    return file;
}

} // namespace

Result<DebugLaunch> DebugLaunch::fromParameters(const QVariantMap &parameters)
{
    DebugLaunch debug;
    debug.m_others = parameters;
    if (const Result<> types = checkTypes(parameters, signatures()); !types) {
        return Failure(types.error());
    }
    debug.m_wrapper = debug.m_others.take(wrapperKey).toStringList();
    debug.m_parameters = debug.m_others.take(parametersKey).toStringList();
    debug.m_environment = debug.m_others.take(environmentKey).toStringList();
    debug.m_standardOutput = debug.m_others.take(standardOutputKey).toString();
    debug.m_standardError = debug.m_others.take(standardErrorKey).toString();
    return checkEnvironment(environmentKey, debug.m_environment).map([&debug] { return debug; });
}

Result<> DebugLaunch::apply(Launch &launch) const
{
    if (!m_wrapper.isEmpty()) {
        launch.arguments.prepend(launch.program);
        launch.arguments = m_wrapper.mid(1) + launch.arguments;
        launch.program = m_wrapper.constFirst();
    }
    launch.arguments += m_parameters;
    launch.addEnvironment(m_environment);
    const auto output = open(m_standardOutput);
    if (!output) {
        return Failure(output.error());
    }
    launch.standardOutput = *output;
    return open(m_standardError).map([&launch](const auto &file) { launch.standardError = file; });
}
