#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

"""Breaks the library on purpose, one place at a time, and shows which test notices.

Usage: mutate.py SCRATCH-FOLDER [PART-OF-A-FILE-NAME...]
       mutate.py --verify

The tree is copied into the folder and built there; the tree itself stays as it is. What no test
notices is named at the end, and makes this fail. With --verify it only looks whether each of the
places still stands there, and once.
"""

import filecmp
import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

from mutations import MUTATIONS

ROOT = Path(__file__).resolve().parents[2]
# What waits for a time limit or measures, and so tells nothing sooner than others; and what looks at
# the sources, which notices anything.
SLOW = ('mutations|tst_tree|tst_default_time_limit|tst_installation|tst_vendor_prefix|tst_examples|'
        'tst_documents|docs')


def quietly(*command, **options):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          check=False, **options)


def build(scratch, targets):
    result = quietly('cmake', '--build', str(scratch / 'build'), '--target', *targets)
    return result.returncode == 0, result.stdout


def failing_test(scratch, *selection):
    """The name of the first test that fails, or none."""
    result = quietly('ctest', '--test-dir', str(scratch / 'build'), '--stop-on-failure',
                     '--timeout', '60', '-j', str(os.cpu_count()), *selection)
    if result.returncode == 0:
        return None
    failed = re.findall(r'^\s*\d+ - (\S+) \(', result.stdout, re.MULTILINE)
    if not failed:
        sys.exit(f'ctest has failed, and no test:\n{result.stdout}')
    return failed[0]


def prepare(scratch):
    tree = scratch / 'tree'
    listed = subprocess.run(['git', 'ls-files', '-z'], cwd=ROOT, check=True, capture_output=True,
                            text=True)
    for name in listed.stdout.rstrip('\0').split('\0'):
        target = tree / name
        # What is as it was need not be built again.
        if not target.exists() or not filecmp.cmp(ROOT / name, target, shallow=False):
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy2(ROOT / name, target)
            target.touch()
    result = quietly('cmake', '-G', 'Ninja', '-S', str(tree), '-B', str(scratch / 'build'),
                     '-DCMAKE_BUILD_TYPE=Debug', '-DCMAKE_CXX_FLAGS_DEBUG=-O0')
    if result.returncode != 0:
        sys.exit(result.stdout)
    built, output = build(scratch, ['all'])
    if not built:
        sys.exit(output)
    return tree


def verdict(scratch, tests):
    """Which test notices, in words, and whether one does."""
    built, output = build(scratch, tests)
    if not built:
        return 'DOES NOT COMPILE\n' + output, False
    noticed = failing_test(scratch, '-R', f"^({'|'.join(tests)})$")
    if noticed is None:
        build(scratch, ['all'])
        noticed = failing_test(scratch, '-E', f"^({SLOW}|{'|'.join(tests)})$")
    return (noticed, True) if noticed else ('NO TEST NOTICES', False)


def missing_places():
    """Where the list of mutations no longer fits the tree, a line each."""
    for name, (_, mutations) in MUTATIONS.items():
        source = (ROOT / name).read_text()
        for before, _ in mutations:
            if source.count(before) != 1:
                yield f'{name}: stands there {source.count(before)} times: {before}'


def one_line(text):
    return ' '.join(text.split())


def main():
    if len(sys.argv) < 2 or (sys.argv[1].startswith('-') and sys.argv[1] != '--verify'):
        sys.exit(__doc__)
    if missing := list(missing_places()):
        sys.exit('\n'.join(missing))
    if sys.argv[1] == '--verify':
        return 0
    scratch = Path(sys.argv[1]).resolve()
    tree = prepare(scratch)
    count = 0
    survivors = []
    for name, (tests, mutations) in MUTATIONS.items():
        if len(sys.argv) > 2 and not any(part in name for part in sys.argv[2:]):
            continue
        original = (tree / name).read_text()
        for before, after in mutations:
            (tree / name).write_text(original.replace(before, after))
            try:
                text, noticed = verdict(scratch, tests)
            finally:
                (tree / name).write_text(original)
            count += 1
            print(f'{count:4} {Path(name).name:24} {one_line(before)[:60]:60} {text}', flush=True)
            if not noticed:
                survivors.append(f'{name}: {one_line(before)} -> {one_line(after)}')
    print(f'{count} mutations, {count - len(survivors)} noticed')
    for survivor in survivors:
        print(f'not noticed: {survivor}')
    return 1 if survivors else 0


if __name__ == '__main__':
    sys.exit(main())
