# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

"""What can be counted, with nearly the same result every time: instructions and allocations."""

import os
import tempfile
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from stage import Stage

FIRST_CALL = 'first call'


def callgrind(output, *options):
    # Threads run in a fixed order, so a busy machine changes nothing.
    return ['valgrind', '--tool=callgrind', '--fair-sched=yes', f'--callgrind-out-file={output}',
            *options]


def _instructions(folder):
    """The totals of all dumps, by their triggers."""
    totals = {}
    for dump in Path(folder).iterdir():
        trigger = ''
        with dump.open() as lines:
            for line in lines:
                if line.startswith('desc: Trigger: '):
                    trigger = line.rstrip('\n').split(': ', 2)[2]
                elif line.startswith('totals: '):
                    totals[trigger.removeprefix('Client Request: ')] = int(line.split()[1])
    return totals


def count(programs, contestant, rows):
    """The counts for one operation, for each row that the contestant has."""
    with Stage(programs) as stage, tempfile.TemporaryDirectory(prefix='bench') as folder:
        printed = stage.run(
            contestant, '--count', *rows,
            LD_PRELOAD=str(stage.programs / 'libbenchmark-allocations.so'),
            prefix=callgrind(f'{folder}/dump', '--instr-atstart=no'))
        instructions = _instructions(folder)
        figures = {}
        for line in printed.splitlines():
            row, operations, allocations, size, _ = line.split('\t')
            operations = int(operations)
            figures[row] = {'instructions': instructions[row] / operations,
                            'allocations': int(allocations) / operations,
                            'bytes': int(size) / operations}
    return figures


def count_first_call(programs, contestant):
    """The instructions of a process that makes one call."""
    with Stage(programs) as stage, tempfile.TemporaryDirectory(prefix='bench') as folder:
        stage.run(contestant, '--once', prefix=callgrind(f'{folder}/dump'))
        return {'instructions': _instructions(folder)['Program termination']}


def at_once(function, *arguments):
    """Like map(), in as many threads as there are processors."""
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        return list(pool.map(function, *arguments))


def peak_memory(stage, contestant, row):
    """The peak memory of a process that runs only this row, in bytes."""
    printed = stage.run(contestant, '--count', row)
    return int(printed.split('\t')[4]) * 1024 if printed else None
