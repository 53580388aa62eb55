# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

"""How much the library may cost, as ratios to QtDBus by hand."""

# What a client's construction may cost. Its proxy follows the owner of the service's name, which
# QtDBus does for every proxy: two messages to the bus daemon, and one when it goes.
CONSTRUCTION = {'make control': {'instructions': 1.45, 'allocations': 1.5},
                'make invokers': {'instructions': 1.55, 'allocations': 1.6}}

# The bus thread of QtDBus makes a few allocations more or less, as the messages happen to come.
USUAL = {'instructions': 1.02, 'allocations': 1.01}


def family(row):
    return row.split('/')[0]


def limits(row):
    return CONSTRUCTION.get(family(row), USUAL)
