# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

"""Fails when the library costs more than QtDBus by hand.

Usage: guard.py PROGRAMS

It counts the instructions and allocations of a few operations, of both in the same run, and
measures no time. How the bytes of a long message arrive adds a few instructions. So a row above its
limit is counted again, and the lowest count of each side is used.
"""

import sys

from counting import at_once, count
from goals import CONSTRUCTION, CONSTRUCTION_OF_PROXY, family, limits

ROWS = ['make control', 'make invokers/8', 'start', 'start asynchronously/1',
        'start asynchronously/64', 'start tasks/1', 'start tasks/64',
        'window status', 'running applications/10', 'running applications/1000', 'task lists/10',
        'task lists/1000', 'state changes', 'process lookup']
ROUNDS = 5


class Side:
    """A contestant, and its lowest counts so far."""

    def __init__(self, contestant):
        self.contestant = contestant
        self.least = {}

    def count(self, programs, rows):
        for row, figures in count(programs, self.contestant, rows).items():
            known = self.least.setdefault(row, figures)
            self.least[row] = {name: min(known[name], figures[name]) for name in figures}


def is_construction(row):
    return family(row) in CONSTRUCTION


def comparisons(row, library, by_hand, proxy):
    """What a row is compared with, and the limits."""
    yield by_hand, limits(row)
    if is_construction(row):
        yield proxy, CONSTRUCTION_OF_PROXY


def excesses(row, sides):
    """The lines of the figures that are above their limits. Prints all lines of the row."""
    library = sides[0]
    for other, of_row in comparisons(row, *sides):
        for figure, limit in of_row.items():
            mine, others = library.least[row][figure], other.least[row][figure]
            ratio = mine / others
            verdict = 'ok' if ratio <= limit else 'ABOVE THE LIMIT'
            line = (f'{row:26} {figure:13} {mine:14,.1f} {other.contestant:>8} {others:14,.1f} '
                    f'{ratio:7.3f} (at most {limit:.2f}) {verdict}')
            print(line, flush=True)
            if ratio > limit:
                yield line


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    sides = [Side('library'), Side('by-hand'), Side('proxy')]
    rows = ROWS
    for counted in range(1, ROUNDS + 1):
        jobs = [(sides[0], rows), (sides[1], rows)]
        if made := [row for row in rows if is_construction(row)]:
            jobs.append((sides[2], made))
        at_once(lambda job: job[0].count(sys.argv[1], job[1]), jobs)
        print(f'The library and others, counted {counted} times:')
        rows = [row for row in rows if list(excesses(row, sides))]
        if not rows:
            return 0
    return 1


if __name__ == '__main__':
    sys.exit(main())
