"""Instructions in user space, counted by callgrind, over all threads of the process."""

import json
import pathlib
import re
import sys

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
    return [more / ENTRIES]


def count_all():
    samples = {f"instructions/{subject}": an_entry("work", subject) for subject in SUBJECTS}
    for renderer in RENDERERS:
        samples[f"render-instructions/{renderer}"] = an_entry("render", renderer)
    return samples


def as_text(samples):
    lines = ["Instructions an entry, whole pipeline:"]
    lines += [f"  {NAMES[name]:38}{samples['instructions/' + name][0]:10.0f}" for name in SUBJECTS]
    lines += ["Instructions to render the entry:"]
    lines += [f"  {n:38}{samples['render-instructions/' + n][0]:10.0f}" for n in RENDERERS]
    return "\n".join(lines)
