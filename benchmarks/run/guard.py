# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

"""Fails when the library costs more than QtDBus by hand.

Usage: guard.py PROGRAMS

Instructions and allocations of a few operations, of both in the same run; no time is looked at, so
that a busy machine changes nothing.
"""

import sys

from counting import at_once, count
from goals import CONSTRUCTION, CONSTRUCTION_OF_PROXY, family, limits

ROWS = ['make control', 'make invokers/8', 'start', 'start tasks/1', 'start tasks/64',
        'window status', 'running applications/10', 'running applications/1000', 'task lists/10',
        'task lists/1000', 'state changes', 'process lookup']


def excesses(library, other, row, of_row):
    """What is above its limit, in words."""
    for figure, limit in of_row.items():
        ratio = library[row][figure] / other[row][figure]
        verdict = 'ok' if ratio <= limit else 'ABOVE THE LIMIT'
        line = (f'{row:26} {figure:13} {library[row][figure]:14,.1f} '
                f'{other[row][figure]:14,.1f} {ratio:7.3f} (at most {limit:.2f}) {verdict}')
        print(line, flush=True)
        if ratio > limit:
            yield line


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    made = [row for row in ROWS if family(row) in CONSTRUCTION]
    library, by_hand, proxy = at_once(lambda job: count(sys.argv[1], *job),
                                      [('library', ROWS), ('by-hand', ROWS), ('proxy', made)])
    print('The library, and QtDBus by hand:')
    found = [line for row in ROWS for line in excesses(library, by_hand, row, limits(row))]
    print('The library, and proxies of qdbusxml2cpp:')
    found += [line for row in made
              for line in excesses(library, proxy, row, CONSTRUCTION_OF_PROXY)]
    return 1 if found else 0


if __name__ == '__main__':
    sys.exit(main())
