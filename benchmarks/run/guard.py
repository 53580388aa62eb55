# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

"""Fails when the library costs more than QtDBus by hand.

Usage: guard.py PROGRAMS

Instructions and allocations of a few operations, of both in the same run; no time is looked at, so
that a busy machine changes nothing.
"""

import sys

from counting import at_once, count
from goals import limits

ROWS = ['make control', 'make invokers/8', 'start', 'start tasks/1', 'start tasks/64',
        'window status', 'running applications/10', 'running applications/1000', 'task lists/10',
        'task lists/1000', 'state changes', 'process lookup']


def excesses(library, by_hand):
    """What is above its limit, in words."""
    for row in ROWS:
        for figure, limit in limits(row).items():
            ratio = library[row][figure] / by_hand[row][figure]
            verdict = 'ok' if ratio <= limit else 'ABOVE THE LIMIT'
            line = (f'{row:26} {figure:13} {library[row][figure]:14,.1f} '
                    f'{by_hand[row][figure]:14,.1f} {ratio:7.3f} (at most {limit:.2f}) {verdict}')
            print(line, flush=True)
            if ratio > limit:
                yield line


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    library, by_hand = at_once(lambda name: count(sys.argv[1], name, ROWS), ['library', 'by-hand'])
    return 1 if list(excesses(library, by_hand)) else 0


if __name__ == '__main__':
    sys.exit(main())
