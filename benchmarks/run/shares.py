# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

"""Prints which libraries execute the instructions of an operation.

Usage: shares.py PROGRAMS CONTESTANT ROW...
"""

import re
import sys
import tempfile
from collections import Counter
from pathlib import Path

from counting import callgrind
from stage import Stage


def _objects(dump):
    """The trigger of the dump, and the instructions of each object file itself."""
    names, costs, current, trigger = {}, Counter(), '', ''
    with dump.open() as lines:
        for line in lines:
            if line.startswith('desc: Trigger: '):
                trigger = line.rstrip('\n').split(': ', 2)[2].removeprefix('Client Request: ')
            elif line.startswith('ob='):
                number, name = re.match(r'ob=(\(\d+\)) ?(.*)', line).groups()
                current = names.setdefault(number, Path(name).name)
            elif line.startswith('cob='):
                number, name = re.match(r'cob=(\(\d+\)) ?(.*)', line).groups()
                if name:
                    names.setdefault(number, Path(name).name)
            elif line.startswith('calls='):
                next(lines)  # the callee's part
            elif re.match(r'[0-9+*-]', line):
                costs[current] += int(line.split()[1])
    return trigger, costs


def shares(programs, contestant, rows):
    """For each row, the objects with their shares, largest first."""
    with Stage(programs) as stage, tempfile.TemporaryDirectory(prefix='bench') as folder:
        stage.run(contestant, '--count', *rows,
                  prefix=callgrind(f'{folder}/dump', '--instr-atstart=no'),
                  LD_PRELOAD=str(stage.programs / 'libbenchmark-allocations.so'))
        results = {}
        for dump in Path(folder).iterdir():
            row, costs = _objects(dump)
            if row in rows:
                results.setdefault(row, Counter()).update(costs)
    return results


def main():
    if len(sys.argv) < 4:
        sys.exit(__doc__)
    results = shares(sys.argv[1], sys.argv[2], sys.argv[3:])
    for row in sys.argv[3:]:
        total = sum(results[row].values())
        parts = ', '.join(f'{name} {cost / total:.1%}'
                          for name, cost in results[row].most_common(8))
        print(f'{row}: {parts}')


if __name__ == '__main__':
    main()
