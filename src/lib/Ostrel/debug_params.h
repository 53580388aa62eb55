// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DEBUG_PARAMS_H
#define OSTREL_DEBUG_PARAMS_H

#include <Ostrel/export.h>

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariantMap>

namespace Ostrel
{

/**
 * The conditions under which an application is started for debugging.
 *
 * A setting that was never set is not sent, and the service uses its own default. The service
 * defines what it does with each setting.
 *
 * @code
 * Ostrel::DebugParams params;
 * params.setApplicationWrapper({QStringLiteral("gdbserver"), QStringLiteral(":4000")});
 * params.setSandboxEnabled(false);
 * @endcode
 *
 * A DebugParams is a plain value, implicitly shared. Copies are cheap and independent, and may be
 * used in different threads at once. Its functions cannot fail, and make no bus call.
 */
class OSTREL_EXPORT DebugParams
{
public:
    /** Constructs parameters with nothing set. */
    DebugParams();

    /**
     * Constructs parameters with the entries of @p params, unchanged. The functions below name the
     * keys that they use; other keys are sent as well. @ref sending says which values can be sent.
     * Any other value makes the request fail.
     */
    DebugParams(const QVariantMap &params);

    /** Constructs a copy of @p other. */
    DebugParams(const DebugParams &other);

    /** Makes this a copy of @p other. */
    DebugParams &operator=(const DebugParams &other);

    /** Destroys the parameters. */
    ~DebugParams();

    /** Sets the command that is put in front of the application ("applicationWrapper", "as"). */
    void setApplicationWrapper(const QStringList &applicationWrapper);

    /** Returns the command that is put in front of the application; an empty list if not set. */
    QStringList applicationWrapper() const;

    /** Sets the additional parameters of the application ("commandLineParams", "as"). */
    void setCommandLineParams(const QStringList &commandLineParams);

    /** Returns the additional parameters of the application; an empty list if not set. */
    QStringList commandLineParams() const;

    /** Sets the additional environment entries of the application ("environment", "as"). */
    void setEnvironment(const QStringList &environment);

    /** Returns the additional environment entries; an empty list if not set. */
    QStringList environment() const;

    /** Sets the parameters of the sandbox launcher ("firejailParams", "as"). */
    void setFireJailParams(const QStringList &firejailParams);

    /** Returns the parameters of the sandbox launcher; an empty list if not set. */
    QStringList firejailParams() const;

    /** Sets whether the application runs in its sandbox ("sandbox", "b"). */
    void setSandboxEnabled(bool enabled);

    /** Returns whether the application runs in its sandbox; true if not set. */
    bool sandboxEnabled() const;

    /** Sets the file that receives the application's standard output ("stdoutFile", "s"). */
    void setStdoutFile(const QString &stdoutFile);

    /** Returns the file that receives the standard output; a null string if not set. */
    QString stdoutFile() const;

    /** Sets the file that receives the application's standard error ("stderrFile", "s"). */
    void setStderrFile(const QString &stderrFile);

    /** Returns the file that receives the standard error; a null string if not set. */
    QString stderrFile() const;

    /** Returns all settings by key, as a request sends them. */
    QVariantMap toMap() const;

private:
    QVariantMap m_params;
};

} // namespace Ostrel

#endif
