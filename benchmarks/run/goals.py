# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

"""How much the library may cost, as ratios to QtDBus by hand."""

import math

# The bus thread of QtDBus makes a few allocations more or less, as the messages happen to come.
USUAL = {'instructions': 1.02, 'allocations': 1.01}

# A client has a proxy, and QtDBus lets every proxy follow who owns the service's name: two messages
# to the bus daemon when it is made, and one when it goes. By hand there is none, so that this is
# held against the proxies of qdbusxml2cpp, too.
CONSTRUCTION = {'make control', 'make invokers'}
CONSTRUCTION_OF_PROXY = {'instructions': 1.15, 'allocations': 1.05}
OTHERS = {
    'make control': {'instructions': 1.45, 'allocations': 1.5},
    'make invokers': {'instructions': 1.55, 'allocations': 1.6},
    # Less than Qt's classes for files, by far: three allocations, fopen()'s and those of the two
    # texts, where they make fifty.
    'process lookup': {'instructions': 0.4, 'allocations': 0.07},
    # A client is made for it, and the types are registered.
    'first call': {'instructions': 1.08},
}

# Processor time, where there is no reason to expect more; the noise comes on top.
PROCESSOR_TIME = 1.05

# How what an operation costs may grow with its size.
EXPONENT = 1.05


def family(row):
    return row.split('/')[0]


def size(row):
    """The size in a row's name; none if it has none."""
    return int(row.split('/')[1]) if '/' in row else None


def limits(row):
    return OTHERS.get(family(row), USUAL)


def exponent(points):
    """The exponent of the power law that fits best: the slope of the line through the logarithms."""
    logarithms = [(math.log(x), math.log(y)) for x, y in points]
    mean_x = sum(x for x, _ in logarithms) / len(logarithms)
    mean_y = sum(y for _, y in logarithms) / len(logarithms)
    return (sum((x - mean_x) * (y - mean_y) for x, y in logarithms)
            / sum((x - mean_x) ** 2 for x, _ in logarithms))
