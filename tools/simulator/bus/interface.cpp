// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus/interface.h"

Interface::Interface(const QString &path, const QString &shortName)
    : m_path(path)
    , m_description(shortName)
{
}

Interface::~Interface() = default;
