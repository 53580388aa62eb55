# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

"""How much the library may cost, as ratios to QtDBus by hand."""

import math

# QtDBus's thread allocates a little more or less, depending on how the messages arrive.
USUAL = {'instructions': 1.02, 'allocations': 1.01}

# A client has a proxy. For every proxy, QtDBus follows who owns the service's name: two messages
# to the bus daemon when it is made, and one when it is destroyed. QtDBus by hand sends none of
# them, so this is also compared with the proxies of qdbusxml2cpp.
CONSTRUCTION = {'make control', 'make invokers'}
CONSTRUCTION_OF_PROXY = {'instructions': 1.15, 'allocations': 1.05}
OTHERS = {
    'make control': {'instructions': 1.45, 'allocations': 1.5},
    'make invokers': {'instructions': 1.55, 'allocations': 1.6},
    # Far less than Qt's classes for files: three allocations, by fopen() and for the two strings,
    # instead of fifty.
    'process lookup': {'instructions': 0.4, 'allocations': 0.07},
    # It includes making a client and registering the types.
    'first call': {'instructions': 1.08},
}

# Processor time, without the noise of the machine.
PROCESSOR_TIME = 1.05

# How the cost of an operation may grow with its size, as an exponent.
EXPONENT = 1.05


def family(row):
    return row.split('/')[0]


def size(row):
    """The size in a row's name, or None."""
    return int(row.split('/')[1]) if '/' in row else None


def limits(row):
    return OTHERS.get(family(row), USUAL)


def exponent(points):
    """The exponent of the best-fitting power law: the slope of the line through the logarithms."""
    logarithms = [(math.log(x), math.log(y)) for x, y in points]
    mean_x = sum(x for x, _ in logarithms) / len(logarithms)
    mean_y = sum(y for _, y in logarithms) / len(logarithms)
    return (sum((x - mean_x) * (y - mean_y) for x, y in logarithms)
            / sum((x - mean_x) ** 2 for x, _ in logarithms))
