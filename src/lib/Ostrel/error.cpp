// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "Ostrel/error.h"
#include "Ostrel/error_p.h"

namespace Ostrel
{

Error::Error(Code code, const QString &message)
    : m_code(code)
    , m_message(message)
{
}

Error::Error(Code code, const QString &message, const QString &busErrorName)
    : m_code(code)
    , m_message(message)
    , m_busErrorName(busErrorName)
{
}

bool Error::isError() const
{
    return m_code != NoError;
}

Error::operator bool() const
{
    return isError();
}

Error::Code Error::code() const
{
    return m_code;
}

QString Error::message() const
{
    return m_message;
}

QString Error::name() const
{
    for (const CodeName &known : codeNames) {
        if (known.code == m_code) {
            return QLatin1String(known.name);
        }
    }
    return {};
}

QString Error::busErrorName() const
{
    return m_busErrorName;
}

} // namespace Ostrel
