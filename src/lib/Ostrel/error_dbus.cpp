// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "Ostrel/error_p.h"

#include "DBus/names_p.h"

#include <QtCore/QMap>

namespace Ostrel
{

Error fromDBusError(const QDBusError &error)
{
    // Two tables, because a name counts only below the prefix that it belongs to. They are never
    // destroyed: static objects and threads of the caller may ask until the process is gone.
    using Codes = QMap<QString, Error::Code>;
    static const auto *const serviceCodes = new const Codes{
        {QStringLiteral("NoError"), Error::NoError},
        {QStringLiteral("HandlerNotFound"), Error::HandlerNotFound},
        {QStringLiteral("HandlerFailed"), Error::HandlerFailed},
        {QStringLiteral("ProcessNotHandled"), Error::ProcessNotHandled},
        {QStringLiteral("ApplicationNotRunning"), Error::ApplicationNotRunning},
        {QStringLiteral("ApplicationAlreadyRunning"), Error::ApplicationAlreadyRunning},
    };
    static const auto *const standardCodes = new const Codes{
        {QStringLiteral("Failed"), Error::Failed},
        {QStringLiteral("InvalidArgs"), Error::InvalidArgs},
        {QStringLiteral("NotSupported"), Error::NotSupported},
        {QStringLiteral("AccessDenied"), Error::AccessDenied},
    };

    QString name = error.name();
    if (!error.isValid() || name.isEmpty()) {
        return Error(Error::NoError, QString());
    }

    // remove() takes out every occurrence of the prefix, not the leading one alone: a name that
    // holds it twice still finds its code.
    const QString servicePrefix = QStringLiteral(OSTREL_ERROR_PREFIX);
    const QString standardPrefix = QStringLiteral(OSTREL_STANDARD_ERROR_PREFIX);
    Error::Code code = Error::Failed;
    if (name.startsWith(servicePrefix, Qt::CaseSensitive)) {
        name.remove(servicePrefix, Qt::CaseSensitive);
        code = serviceCodes->value(name, Error::Failed);
    } else if (name.startsWith(standardPrefix, Qt::CaseSensitive)) {
        name.remove(standardPrefix, Qt::CaseSensitive);
        code = standardCodes->value(name, Error::Failed);
    }
    return Error(code, error.message());
}

} // namespace Ostrel
