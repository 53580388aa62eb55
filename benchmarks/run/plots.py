# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

"""A plot for each family of rows, as SVG."""

import math
from html import escape

from goals import family, size

LICENCE = """\
<!-- SPDX-FileCopyrightText: 2026 The libostrel authors -->
<!-- SPDX-License-Identifier: LGPL-2.1-or-later -->
"""
COLOURS = {'library': '#d62728', 'by-hand': '#1f77b4', 'proxy': '#17becf', 'interface': '#9467bd',
           'sd-bus': '#2ca02c', 'libdbus': '#8c564b', 'gdbus': '#e377c2', 'sdbus-c++': '#ff7f0e',
           'read': '#7f7f7f'}
WIDTH, LEFT, RIGHT, TOP, BAR = 720, 100, 90, 50, 24


def _text(x, y, text, anchor='start', bold=False):
    weight = ' font-weight="bold"' if bold else ''
    return f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}"{weight}>{escape(text)}</text>'


def _svg(height, parts):
    body = '\n'.join(parts)
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {height}" '
            f'font-family="sans-serif" font-size="13">\n{LICENCE}'
            f'<rect width="{WIDTH}" height="{height}" fill="white"/>\n{body}\n</svg>\n')


def _bars(title, values):
    """A bar for each contestant."""
    most = max(values.values())
    parts = [_text(12, 26, title, bold=True)]
    for i, (contestant, value) in enumerate(values.items()):
        y = TOP + i * BAR
        length = (WIDTH - LEFT - RIGHT) * value / most
        parts += [_text(LEFT - 8, y + 15, contestant, 'end'),
                  f'<rect x="{LEFT}" y="{y}" width="{length:.1f}" height="{BAR - 6}" '
                  f'fill="{COLOURS[contestant]}"/>',
                  _text(LEFT + length + 6, y + 15, f'{value:,.4g}')]
    return _svg(TOP + len(values) * BAR + 12, parts)


def _decades(values):
    return math.floor(math.log10(min(values))), math.ceil(math.log10(max(values)))


def _lines(title, lines):
    """A line for each contestant over the sizes, both axes logarithmic."""
    height, bottom = 420, 370
    low_x, high_x = _decades([x for points in lines.values() for x, _ in points])
    low_y, high_y = _decades([y for points in lines.values() for _, y in points])

    def place(x, y):
        return (LEFT + (math.log10(x) - low_x) / (high_x - low_x) * (WIDTH - LEFT - RIGHT - 20),
                bottom - (math.log10(y) - low_y) / (high_y - low_y) * (bottom - TOP))

    parts = [_text(12, 26, title, bold=True)]
    for decade in range(low_x, high_x + 1):
        x, y = place(10**decade, 10**low_y)
        parts += [f'<path d="M{x:.1f} {y:.1f}V{TOP}" stroke="#ddd"/>',
                  _text(x, y + 18, f'{10**decade:,}', 'middle')]
    for decade in range(low_y, high_y + 1):
        x, y = place(10**low_x, 10**decade)
        parts += [f'<path d="M{x:.1f} {y:.1f}H{WIDTH - RIGHT - 20}" stroke="#ddd"/>',
                  _text(x - 6, y + 4, f'{10**decade:,}', 'end')]
    for i, (contestant, points) in enumerate(lines.items()):
        path = ' '.join('{:.1f},{:.1f}'.format(*place(x, y)) for x, y in points)
        y = TOP + 14 + i * 18
        parts += [f'<polyline points="{path}" fill="none" stroke-width="2" '
                  f'stroke="{COLOURS[contestant]}"/>',
                  f'<path d="M{WIDTH - RIGHT - 8} {y - 4}h14" stroke-width="3" '
                  f'stroke="{COLOURS[contestant]}"/>',
                  _text(WIDTH - RIGHT + 10, y, contestant)]
    return _svg(height, parts)


def _plot(name, figure, unit, results, rows):
    lines = {}
    for contestant, of_contestant in results.items():
        points = [(size(row), of_contestant[row][figure] / unit) for row in rows
                  if figure in of_contestant.get(row, {})]
        if points:
            lines[contestant] = points
    if not lines:
        return None
    title = f'{name}: ' + {'cpu': 'processor time of an operation, µs',
                           'instructions': 'instructions of an operation, thousands'}[figure]
    if len(rows) > 1:
        return _lines(title, lines)
    return _bars(title, {contestant: points[0][1] for contestant, points in lines.items()})


def write(folder, results, rows):
    """Writes the plots, and returns their files."""
    families = {}
    for row in rows:
        families.setdefault(family(row), []).append(row)
    files = []
    for name, of_family in families.items():
        for figure in ('cpu', 'instructions'):
            plot = _plot(name, figure, 1e3, results, of_family)
            if plot:
                file = folder / f'{name.replace(" ", "-")}-{figure}.svg'
                file.write_text(plot)
                files.append(file)
    return files
