// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TOOLS_RESULT_H
#define TOOLS_RESULT_H

#include <QtCore/QString>

#include <optional>
#include <tl/expected.hpp>

// A value, or an error message for the user.
template <typename Value = void> using Result = tl::expected<Value, QString>;

using Failure = tl::unexpected<QString>;

// The first error of several results.
template <typename... Results> std::optional<QString> firstError(const Results &...results)
{
    std::optional<QString> first;
    const auto look = [&first](const auto &result) {
        if (!first && !result) {
            first = result.error();
        }
    };
    (look(results), ...);
    return first;
}

// Prints an error in the command line, and where help is. Returns the exit status.
int reportBadUsage(const QString &program, const QString &error);

#endif
