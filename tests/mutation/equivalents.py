# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

"""Mutants that no test can notice, as mutate.py prints them, each with the reason. One that is no
longer made, after a renaming, does no harm."""

EQUIVALENTS = {
    'error_dbus.cpp: return: return Error(Error::NoError, QString()); -> return {};':
        'that is the default constructor',
    # Mutants are built with assertions. The tests of a build without see these two.
    'control.cpp: return: return Error(Error::Failed, QStringLiteral("The reply has fewer than two '
    'arguments")); -> return {};':
        'the assertion before it ends the program',
    'control.cpp: string: return Error(Error::Failed, QStringLiteral("The reply has fewer than two '
    'arguments")); -> return Error(Error::Failed, QStringLiteral("The reply has fewer than two '
    'argumentsx"));':
        'the assertion before it ends the program',
}
