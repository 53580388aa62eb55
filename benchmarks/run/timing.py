# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

"""Processor time and elapsed time, which vary: medians of interleaved rounds."""

import json
import os
import statistics
import subprocess
import time

from counting import FIRST_CALL


def _round(stage, contestant, rows, least):
    """One round of a contestant: for each row, the times of an operation in nanoseconds."""
    pattern = '|'.join(rows)
    printed = stage.run(contestant, f'--benchmark_filter=^({pattern})/process_time',
                        f'--benchmark_min_time={least}', '--benchmark_format=json')
    times = {}
    for benchmark in json.loads(printed)['benchmarks']:
        row = benchmark['name'].removesuffix('/process_time/real_time')
        times[row] = {'cpu': benchmark['cpu_time'] / benchmark['operations'],
                      'wall': benchmark['real_time'] / benchmark['operations']}
    return times


def _first_call(stage, contestant):
    before = time.monotonic_ns()
    with subprocess.Popen([stage.programs / f'benchmark-{contestant}', '--once'],
                          env=stage.environment, stdin=subprocess.DEVNULL) as process:
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        raise RuntimeError(f'{contestant} --once failed')
    return {'cpu': (usage.ru_utime + usage.ru_stime) * 1e9, 'wall': time.monotonic_ns() - before}


def measure(stage, contestants, rows, rounds, least):
    """The medians, by contestant, row and figure. Each round runs every contestant once."""
    samples = {contestant: {} for contestant in contestants}
    for _ in range(rounds):
        for contestant in contestants:
            times = _round(stage, contestant, rows, least)
            if 'start' in times:
                times[FIRST_CALL] = _first_call(stage, contestant)
            for row, figures in times.items():
                for figure, value in figures.items():
                    of_row = samples[contestant].setdefault(row, {})
                    of_row.setdefault(figure, []).append(value)
    return {contestant: {row: {figure: statistics.median(values)
                               for figure, values in figures.items()}
                         for row, figures in of_contestant.items()}
            for contestant, of_contestant in samples.items()}
