#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

"""Breaks the library on purpose, one place at a time, and shows which test notices.

Usage: mutate.py [--all] SCRATCH-FOLDER [PART-OF-A-FILE-NAME...]

The tree is copied into the folder and built there; the tree itself stays as it is. Two fifths of
all mutants are tried, the same ones in each run, or all of them. What no test notices is named at
the end, and makes this fail.
"""

import filecmp
import json
import os
import shutil
import signal
import subprocess
import sys
import time
from pathlib import Path

from equivalents import EQUIVALENTS
from operators import mutants

ROOT = Path(__file__).resolve().parents[2]
SHARE = 0.4
# The label of the tests to begin with, by the path of a source.
LABELS = (
    ('lib/Ostrel/control', 'control'),
    ('lib/Ostrel/debug_params', 'control'),
    ('lib/Ostrel/process_lookup', 'control'),
    ('lib/Ostrel/task_', 'task_invoker'),
    ('lib/Ostrel/window_', 'window_management'),
    ('service_signal', 'task_invoker'),
    ('', 'types'),
)
# They look at the sources, the documents or the installation, count instructions, or wait for 25
# seconds.
LEFT_OUT = {'cost', 'docs', 'tst_abi', 'tst_default_time_limit', 'tst_documents', 'tst_examples',
            'tst_installation', 'tst_tree', 'tst_vendor_prefix'}
WORKERS = os.cpu_count() or 1


def quietly(*command):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          check=False)


def build(scratch, wanted):
    """What is wrong, or nothing."""
    result = quietly('cmake', '--build', str(scratch / 'build'), '--target',
                     *(test.name for test in wanted))
    return result.stdout if result.returncode != 0 else ''


def tests(scratch):
    listed = json.loads(quietly('ctest', '--test-dir', str(scratch / 'build'),
                                '--show-only=json-v1').stdout)
    return [Test(each) for each in listed['tests'] if each['name'] not in LEFT_OUT]


def prepare(scratch):
    """Copies the tree, builds its tests, and returns them with the tree."""
    tree = scratch / 'tree'
    listed = subprocess.run(['git', 'ls-files', '-z'], cwd=ROOT, check=True, capture_output=True,
                            text=True)
    for name in listed.stdout.rstrip('\0').split('\0'):
        target = tree / name
        # What is as it was need not be built again.
        if not target.exists() or not filecmp.cmp(ROOT / name, target, shallow=False):
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(ROOT / name, target)
            shutil.copymode(ROOT / name, target)
    result = quietly('cmake', '-G', 'Ninja', '-S', str(tree), '-B', str(scratch / 'build'),
                     '-DCMAKE_BUILD_TYPE=Debug', '-DCMAKE_CXX_FLAGS_DEBUG=-O0')
    if result.returncode != 0:
        sys.exit(result.stdout)
    if output := build(scratch, tests(scratch)):
        sys.exit(output)
    # What is not built has no command.
    return tree, tests(scratch)


class Test:
    """A test of CTest, run without it: what is slow waits for nobody and can be ended."""

    def __init__(self, listed):
        self.name = listed['name']
        self.command = listed.get('command')
        properties = {each['name']: each['value'] for each in listed['properties']}
        self.labels = properties.get('LABELS', [])
        self.folder = properties['WORKING_DIRECTORY']
        self.environment = os.environ | dict(
            each.split('=', 1) for each in properties.get('ENVIRONMENT', []))
        self.seconds = 0
        self.usual = 0
        self.limit = 600
        self.process = None
        self.started = 0

    def start(self):
        self.started = time.monotonic()
        self.process = subprocess.Popen(
            self.command, cwd=self.folder, env=self.environment, stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)

    def is_running(self):
        return self.process.poll() is None and time.monotonic() - self.started < self.limit

    def end(self):
        """Returns whether it has passed."""
        self.seconds = time.monotonic() - self.started
        if self.process.poll() is None:
            os.killpg(self.process.pid, signal.SIGKILL)
        return self.process.wait() == 0


def run(ordered, until_one_fails):
    """Runs the tests in their order, several at once, and returns those that have failed."""
    waiting = list(ordered)
    running = []
    failed = []
    while (waiting or running) and not (failed and until_one_fails):
        while waiting and len(running) < WORKERS:
            running.append(waiting.pop(0))
            running[-1].start()
        time.sleep(0.005)
        for test in [each for each in running if not each.is_running()]:
            running.remove(test)
            if not test.end():
                failed.append(test)
    for test in running:
        test.end()
    return failed


def sound(every_test):
    """Those that pass while nothing is broken."""
    failed = run(every_test, until_one_fails=False)
    for test in failed:
        print(f'left out, since it fails anyway: {test.name}')
    for test in every_test:
        test.usual = test.seconds
        test.limit = 10 + 10 * test.usual
    return [test for test in every_test if test not in failed]


def selected(parts, everything):
    """The mutants to try, and the label to begin with, by the path of their file."""
    for path in sorted((ROOT / 'src').rglob('*')):
        name = str(path.relative_to(ROOT / 'src'))
        if not (name.endswith(('.cpp', '_p.h')) and any(part in name for part in parts)):
            continue
        label = next(label for part, label in LABELS if part in name)
        for mutant in mutants(path.name, path.read_text()):
            if everything or mutant.rank() < SHARE:
                yield Path('src') / name, label, mutant


def verdict(scratch, label, wanted):
    """Which test notices, or nothing; none at all if it does not compile."""
    if build(scratch, wanted):
        return None
    ordered = sorted(wanted, key=lambda test: (label not in test.labels, test.usual))
    failed = run(ordered, until_one_fails=True)
    return failed[0].name if failed else ''


def main():
    arguments = [each for each in sys.argv[1:] if each != '--all']
    if not arguments or arguments[0].startswith('-'):
        sys.exit(__doc__)
    scratch = Path(arguments[0]).resolve()
    tree, every_test = prepare(scratch)
    wanted = sound(every_test)
    tried, noticed, survivors = 0, 0, []
    for path, label, mutant in selected(arguments[1:] or [''], '--all' in sys.argv):
        if mutant.key() in EQUIVALENTS:
            continue
        original = (tree / path).read_text()
        started = time.monotonic()
        try:
            (tree / path).write_text(mutant.apply(original))
            by = verdict(scratch, label, wanted)
        finally:
            (tree / path).write_text(original)
        if by is None:
            continue
        tried += 1
        noticed += bool(by)
        print(f'{tried:4} {time.monotonic() - started:5.1f} s {by or "NO TEST NOTICES"}: '
              f'{mutant.key()}', flush=True)
        if not by:
            survivors.append(mutant.key())
    print(f'{tried} mutants that compile, {noticed} noticed')
    for survivor in survivors:
        print(f'not noticed: {survivor}')
    return 1 if survivors else 0


if __name__ == '__main__':
    sys.exit(main())
