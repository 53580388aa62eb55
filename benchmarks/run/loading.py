# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

"""The cost of loading a library."""

import re
import statistics
import subprocess
from pathlib import Path

# Each with its dependencies, which are loaded first and not counted.
QT = ['libQt5Core.so.5']
LIBRARIES = {
    'library': (['libQt5Core.so.5', 'libQt5DBus.so.5'], None),
    'QtDBus': (QT, 'libQt5DBus.so.5'),
    'libdbus': ([], 'libdbus-1.so.3'),
    'sd-bus': ([], 'libsystemd.so.0'),
    'GDBus': (['libgobject-2.0.so.0'], 'libgio-2.0.so.0'),
    'sdbus-c++': (['libsystemd.so.0', 'libstdc++.so.6'], 'libsdbus-c++.so.1'),
}
ROUNDS = 15


def _readelf(option, library):
    return subprocess.run(['readelf', '-W', option, library], capture_output=True, text=True,
                          check=True).stdout


def _path(name):
    """Where the loader finds a library, or None."""
    known = subprocess.run(['/sbin/ldconfig', '-p'], capture_output=True, text=True, check=True)
    match = re.search(rf'^\s*{re.escape(name)} .*=> (\S+)', known.stdout, re.MULTILINE)
    return str(Path(match[1]).resolve()) if match else None


def _figures(programs, dependencies, library):
    relocations = len(re.findall(r'^[0-9a-f]{8,} ', _readelf('-r', library), re.MULTILINE))
    sections = _readelf('-S', library)
    array = re.search(r'\.init_array\s+\S+\s+\S+\s+\S+\s+([0-9a-f]+)', sections)
    times, dirty = [], []
    for _ in range(ROUNDS):
        printed = subprocess.run([programs / 'benchmark-load', *dependencies, library],
                                 capture_output=True, text=True, check=True).stdout.split()
        times.append(int(printed[0]))
        dirty.append(int(printed[1]) * 1024)
    return {'relocations': relocations, 'initialisers': int(array[1], 16) // 8 if array else 0,
            'private dirty': statistics.median(dirty), 'cpu': statistics.median(times)}


def load(programs):
    """The figures of each library that is installed."""
    programs = Path(programs)
    results = {}
    for name, (dependencies, file) in LIBRARIES.items():
        library = (_path(file) if file
                   else str((programs.parent / 'src' / 'libostrel-system-qt5.so').resolve()))
        if library:
            results[name] = _figures(programs, dependencies, library)
    return results
