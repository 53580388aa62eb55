# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

"""The table of all figures."""

from goals import EXPONENT, PROCESSOR_TIME, exponent, family, limits, size

# The figure, its heading, and the factor of its unit.
FIGURES = [('instructions', 'instructions, thousands', 1e3), ('allocations', 'allocations', 1),
           ('bytes', 'allocated KiB', 1024), ('cpu', 'processor µs', 1e3),
           ('wall', 'elapsed µs', 1e3), ('peak', 'peak memory MiB', 2**20)]
LOAD_FIGURES = [('relocations', 'relocations', 1), ('initialisers', 'initialisers', 1),
                ('private dirty', 'private memory KiB', 1024), ('cpu', 'processor µs', 1e3)]

# The figures of these are for one call, however many are made at once.
PER_OPERATION = {'start asynchronously', 'start tasks', 'make invokers'}


def _number(value):
    if value is None:
        return ''
    return f'{value:,.0f}' if value >= 100 else f'{value:.3g}'


def _line(cells, widths):
    first, *others = zip(cells, widths)
    return '  '.join([first[0].ljust(first[1]), *(cell.rjust(width) for cell, width in others)])


def _print(head, lines):
    lines = [head, *lines]
    widths = [max(len(line[i]) for line in lines) for i in range(len(head))]
    for line in lines:
        print(_line(line, widths).rstrip())


def _verdict(row, figure, ratio):
    limit = limits(row).get(figure)
    if figure == 'cpu' and limits(row).get('instructions', 0) <= 1.02:
        limit = PROCESSOR_TIME
    return ' !' if limit is not None and ratio > limit else ''


def print_rows(results, contestants, rows):
    """Prints a line for each row and figure. A ratio above its limit is marked."""
    lines = []
    for row in rows:
        for figure, name, unit in FIGURES:
            values = [results[contestant].get(row, {}).get(figure) for contestant in contestants]
            if all(value is None for value in values):
                continue
            ratio = ''
            library, by_hand = (results[contestant].get(row, {}).get(figure)
                                for contestant in ('library', 'by-hand'))
            if library is not None and by_hand:
                ratio = f'{library / by_hand:.3f}{_verdict(row, figure, library / by_hand)}'
            lines.append([row, name, ratio,
                          *(_number(value and value / unit) for value in values)])
    _print(['operation', 'figure', 'ratio', *contestants], lines)


def growth(results, contestant):
    """The exponent of each family that has sizes, from the instructions of a whole run."""
    points = {}
    for row, figures in results[contestant].items():
        if size(row) and 'instructions' in figures:
            whole = size(row) if family(row) in PER_OPERATION else 1
            points.setdefault(family(row), []).append(
                (size(row), figures['instructions'] * whole))
    return {name: exponent(pairs) for name, pairs in points.items() if len(pairs) > 1}


def print_growth(results):
    print('\nGrowth of the instructions with the size, as an exponent (1 is linear):')
    by_hand = growth(results, 'by-hand')
    for name, value in growth(results, 'library').items():
        mark = ' !' if value > EXPONENT else ''
        print(f'  {name:24} {value:.3f}{mark}  (by hand {by_hand[name]:.3f})')


def print_load(loads):
    print('\nLoading a library, without its dependencies:')
    _print(['library', *(name for _, name, _ in LOAD_FIGURES)],
           [[library, *(_number(figures[figure] / unit) for figure, _, unit in LOAD_FIGURES)]
            for library, figures in loads.items()])
