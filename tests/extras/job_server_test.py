# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

"""Runs job_server and compares its files and its console: job_server_test.py COMMAND..."""

import json
import pathlib
import re
import subprocess
import sys
import tempfile

JOBS = 500
CUSTOMERS = ["Zoë & Söhne", "Wong\n\x1b[31mLtd"]
TIME = re.compile(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z")


def entries_of(directory):
    rotated = [directory / f"jobs.jsonl.{number}" for number in range(5, 0, -1)]
    files = [file for file in rotated if file.exists()] + [directory / "jobs.jsonl"]
    assert len(files) > 2, "was not rotated"
    for file in files:
        assert file.stat().st_size <= 100_000, file
        for line in file.read_text(encoding="utf-8").splitlines():
            yield json.loads(line)


def expected_of(job):
    """The entries of a job, without times and threads."""
    amounts = list(range(1, job % 50 + 1))
    always = {"job": job, "customer": CUSTOMERS[job % 2]}
    yield {"message": "JobStarted", "severity": "debug", "messageData": amounts, **always}
    if not amounts:
        error = {"type": "std::invalid_argument", "text": "there are no orders"}
        yield {"message": "JobFailed", "severity": "error", "error": error, **always}
        return
    if sum(amounts) > 500:
        yield {"message": "LimitExceeded", "severity": "warning", "sum": sum(amounts),
               "limit": 500, **always}
    yield {"message": "JobDone", "severity": "info", "sum": sum(amounts),
           "median": amounts[len(amounts) // 2], **always}


def check(command):
    with tempfile.TemporaryDirectory() as name:
        run = subprocess.run([*command, name], stdout=subprocess.PIPE, check=True)
        entries = list(entries_of(pathlib.Path(name)))
    threads = {}
    jobs = [[] for _ in range(JOBS)]
    for entry in entries[:-1]:
        assert TIME.fullmatch(entry.pop("timestamp")), entry
        elapsed = entry.pop("elapsed_ms", 0)
        assert 0 <= elapsed < 60_000, entry
        thread = entry.pop("thread")
        assert threads.setdefault(entry["job"], thread) == thread, entry
        jobs[entry["job"]].append(entry)
    for job, found in enumerate(jobs):
        assert found == list(expected_of(job)), (job, found)
    last = entries[-1]
    assert (last["message"], last["failures"]) == ("ServerStopped", JOBS // 50), last

    console = run.stdout.decode("utf-8").splitlines()
    attention = [entry for job in jobs for entry in job if entry["severity"] in ("warning", "error")]
    assert len(console) == len(attention), run.stdout
    assert b"\x1b" not in run.stdout
    assert sum(r'customer="Wong\n\u001b[31mLtd"' in line for line in console) == sum(
        entry["customer"] == CUSTOMERS[1] for entry in attention)


check(sys.argv[1:])
