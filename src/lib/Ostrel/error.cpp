// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "Ostrel/error.h"

namespace Ostrel
{

Error::Error(Code code, const QString &message)
    : m_code(code)
    , m_message(message)
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

} // namespace Ostrel
