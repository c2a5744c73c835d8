#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

"""Checks a log file of disk_check: check_log.py FILE

Reads every line with a strict JSON parser and compares the summary with what the lines say. Prints
one line with what was checked. Otherwise prints the line number and the reason, and exits with 1.
"""

import json
import re
import sys
from collections import Counter

TIMESTAMP = re.compile(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z", re.ASCII)
COUNT_OF_KIND = {"file": "files", "directory": "directories", "link": "links", "other": "others"}
COUNTS = [*COUNT_OF_KIND.values(), "problems", "bytes", "entries"]
# Doubles in the log have six significant digits, so a quotient of two is good to five.
RATE_TOLERANCE = 1e-5


class BadLine(Exception):
    pass


def require(condition, reason):
    if not condition:
        raise BadLine(reason)


def unique_keys(pairs):
    counts = Counter(key for key, _ in pairs)
    for key, count in counts.items():
        require(count == 1, f"the key {key!r} appears {count} times")
    return dict(pairs)


def no_constant(name):
    raise BadLine(f"{name} is not JSON")


def parse(raw):
    try:
        text = raw.decode("utf-8")
    except UnicodeDecodeError as error:
        raise BadLine(f"not UTF-8: {error}") from None
    require(text.endswith("\n"), "the line has no line feed")
    try:
        entry = json.loads(text, object_pairs_hook=unique_keys, parse_constant=no_constant)
        # The parser accepts an escaped half of a surrogate pair; no encoder does.
        json.dumps(entry, ensure_ascii=False).encode("utf-8")
    except (ValueError, RecursionError) as error:
        raise BadLine(f"not JSON: {error}") from None
    require(isinstance(entry, dict), "not an object")
    return entry


def value_of(entry, key, kind):
    require(key in entry, f"the key {key!r} is missing")
    value = entry[key]
    # A truth value is an int to isinstance.
    require(type(value) is kind, f"{key!r} is {value!r}, which is not of the type {kind.__name__}")
    return value


def count_of(entry, key):
    value = value_of(entry, key, int)
    require(value >= 0, f"{key!r} is {value}")
    return value


def number_of(entry, key):
    # A Double without a fraction looks like an integer in JSON.
    if type(entry.get(key)) is int:
        return float(count_of(entry, key))
    return value_of(entry, key, float)


class Log:
    """What the lines so far say."""

    def __init__(self):
        self.counts = Counter()
        self.numbers = Counter()
        self.has_summary = False

    def take(self, entry):
        require(not self.has_summary, "a line follows the summary")
        self.counts["entries"] += 1
        self.take_extended(entry)
        kind = value_of(entry, "message", str)
        takers = {
            "FileSeen": self.take_file,
            "FileProblem": self.take_problem,
            "DiskCheck": self.take_summary,
        }
        require(kind in takers, f"the message {kind!r} is unknown")
        takers[kind](entry)

    def take_extended(self, entry):
        timestamp = value_of(entry, "timestamp", str)
        require(TIMESTAMP.fullmatch(timestamp), f"the timestamp {timestamp!r} has a wrong form")
        thread = value_of(entry, "thread", str)
        require(thread != "", "the thread is empty")
        number = count_of(entry, "number")
        self.numbers[thread] += 1
        due = self.numbers[thread]
        require(number == due, f"thread {thread} has the number {number} instead of {due}")

    def take_file(self, entry):
        value_of(entry, "path", str)
        kind = value_of(entry, "kind", str)
        require(kind in COUNT_OF_KIND, f"the kind {kind!r} is unknown")
        self.counts[COUNT_OF_KIND[kind]] += 1
        if "size" in entry:
            require(kind == "file", f"a {kind} has a size")
            self.counts["bytes"] += count_of(entry, "size")
        if "modified" in entry:
            modified = value_of(entry, "modified", str)
            require(TIMESTAMP.fullmatch(modified), f"the time {modified!r} has a wrong form")

    def take_problem(self, entry):
        value_of(entry, "path", str)
        require(value_of(entry, "MessageDescription", str) != "", "the problem has no description")
        self.counts["problems"] += 1

    def take_summary(self, entry):
        self.has_summary = True
        for key in COUNTS:
            claimed, counted = count_of(entry, key), self.counts[key]
            reason = f"the summary claims {claimed} {key}, the lines have {counted}"
            require(claimed == counted, reason)
        walkers = count_of(entry, "threads")
        # The main thread writes the summary and finds no files.
        require(len(self.numbers) <= walkers + 1, f"{len(self.numbers)} threads have logged")
        self.check_rate(entry)

    def check_rate(self, entry):
        seconds = number_of(entry, "seconds")
        rate = number_of(entry, "entriesPerSecond")
        require(seconds > 0, "the summary has no duration")
        off = abs(rate * seconds / self.counts["entries"] - 1)
        require(off < RATE_TOLERANCE, f"{rate} entries a second do not fit {seconds} seconds")


def check(path):
    log = Log()
    number = 0
    try:
        with open(path, "rb") as file:
            for number, raw in enumerate(file, 1):
                log.take(parse(raw))
        require(log.has_summary, "the file ends without a summary")
    except BadLine as error:
        sys.exit(f"{path}:{number}: {error}")
    except OSError as error:
        sys.exit(f"{path}: {error.strerror}")
    print(
        f"{path}: {number} lines are strict JSON in UTF-8 with all keys, the entries of each of "
        f"{len(log.numbers)} threads are in order, and the summary's counts fit the lines."
    )


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit("Usage: check_log.py FILE")
    check(sys.argv[1])
