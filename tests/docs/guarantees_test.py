"""Measures the table of docs/guarantees.md: guarantees_test.py ENDS_PROGRAM PAGE

Every way to log ends in every way to end. The files must have the entries that were flushed, whole
and in order, and nothing but them and later ones. What they have beyond that is the table.
"""

import concurrent.futures
import json
import pathlib
import signal
import subprocess
import sys
import tempfile

PROGRAM, PAGE = sys.argv[1:]
WAYS = ["FileSink", "LogglySink", "Logging", "atSignals"]
ENDS = {"return from `main`": ["return"],
        "`std::exit`": ["exit"],
        "uncaught exception, `std::terminate`": ["exception", "thread"],
        "SIGTERM, SIGINT": [signal.SIGTERM, signal.SIGINT],
        "SIGHUP, SIGQUIT, SIGPIPE": [signal.SIGHUP, signal.SIGQUIT, signal.SIGPIPE],
        "`abort`, SIGSEGV, SIGBUS, SIGFPE, SIGILL": [
            "abort", signal.SIGSEGV, signal.SIGBUS, signal.SIGFPE, signal.SIGILL],
        "`_exit`, `std::quick_exit`": ["_exit", "quick_exit"],
        "SIGKILL": [signal.SIGKILL],
        "full disk, then room again": ["disk"]}
FLUSHED, LOGGED = list(range(1, 51)), list(range(1, 351))


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


def kept(way, end):
    with tempfile.TemporaryDirectory() as directory:
        name = end if isinstance(end, str) else str(int(end))
        result = subprocess.run([PROGRAM, way, name, directory],
                                stderr=subprocess.DEVNULL, check=False)
        assert result.returncode != -signal.SIGALRM, (way, end, "hangs")
        numbers, dropped = numbers_of(directory)
    if end == "disk":
        after = numbers == LOGGED + list(range(401, 451))
        assert after or numbers == LOGGED, (way, numbers)
        assert dropped in (0, 50), (way, dropped)
        if not after:
            return "nothing more"
        return "later ones, a count" if dropped else "later ones"
    assert numbers == LOGGED[:len(numbers)] and len(numbers) >= len(FLUSHED), (way, end, numbers)
    return "all" if numbers == LOGGED else "delivered"


def row(pool, title, ends):
    cells = []
    for way in WAYS:
        results = set(pool.map(lambda end: kept(way, end), ends))
        assert len(results) == 1, (title, way, results)
        cells += results
    return f"| {title} | " + " | ".join(cells) + " |"


with concurrent.futures.ThreadPoolExecutor(16) as pool, \
        concurrent.futures.ThreadPoolExecutor(len(ENDS)) as rows:
    table = list(rows.map(lambda item: row(pool, *item), ENDS.items()))
text = "\n".join(["| End | `FileSink` | `LogglySink` | `Logging` | `Logging` with `atSignals` |",
                  "|---|---|---|---|---|", *table])
print(text)
assert text in pathlib.Path(PAGE).read_text(encoding="utf-8"), "the page has another table"
