# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

"""Tests of kiosk.py."""

import contextlib

import kiosk
import pytest


def test_starts_again_after_each_end(simulator):
    """The scenario refuses, kills the application, and restarts the service."""
    simulator("hard-day.json")
    with contextlib.closing(kiosk.keep_running("demo.Viewer", pause=0)) as instances:
        assert next(instances) == "demo.Viewer.instance_1"
        assert next(instances) == "demo.Viewer.instance_2"
        # The service has forgotten the others.
        assert next(instances) == "demo.Viewer.instance_1"


def test_gives_up_after_three_refusals(simulator):
    """Each call is a step, so a fourth one would succeed."""
    simulator("three-refusals.json")
    with pytest.raises(kiosk.Refused, match="^error: HandlerFailed: the third time$"):
        kiosk.start("demo.Viewer", pause=0)


def test_names_the_error_without_a_service():
    """There is a bus, and nobody on it."""
    with pytest.raises(kiosk.Refused, match="was not provided"):
        kiosk.start("demo.Viewer", attempts=1)
