#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

"""Breaks the library on purpose, one place at a time, and shows which test notices.

Usage: mutate.py [--all] [--left] SCRATCH-FOLDER [PART-OF-A-FILE-NAME...]

The tree is copied into the folder and built there; the tree itself stays as it is. A sixth of
all mutants are tried, the same ones in each run; --all tries all of them. The folder remembers
which test noticed which mutant: that test runs first the next time. --left tries only the mutants
that no test in the folder's earlier runs noticed, which also continues a run that was ended.

The survivors are named at the end, and make this fail.
"""

import collections
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
SHARE = 0.17
# The label of the tests to begin with, by the path of a source.
LABELS = (
    ('lib/Ostrel/control', 'control'),
    ('lib/Ostrel/debug_params', 'control'),
    ('lib/Ostrel/process_lookup', 'control'),
    ('lib/Ostrel/task_', 'task_invoker'),
    ('lib/Ostrel/window_', 'window_management'),
    ('models/', 'models'),
    ('callback', 'control'),
    ('pending_call', 'window_management'),
    ('process_end', 'robustness'),
    ('receive_limit', 'robustness'),
    ('service_signal', 'task_invoker'),
    ('timeout', 'control'),
    ('', 'types'),
)
# These look at the sources, the documents or the installation, count instructions, or wait for 25
# seconds.
LEFT_OUT = {'cost', 'docs', 'tst_abi', 'tst_default_time_limit', 'tst_documents', 'tst_examples',
            'tst_installation', 'tst_tree', 'tst_vendor_prefix'}
WORKERS = os.cpu_count() or 1
LIKELY = 3  # tests that noticed most mutants of a file run before the others


def quietly(*command):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          check=False)


def build(scratch, wanted):
    """Builds the tests. Returns the output if that fails."""
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
        # An unchanged file keeps its time, and is not compiled again.
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
    # CTest knows the command of a test only after the build.
    return tree, tests(scratch)


class Test:
    """A test of CTest, run without it: it can be ended as soon as another one has failed."""

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
        self.hangs = False
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
        self.hangs = self.process.poll() is None
        if self.hangs:
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
        test.limit = 60 + 20 * test.usual  # the machine may be busier later
    return [test for test in every_test if test not in failed]


def possible(parts):
    """All mutants, with the path of their file."""
    for path in sorted((ROOT / 'src').rglob('*')):
        name = str(path.relative_to(ROOT / 'src'))
        if name.endswith(('.cpp', '_p.h')) and any(part in name for part in parts):
            for mutant in mutants(path.name, path.read_text()):
                yield Path('src') / name, mutant


class Results:
    """Which test noticed which mutant: its name, '' if none did, None if it does not compile."""

    def __init__(self, scratch):
        self.file = scratch / 'results.json'
        self.known = json.loads(self.file.read_text()) if self.file.exists() else {}

    def get(self, mutant):
        return self.known.get(mutant.key(), '')

    def set(self, mutant, name):
        self.known[mutant.key()] = name
        self.file.write_text(json.dumps(self.known, indent=1))

    def likely(self, mutant):
        """The tests that may notice the mutant: first the one that did before."""
        noticed = collections.Counter(
            name for key, name in self.known.items()
            if name and key.startswith(f'{mutant.name}: '))
        return {self.get(mutant)} | {name for name, _ in noticed.most_common(LIKELY)}


def verdict(scratch, stages):
    """Which test notices, or ''; None if the mutant does not compile."""
    done = []
    for stage in stages:
        wanted = sorted((test for test in stage if test not in done), key=lambda test: test.usual)
        done += wanted
        if wanted and build(scratch, wanted):
            return None
        while failed := run(wanted, until_one_fails=True):
            # On a busy machine, a test may also fail or hang once without a reason.
            if run(failed[:1], until_one_fails=True):
                return failed[0]
            wanted.remove(failed[0])
    return ''


def main():
    arguments = [each for each in sys.argv[1:] if each not in ('--all', '--left')]
    if not arguments or arguments[0].startswith('-'):
        sys.exit(__doc__)
    # A shell ignores SIGINT for a program in the background, and the tests would inherit that.
    signal.signal(signal.SIGINT, signal.default_int_handler)
    scratch = Path(arguments[0]).resolve()
    tree, every_test = prepare(scratch)
    wanted = sound(every_test)
    results = Results(scratch)
    every_mutant = list(possible(arguments[1:] or ['']))
    chosen = [(path, mutant) for path, mutant in every_mutant
              if '--all' in sys.argv or mutant.rank() < SHARE]
    tried = [(path, mutant) for path, mutant in chosen if mutant.key() not in EQUIVALENTS]
    for number, (path, mutant) in enumerate(tried, 1):
        if '--left' in sys.argv and results.get(mutant) != '':
            continue
        likely = results.likely(mutant)
        label = next(label for part, label in LABELS if part in str(path))
        stages = ([test for test in wanted if test.name in likely],
                  [test for test in wanted if label in test.labels], wanted)
        original = (tree / path).read_text()
        started = time.monotonic()
        try:
            (tree / path).write_text(mutant.apply(original))
            by = verdict(scratch, stages)
        finally:
            (tree / path).write_text(original)
        results.set(mutant, by and by.name)
        if by is None:
            notice = 'does not compile'
        elif by:
            notice = by.name + (' (hangs)' if by.hangs else '')
        else:
            notice = 'NO TEST NOTICES'
        print(f'{number:4} {time.monotonic() - started:5.1f} s {notice}: {mutant.key()}',
              flush=True)
    outcomes = [results.get(mutant) for _, mutant in tried]
    survivors = [mutant.key() for _, mutant in tried if results.get(mutant) == '']
    print(f'{len(every_mutant)} mutants, {len(chosen)} chosen, '
          f'{len(chosen) - len(tried)} equivalent, {outcomes.count(None)} do not compile; '
          f'{len(outcomes) - outcomes.count(None) - len(survivors)} noticed, '
          f'{len(survivors)} not noticed')
    for survivor in survivors:
        print(f'not noticed: {survivor}')
    return 1 if survivors else 0


if __name__ == '__main__':
    sys.exit(main())
