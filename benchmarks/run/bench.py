# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

"""Measures what the library costs, compared with other ways to talk to the same service."""

import argparse
import json
import os
import platform
from pathlib import Path

import loading
import plots
import table
import timing
from counting import FIRST_CALL, at_once, count, count_first_call, peak_memory
from goals import size
from stage import Stage

CONTESTANTS = ['library', 'by-hand', 'proxy', 'sd-bus', 'libdbus', 'gdbus', 'sdbus-c++', 'read']

# A quick run counts only these: Valgrind takes most of the time.
QUICK_CONTESTANTS = ['library', 'by-hand']
QUICK_SIZE = 1000


def conditions():
    """What the times depend on."""
    models = {line.split(':')[1].strip() for line in Path('/proc/cpuinfo').open()
              if line.startswith('model name')}
    return {'processor': ', '.join(models), 'processors': os.cpu_count(),
            'load': os.getloadavg()[0], 'kernel': platform.release()}


def merge(results, more):
    for contestant, rows in more.items():
        for row, figures in rows.items():
            results[contestant].setdefault(row, {}).update(figures)


def count_one(programs, contestant, rows):
    """The counts of a contestant. If it cannot be counted, the others still are."""
    try:
        return count(programs, contestant, rows)
    except RuntimeError as error:
        print(f'{contestant} cannot be counted: {error}')
        return {}


def count_all(programs, contestants, rows):
    counted = at_once(lambda contestant: count_one(programs, contestant, rows), contestants)
    clients = [contestant for contestant in contestants if contestant != 'read']
    first = at_once(lambda contestant: count_first_call(programs, contestant), clients)
    results = dict(zip(contestants, counted))
    for contestant, figures in zip(clients, first):
        results[contestant][FIRST_CALL] = figures
    return results


def peaks(stage, contestants, rows):
    """The peak memory of the largest row of each kind."""
    largest = [row for row in rows if size(row) == 10000]
    results = {}
    for contestant in contestants:
        figures = {row: peak_memory(stage, contestant, row) for row in largest}
        results[contestant] = {row: {'peak': peak} for row, peak in figures.items() if peak}
    return results


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument('programs', type=Path)
    parser.add_argument('output', type=Path)
    parser.add_argument('--quick', action='store_true')
    options = parser.parse_args()

    results = {}
    with Stage(options.programs) as stage:
        for contestant in CONTESTANTS:
            if stage.has(contestant):
                results[contestant] = {}
            else:
                print(f'{contestant} is left out: its package is missing.')
        rows = stage.run('library', '--rows').splitlines()
        if options.quick:
            rows = [row for row in rows if (size(row) or 0) <= QUICK_SIZE]
        before = conditions()
        merge(results, timing.measure(stage, list(results), rows, 3 if options.quick else 9,
                                      0.005 if options.quick else 0.1))
        if not options.quick:
            merge(results, peaks(stage, list(results), rows))
    counted = QUICK_CONTESTANTS if options.quick else list(results)
    merge(results, count_all(options.programs, counted, rows))
    loads = loading.load(options.programs)

    rows.insert(0, FIRST_CALL)
    table.print_rows(results, list(results), rows)
    table.print_growth(results)
    table.print_load(loads)
    options.output.mkdir(parents=True, exist_ok=True)
    (options.output / 'results.json').write_text(json.dumps(
        {'conditions': before, 'results': results, 'growth': table.growth(results, 'library'),
         'loading': loads}, indent=2) + '\n')
    files = plots.write(options.output, results, rows)
    print(f'\n{options.output}/results.json and {len(files)} plots have been written. '
          f'A ratio (library : by hand) above its limit is marked with "!".')
    print('Conditions: ' + ', '.join(f'{key} {value}' for key, value in before.items()))


if __name__ == '__main__':
    main()
