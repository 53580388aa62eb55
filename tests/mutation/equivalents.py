# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

"""Mutants that no test can notice, as mutate.py prints them, each with the reason. One that is no
longer made, after a renaming, does no harm."""

EQUIVALENTS = {
}
