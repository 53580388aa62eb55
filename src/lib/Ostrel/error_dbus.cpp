// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "Ostrel/error_p.h"

#include "DBus/names_p.h"

#include <QtCore/QMap>

namespace Ostrel
{

namespace
{

using Codes = QMap<QString, Error::Code>;

// Never destroyed: static objects and threads of the program may use it until the process is gone.
const Codes *codesOf(ErrorNamespace prefix)
{
    auto *codes = new Codes;
    for (const CodeName &known : codeNames) {
        if (known.prefix == prefix) {
            codes->insert(QLatin1String(known.name), known.code);
        }
    }
    return codes;
}

} // namespace

Error fromDBusError(const QDBusError &error)
{
    // Two tables, because a name counts only with its own prefix.
    static const Codes *const serviceCodes = codesOf(ErrorNamespace::Service);
    static const Codes *const standardCodes = codesOf(ErrorNamespace::Standard);

    QString name = error.name();
    if (!error.isValid() || name.isEmpty()) {
        return Error(Error::NoError, QString());
    }

    // remove() takes out every occurrence of the prefix, not only the first: a name that holds it
    // twice still finds its code.
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
    return Error(code, error.message(), code != Error::NoError ? error.name() : QString());
}

Error failedWith(const QDBusError &error)
{
    return Error(Error::Failed, error.message(), error.name());
}

} // namespace Ostrel
