# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

"""Ends processes in every way: ends_test.py PAGE|- [SKIPPED-END...] -- PROGRAM...

The files must have the entries that were flushed, whole and in order, and nothing but them and
later ones. With PAGE, which is docs/guarantees.md, what they have beyond that is its table. Without
it, only the ways that promise to keep all entries run.
"""

import concurrent.futures
import json
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile

PAGE, *SKIPPED = sys.argv[1:sys.argv.index("--")]
PROGRAM = sys.argv[sys.argv.index("--") + 1:]
IS_WINDOWS = PROGRAM[-1].endswith(".exe")
ABORTED = 3 if IS_WINDOWS else -signal.SIGABRT
WAYS = ["FileSink", "LogglySink", "Logging", "atSignals"]
TABLE = {"return from `main`": {"return": 0},
         "`std::exit`": {"exit": 0},
         "uncaught exception, `std::terminate`": {
             "exception": ABORTED, "thread": ABORTED, "terminate": ABORTED,
             "terminate_handler": 42},
         "SIGTERM, SIGINT": [signal.SIGTERM, signal.SIGINT],
         "SIGHUP, SIGQUIT, SIGPIPE": [signal.SIGHUP, signal.SIGQUIT, signal.SIGPIPE],
         "`abort`, SIGSEGV, SIGBUS, SIGFPE, SIGILL": [
             signal.SIGABRT, signal.SIGSEGV, signal.SIGBUS, signal.SIGFPE, signal.SIGILL],
         "`_exit`, `std::quick_exit`": {"_exit": 0, "quick_exit": 0},
         "SIGKILL": [signal.SIGKILL],
         "full disk, then room again": {"disk": 0}}
KEPT = {end: (code, "all") for title in list(TABLE)[:3] for end, code in TABLE[title].items()}
KEPT["stuck"] = (0, "delivered")
if IS_WINDOWS:
    KEPT["break"] = (43, "all")
else:
    KEPT |= {str(int(number)): (-number, "all") for number in (signal.SIGTERM, signal.SIGINT)}
    KEPT |= {"handler": (0, "all"), "ignored": (0, "all"), "fork": (-signal.SIGTERM, "all"),
             "second": (-signal.SIGINT, "delivered")}
FLUSHED, LOGGED = list(range(1, 51)), list(range(1, 351))
MORE = {"exit": [351], "handler": [351, 352]}  # Logged during the end.


def numbers_of(directory):
    """The numbers of the entries, and how many are missing by the log's own account."""
    numbers, dropped = [], 0
    for file in sorted(pathlib.Path(directory).iterdir()):
        for line in file.read_text().splitlines():
            if len(line) <= 10:
                continue  # Torn by the full disk.
            entry = json.loads(line)
            dropped += entry.get("dropped", 0)
            if entry["message"] == "Entry":
                numbers.append(entry["messageData"])
    return numbers, dropped


def kept(way, end, code, launcher=()):
    with tempfile.TemporaryDirectory() as directory:
        result = subprocess.run([*launcher, *PROGRAM, way, end, directory],
                                stderr=subprocess.DEVNULL, check=False)
        assert result.returncode == code, (way, end, result.returncode)
        numbers, dropped = numbers_of(directory)
    if end == "disk":
        after = numbers == LOGGED + list(range(401, 451))
        assert after or numbers == LOGGED, (way, numbers)
        assert dropped in (0, 50), (way, dropped)
        if not after:
            return "nothing more"
        return "later ones, a count" if dropped else "later ones"
    logged = LOGGED + MORE.get(end, [])
    assert numbers == logged[:len(numbers)] and len(numbers) >= len(FLUSHED), (way, end, numbers)
    return "all" if numbers == logged else "delivered"


def cell(way, ends):
    if not isinstance(ends, dict):
        ends = {str(int(number)): -number for number in ends}
    results = {kept(way, *end) for end in ends.items()}
    assert len(results) == 1, (way, ends, results)
    return results.pop()


def check_kept(way, end):
    code, expected = KEPT[end]
    assert kept(way, end, code) == expected, (way, end)


def check_container():
    """As the first process of a container, for which the system ignores the signal.

    An emulator would be that process itself, and never end.
    """
    unshare = shutil.which("unshare") or "false"
    launcher = [unshare, "--pid", "--fork"]
    if len(PROGRAM) == 1 and subprocess.run([*launcher, "true"], stderr=subprocess.DEVNULL,
                                         check=False).returncode == 0:
        number = signal.SIGTERM
        assert kept("FlushAtExit", str(int(number)), 128 + number, launcher) == "all"


def check_table(pool):
    cells = [[pool.submit(cell, way, ends) for way in WAYS] for ends in TABLE.values()]
    rows = [" | ".join([title, *(cell.result() for cell in row)])
            for title, row in zip(TABLE, cells)]
    text = pathlib.Path(PAGE).read_text(encoding="utf-8")
    [found] = re.findall(r"^\| End \|.*\n\|[-|]+\n((?:\|.*\n)+)", text, re.M)
    table = "".join(f"| {row} |\n" for row in rows)
    assert found == table, "the page has another table than\n" + table


with concurrent.futures.ThreadPoolExecutor(16) as pool:
    results = [pool.submit(check_kept, way, end) for way in ("FlushAtExit", "atSignals")
               for end in KEPT if end not in SKIPPED] + [pool.submit(check_container)]
    if PAGE != "-":
        check_table(pool)
    for result in results:
        result.result()
