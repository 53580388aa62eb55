# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

"""A message bus of its own for each test, and a service that follows a scenario."""

import pathlib
import subprocess
import tempfile

import pytest

HERE = pathlib.Path(__file__).parent


@pytest.fixture(autouse=True, name="bus")
def private_bus(monkeypatch):
    """A private message bus. With it, no test reaches the user's own buses and home."""
    with tempfile.TemporaryDirectory() as folder:
        for name in ("HOME", "TMPDIR", "XDG_RUNTIME_DIR"):
            monkeypatch.setenv(name, folder)
        for name in ("XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME"):
            monkeypatch.delenv(name, raising=False)
        monkeypatch.setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent")
        # If pytest is killed, the bus ends with it, and the service with the bus.
        with subprocess.Popen(
                ["setpriv", "--pdeathsig", "TERM",
                 "dbus-daemon", f"--config-file={HERE}/bus.conf", "--nofork",
                 f"--address=unix:path={folder}/bus", "--print-address"],
                stdout=subprocess.PIPE, text=True) as daemon:
            address = daemon.stdout.readline().strip()
            monkeypatch.setenv("DBUS_SESSION_BUS_ADDRESS", address)
            yield address
            daemon.terminate()


@pytest.fixture(name="simulator")
def simulator_with_scenario(bus):
    """A function that starts the service with a scenario file."""
    processes = []

    def start(scenario):
        process = subprocess.Popen(
            ["ostrel-simulator", "--address", bus, "--scenario", HERE / scenario],
            stdout=subprocess.PIPE, text=True)
        processes.append(process)
        assert " is ready " in process.stdout.readline()

    yield start
    for process in processes:
        process.terminate()
        process.communicate()
    # 3: a step has not happened. The simulator has printed which one.
    assert [process.returncode for process in processes] == [0] * len(processes)
