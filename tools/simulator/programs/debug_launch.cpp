// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "programs/debug_launch.h"

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

// Empties the file and opens it for the program. Both outputs may go to one file, so that each
// writes behind what is there.
QString open(const QString &name, std::shared_ptr<QFile> &file)
{
    if (name.isNull()) {
        return {};
    }
    // Without waiting: a named pipe may have no reader.
    const int flags = O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC | O_NOCTTY;
    const int descriptor = ::open(QFile::encodeName(name).constData(), flags | O_NONBLOCK, 0666);
    if (descriptor < 0) {
        return QStringLiteral("Cannot open \"%1\": %2").arg(name, qt_error_string(errno));
    }
    fcntl(descriptor, F_SETFL, flags);
    file = std::make_shared<QFile>();
    file->open(descriptor, QIODevice::WriteOnly, QFileDevice::AutoCloseHandle);
    return {};
}

} // namespace

QString DebugLaunch::read(const QVariantMap &parameters)
{
    m_others = parameters;
    QString mistake = typeMistake(parameters, signatures());
    if (!mistake.isEmpty()) {
        return mistake;
    }
    m_wrapper = m_others.take(wrapperKey).toStringList();
    m_parameters = m_others.take(parametersKey).toStringList();
    m_environment = m_others.take(environmentKey).toStringList();
    m_standardOutput = m_others.take(standardOutputKey).toString();
    m_standardError = m_others.take(standardErrorKey).toString();
    return environmentMistake(environmentKey, m_environment);
}

QString DebugLaunch::apply(Launch &launch) const
{
    if (!m_wrapper.isEmpty()) {
        launch.arguments.prepend(launch.program);
        launch.arguments = m_wrapper.mid(1) + launch.arguments;
        launch.program = m_wrapper.constFirst();
    }
    launch.arguments += m_parameters;
    launch.addEnvironment(m_environment);
    const QString mistake = open(m_standardOutput, launch.standardOutput);
    return mistake.isEmpty() ? open(m_standardError, launch.standardError) : mistake;
}
