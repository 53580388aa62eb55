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
 * It holds what has been set, and nothing else: a setting that was never set is not sent, and the
 * service applies its own default. What the service does with each setting is for the service to
 * say.
 *
 * @code
 * Ostrel::DebugParams params;
 * params.setApplicationWrapper({QStringLiteral("gdbserver"), QStringLiteral(":4000")});
 * params.setSandboxEnabled(false);
 * @endcode
 *
 * A DebugParams is a plain value, implicitly shared: copies are cheap, keep what they held when
 * they were made, and different copies may be used in different threads at the same time. It makes
 * no bus call, and nothing in it can fail.
 */
class OSTREL_EXPORT DebugParams
{
public:
    /** Constructs parameters with nothing set. */
    DebugParams();

    /**
     * Constructs parameters from @p params, which is taken as it is. The functions below name the
     * keys that they use; other keys are kept and sent, too. @ref sending says which values can be
     * sent. With another one the request fails.
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

    /** Sets the extra parameters of the application ("commandLineParams", "as"). */
    void setCommandLineParams(const QStringList &commandLineParams);

    /** Returns the extra parameters of the application; an empty list if not set. */
    QStringList commandLineParams() const;

    /** Sets the extra entries of the application's environment ("environment", "as"). */
    void setEnvironment(const QStringList &environment);

    /** Returns the extra entries of the environment; an empty list if not set. */
    QStringList environment() const;

    /** Sets the parameters of the sandbox launcher ("firejailParams", "as"). */
    void setFireJailParams(const QStringList &firejailParams);

    /** Returns the parameters of the sandbox launcher; an empty list if not set. */
    QStringList firejailParams() const;

    /** Sets whether the application runs in its sandbox ("sandbox", "b"). */
    void setSandboxEnabled(bool enabled);

    /** Returns whether the application runs in its sandbox; true if not set. */
    bool sandboxEnabled() const;

    /** Sets the file that takes the application's standard output ("stdoutFile", "s"). */
    void setStdoutFile(const QString &stdoutFile);

    /** Returns the file that takes the standard output; a null string if not set. */
    QString stdoutFile() const;

    /** Sets the file that takes the application's standard error ("stderrFile", "s"). */
    void setStderrFile(const QString &stderrFile);

    /** Returns the file that takes the standard error; a null string if not set. */
    QString stderrFile() const;

    /** Returns everything that was set, by its keys: what a request sends. */
    QVariantMap toMap() const;

private:
    QVariantMap m_params;
};

} // namespace Ostrel

#endif
