#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

"""Keeps an application running."""

import json
import subprocess
import sys
import time


class Refused(Exception):
    """The service does not start the application."""


def start(application, attempts=3, pause=1):
    """Starts the application, and returns its instance. Tries again if the service refuses."""
    while True:
        result = subprocess.run(
            ["ostrelctl", "start", application], capture_output=True, text=True, check=False)
        if result.returncode == 0:
            return result.stdout.strip()
        attempts -= 1
        if attempts == 0:
            raise Refused(result.stderr.strip())
        time.sleep(pause)


def keep_running(application, pause=1):
    """Starts the application each time that it or the service has ended. Yields its instances."""
    with subprocess.Popen(["ostrelctl", "watch", "--json"], text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE) as watch:
        try:
            watch.stderr.readline()  # It watches now.
            instance = start(application, pause=pause)
            yield instance
            for line in watch.stdout:
                event = json.loads(line)
                has_ended = (event["event"], event.get("appInstanceId")) == ("terminated", instance)
                if has_ended or event.get("available"):
                    instance = start(application, pause=pause)
                    yield instance
        finally:
            watch.terminate()


def main():
    """Runs until Ctrl-C."""
    try:
        for instance in keep_running(sys.argv[1]):
            print(instance, "runs", flush=True)
    except KeyboardInterrupt:
        pass
    except Refused as error:
        sys.exit(str(error))


if __name__ == "__main__":
    main()
