// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_ERROR_P_H
#define OSTREL_ERROR_P_H

#include "Ostrel/error.h"

#include "DBus/names_p.h"

#include <QtDBus/QDBusError>

#include <array>

namespace Ostrel
{

// Who defines the bus error name of a code.
enum class ErrorNamespace {
    Service,
    Standard,
};

// A code, and the last part of its bus error name.
struct CodeName
{
    Error::Code code;
    const char *name;
    ErrorNamespace prefix;
};

constexpr std::array<CodeName, 10> codeNames{{
    {Error::NoError, "NoError", ErrorNamespace::Service},
    {Error::Failed, "Failed", ErrorNamespace::Standard},
    {Error::HandlerNotFound, "HandlerNotFound", ErrorNamespace::Service},
    {Error::HandlerFailed, "HandlerFailed", ErrorNamespace::Service},
    {Error::InvalidArgs, "InvalidArgs", ErrorNamespace::Standard},
    {Error::NotSupported, "NotSupported", ErrorNamespace::Standard},
    {Error::AccessDenied, "AccessDenied", ErrorNamespace::Standard},
    {Error::ProcessNotHandled, "ProcessNotHandled", ErrorNamespace::Service},
    {Error::ApplicationNotRunning, "ApplicationNotRunning", ErrorNamespace::Service},
    {Error::ApplicationAlreadyRunning, "ApplicationAlreadyRunning", ErrorNamespace::Service},
}};

// Returns the bus error name of a code. A code without a name has none.
inline QString busErrorNameOf(Error::Code code)
{
    for (const CodeName &known : codeNames) {
        if (known.code == code) {
            const bool isService = known.prefix == ErrorNamespace::Service;
            return QLatin1String(isService ? OSTREL_ERROR_PREFIX : OSTREL_STANDARD_ERROR_PREFIX)
                + QLatin1String(known.name);
        }
    }
    return {};
}

// Friends of the class; a declaration there does not make them known here.

// The one place where bus errors become Error values. Any thread may call it.
Error fromDBusError(const QDBusError &error); // NOLINT(readability-redundant-declaration)

// As fromDBusError(), but the code is always Failed.
Error failedWith(const QDBusError &error); // NOLINT(readability-redundant-declaration)

} // namespace Ostrel

#endif
