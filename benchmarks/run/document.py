# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

"""Prints the figures of a run as the tables of docs/performance.md.

Usage: document.py RESULTS.json
"""

import json
import sys
from pathlib import Path

from goals import family

# The kinds of work in which much is unmarshalled.
DECODING = {'running applications', 'task lists', 'state changes'}
PEERS = ['library', 'by-hand', 'proxy', 'sd-bus', 'libdbus', 'gdbus', 'sdbus-c++']


def number(value):
    if value is None:
        return ''
    return f'{value:,.0f}' if value >= 100 else f'{value:.3g}'


def title(row):
    name, _, count = row.partition('/')
    return f'{name}, {int(count):,}' if count else name


def table(head, lines):
    print('| ' + ' | '.join(head) + ' |')
    print('| --- |' + ' ---: |' * (len(head) - 1))
    for line in lines:
        print('| ' + ' | '.join(line) + ' |')
    print()


def against_by_hand(results):
    lines = []
    for row, library in results['library'].items():
        by_hand = results['by-hand'].get(row, {})
        cells = []
        for figure, unit in (('instructions', 1e3), ('allocations', 1)):
            of_library, of_by_hand = library.get(figure), by_hand.get(figure)
            ratio = f'{of_library / of_by_hand:.3f}' if of_library and of_by_hand else ''
            cells += [number(of_library and of_library / unit), ratio]
        cpu = library.get('cpu'), by_hand.get('cpu')
        cells += [number(cpu[0] and cpu[0] / 1e3), f'{cpu[0] / cpu[1]:.2f}' if all(cpu) else '']
        lines.append([title(row), *cells])
    table(['operation', 'instructions, thousands', 'ratio', 'allocations', 'ratio',
           'processor µs', 'ratio'], lines)


def processor_times(results):
    contestants = [name for name in PEERS if name in results]
    table(['processor µs', *contestants],
          [[title(row), *(number(cpu and cpu / 1e3) for cpu in
                          (results[name].get(row, {}).get('cpu') for name in contestants))]
           for row in results['library']])


def decoding(results):
    peers = [name for name in ('sd-bus', 'gdbus', 'sdbus-c++') if name in results]
    table(['library : peer, processor time', *peers],
          [[title(row), *(f"{figures['cpu'] / results[name][row]['cpu']:.2f}" for name in peers)]
           for row, figures in results['library'].items() if family(row) in DECODING])


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    run = json.loads(Path(sys.argv[1]).read_text())
    against_by_hand(run['results'])
    processor_times(run['results'])
    decoding(run['results'])
    table(['growth', 'exponent'],
          [[name, f'{value:.3f}'] for name, value in run['growth'].items()])
    table(['library', 'relocations', 'initialisers', 'private memory KiB', 'processor µs'],
          [[name, number(figures['relocations']), number(figures['initialisers']),
            number(figures['private dirty'] / 1024), number(figures['cpu'] / 1e3)]
           for name, figures in run['loading'].items()])


if __name__ == '__main__':
    main()
