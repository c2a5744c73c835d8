# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

"""Instructions in user space, counted by callgrind, over all threads of the process."""

import json
import pathlib
import re
import sys
from collections import defaultdict
from statistics import median

from runner.programs import NAMES, SUBJECTS, command, output_of

ENTRIES = 2000
RENDERERS = ["korvel", "nlohmann", "rapidjson"]
VALGRIND = ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null"]


def count(mode, subject, entries):
    result = output_of([*VALGRIND, *command(mode, subject, entries=entries)])
    report = json.loads(result.stdout)
    if "file" in report:
        require_lines(pathlib.Path(report["file"]), entries)
    return int(re.search(r"Collected : (\d+)", result.stderr)[1])


def require_lines(file, expected):
    lines = file.read_bytes().count(b"\n")
    file.unlink()
    if lines != expected:
        sys.exit(f"{file} has {lines} lines where {expected} are due")


def an_entry(mode, subject):
    """What twice as many entries take more, so that start and end of the process drop out."""
    more = count(mode, subject, 2 * ENTRIES) - count(mode, subject, ENTRIES)
    return more / ENTRIES


def count_all(times):
    """Counts some times, because the threads meet in another order each time."""
    samples = defaultdict(list)
    for _ in range(times):
        for subject in SUBJECTS:
            samples[f"instructions/{subject}"].append(an_entry("work", subject))
    for renderer in RENDERERS:
        samples[f"render-instructions/{renderer}"].append(an_entry("render", renderer))
    return dict(samples)


def line(name, counts):
    return f"  {name:38}{median(counts):8.0f}  ({min(counts):.0f} to {max(counts):.0f})"


def as_text(samples):
    lines = ["Instructions an entry, whole pipeline, median:"]
    lines += [line(NAMES[name], samples["instructions/" + name]) for name in SUBJECTS]
    lines += ["Instructions to render the entry:"]
    lines += [line(name, samples["render-instructions/" + name]) for name in RENDERERS]
    return "\n".join(lines)
