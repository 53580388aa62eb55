# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

"""What the contestants need: a bus, the service, and a process to look up."""

import os
import subprocess
import tempfile
from pathlib import Path

TREE = Path(__file__).resolve().parents[2]

# The lines of a control group file, without the one that matters.
CONTROL_GROUPS = """\
12:cpu,cpuacct:/
11:pids:/user.slice
10:devices:/
9:memory:/ostrel-helper/demo.Viewer/instance_1
8:freezer:/
1:name=systemd:/user.slice/user-1000.slice
0::/user.slice
"""

# In seconds. No contestant takes this long for anything.
PATIENCE = 600


class Stage:
    """A private bus with the service on it, for a with statement."""

    def __init__(self, programs):
        self.programs = Path(programs)
        self._folder = tempfile.TemporaryDirectory(prefix='bench')
        self._processes = []
        self.environment = dict(os.environ)

    def __enter__(self):
        try:
            self._begin()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        for process in reversed(self._processes):
            process.stdin.close()
            process.terminate()
            process.wait(PATIENCE)
            process.stdout.close()
        self._folder.cleanup()

    def _begin(self):
        folder = Path(self._folder.name)
        (folder / 'proc' / '4711').mkdir(parents=True)
        (folder / 'proc' / '4711' / 'cgroup').write_text(CONTROL_GROUPS)
        self.environment.update(
            OSTREL_ROOTFS=str(folder), BENCHMARK_DESK=str(folder / 'desk'),
            HOME=str(folder), XDG_RUNTIME_DIR=str(folder),
            # Under Valgrind the replies to many calls come late.
            SYSTEMD_BUS_TIMEOUT=f'{PATIENCE}s')
        self.environment['DBUS_SESSION_BUS_ADDRESS'] = self._start(
            'dbus-daemon', f'--config-file={TREE}/scripts/private-bus.conf',
            f'--address=unix:path={folder}/bus', '--nofork', '--nopidfile', '--nosyslog',
            '--print-address=1')
        self._start(self.programs / 'benchmark-service', folder / 'desk')

    def _start(self, *command):
        """Starts a process. Returns the first line that it prints, which says that it is ready."""
        process = subprocess.Popen(
            [str(word) for word in command], env=self.environment, stdin=subprocess.PIPE,
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self._processes.append(process)
        line = process.stdout.readline().strip()
        if not line:
            raise RuntimeError(f'{command[0]} has not started')
        return line

    def has(self, contestant):
        return (self.programs / f'benchmark-{contestant}').exists()

    def run(self, contestant, *arguments, prefix=(), **environment):
        """Runs a contestant's program. Returns what it prints."""
        command = [*prefix, self.programs / f'benchmark-{contestant}', *arguments]
        result = subprocess.run(
            [str(word) for word in command], env={**self.environment, **environment},
            stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=PATIENCE, check=False)
        if result.returncode != 0:
            raise RuntimeError(f'{contestant} {" ".join(arguments)}: {result.stderr}')
        return result.stdout
