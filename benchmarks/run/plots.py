# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

"""A plot for each family of rows, as SVG: the ratios to QtDBus by hand."""

from pathlib import Path

import matplotlib
matplotlib.use('svg')
from matplotlib import pyplot, ticker  # noqa: E402, after the choice of the format

from goals import family, size

LICENCE = """\
<!-- SPDX-FileCopyrightText: 2026 The libostrel authors -->
<!-- SPDX-License-Identifier: LGPL-2.1-or-later -->
"""
REFERENCE = 'by-hand'
COLOURS = {'library': '#e0433f', 'by-hand': '#888888', 'proxy': '#17a2b8', 'sd-bus': '#36a853',
           'libdbus': '#a0714f', 'gdbus': '#d465b5', 'sdbus-c++': '#f08c1a', 'read': '#888888'}
FIGURES = {'cpu': 'processor time', 'instructions': 'instructions'}
# Grey is readable on light and dark pages.
STYLE = {'svg.hashsalt': 'libostrel', 'svg.fonttype': 'none', 'font.family': 'sans-serif',
         'font.size': 11, 'text.color': '#888888', 'axes.labelcolor': '#888888',
         'axes.edgecolor': '#888888', 'xtick.color': '#888888', 'ytick.color': '#888888',
         'axes.spines.top': False, 'axes.spines.right': False}


def _ratios(results, rows, figure):
    """For each contestant, pairs of the size of a row and the ratio to the reference."""
    reference = results.get(REFERENCE, {})
    lines = {}
    for contestant, figures in results.items():
        pairs = [(size(row), figures[row][figure] / reference[row][figure]) for row in rows
                 if figure in figures.get(row, {}) and figure in reference.get(row, {})]
        if pairs:
            lines[contestant] = pairs
    return lines


def _bars(axes, lines):
    names = list(lines)[::-1]
    values = [lines[name][0][1] for name in names]
    bars = axes.barh(names, values, color=[COLOURS[name] for name in names])
    axes.bar_label(bars, [f'{value:.2f}' for value in values], padding=4)
    axes.axvline(1, color='#888888', linewidth=1, linestyle=':')


def _curves(axes, lines):
    for contestant, pairs in lines.items():
        axes.plot(*zip(*pairs), label=contestant, color=COLOURS[contestant], marker='o',
                  markersize=4, linewidth=2.5 if contestant == 'library' else 1.5,
                  linestyle=':' if contestant == REFERENCE else '-')
    axes.set_xscale('log')
    axes.set_yscale('log', base=2)
    axes.xaxis.set_major_formatter(ticker.FuncFormatter(lambda value, _: f'{value:,.0f}'))
    axes.yaxis.set_major_formatter(ticker.FuncFormatter(lambda value, _: f'{value:g}'))
    axes.grid(axis='y', color='#888888', alpha=0.25)
    axes.legend(loc='center left', bbox_to_anchor=(1, 0.5), frameon=False)


def _plot(file, name, figure, lines):
    with pyplot.rc_context(STYLE):
        pictured, axes = pyplot.subplots(figsize=(7.5, 4))
        axes.set_title(f'{name}: {FIGURES[figure]}, QtDBus by hand = 1', loc='left')
        (_curves if len(lines[REFERENCE]) > 1 else _bars)(axes, lines)
        pictured.savefig(file, transparent=True, bbox_inches='tight', metadata={'Date': None})
        pyplot.close(pictured)
    declaration, picture = file.read_text().split('\n', 1)
    lines_of_picture = [line.rstrip() for line in picture.splitlines()]
    file.write_text('\n'.join([declaration, LICENCE.rstrip(), *lines_of_picture, '']))


def write(folder, results, rows):
    """Writes the plots. Returns their files."""
    families = {}
    for row in rows:
        families.setdefault(family(row), []).append(row)
    files = []
    for name, of_family in families.items():
        for figure in FIGURES:
            lines = _ratios(results, of_family, figure)
            if len(lines) > 1:
                file = Path(folder) / f'{name.replace(" ", "-")}-{figure}.svg'
                _plot(file, name, figure, lines)
                files.append(file)
    return files
