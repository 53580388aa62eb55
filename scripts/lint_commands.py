#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

"""Usage: scripts/lint_commands.py BUILD-FOLDER HEADER...

Prints the compile commands of a build as Clang's tools can use them, and besides a command for each
of the headers, so that they can be looked at as files of their own.
"""

import json
import pathlib
import re
import sys


def commands(build):
    for command in json.loads((build / "compile_commands.json").read_text()):
        # Clang takes g++'s precompiled header for one of its own, and fails. Warnings are g++'s
        # part: it sees whole programs, where an editor's view of a file lacks the rest.
        line = re.sub(r" -Winvalid-pch -include \S+", "", command["command"])
        yield {**command, "command": re.sub(r" (?=-c )", " -w ", line, count=1)}


def fitting(header, sources):
    """The source whose command fits the header best: its own one, one that includes it, or a
    neighbour."""
    include = re.compile(r'#\s*include\s+["<](?:[^">]*/)?' + re.escape(header.name) + '[">]')

    def fit(source):
        path = pathlib.Path(source["file"])
        return (
            path.with_suffix(".h") == header,
            include.search(source["text"]) is not None,
            path.parent == header.parent,
        )

    return max(sources, key=fit)


def main():
    build = pathlib.Path(sys.argv[1])
    known = list(commands(build))
    sources = [
        {**command, "text": pathlib.Path(command["file"]).read_text()}
        for command in known
        if command["file"].endswith(".cpp") and "_autogen" not in command["file"]
    ]
    for name in sys.argv[2:]:
        header = pathlib.Path(name).resolve()
        source = fitting(header, sources)
        line = source["command"].replace(source["file"], str(header))
        known.append(
            {
                "directory": source["directory"],
                "command": line.replace(" -c ", " -x c++-header -c ", 1),
                "file": str(header),
            }
        )
    json.dump(known, sys.stdout, indent=1)


main()
