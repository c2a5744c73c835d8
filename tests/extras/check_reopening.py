#!/usr/bin/env python3
"""Runs ReopeningDriver, and checks the files that it leaves:

check_reopening.py rotate DRIVER LOGROTATE PAGE
    Rotates 20 times with the configuration that PAGE shows: every entry is in one file, in order.
check_reopening.py kill DRIVER
    Kills it 40 times, always with a torn line at the end: every flushed entry is a line.
"""

import collections
import gzip
import json
import os
import pathlib
import random
import re
import subprocess
import sys
import tempfile
import time

ROTATIONS = 20
KILLS = 40


def wait_for_content(file):
    end = time.monotonic() + 60
    while file.stat().st_size == 0:
        assert time.monotonic() < end, f"{file} has been empty for a minute"
        time.sleep(0.001)


def start(driver, log, run, padding):
    """Returns the process and the file of its output, as soon as a group is flushed."""
    output = log.with_name(f"output.{run}")
    with output.open("wb") as stream:
        process = subprocess.Popen([driver, log, str(run), str(padding)], stdout=stream)
    wait_for_content(output)
    return process, output


def flushed(output):
    """Only a whole line counts: the driver can die while it prints one."""
    return int(output.read_text().rpartition("\n")[0].split("\n")[-1])


def rotate(directory, driver, logrotate, page):
    log, pid, configuration = (directory / name for name in ("app.jsonl", "pid", "configuration"))
    process, output = start(driver, log, 0, 100)
    pid.write_text(str(process.pid))
    [text] = re.findall(r"^```\n(/var/log/.*?)^```", pathlib.Path(page).read_text(), re.M | re.S)
    text = text.replace("/var/log/app/app.jsonl", str(log)).replace("/run/app.pid", str(pid))
    configuration.write_text(text)
    for _ in range(ROTATIONS):
        command = [logrotate, "--force", "--state", directory / "state", configuration]
        subprocess.run(command, check=True)
        # The next rotation compresses the file that the driver has to leave before.
        wait_for_content(log)
    process.terminate()
    assert process.wait() == 0
    rotated = sorted(directory.glob("app.jsonl.*"), key=lambda file: -int(file.name.split(".")[2]))
    assert len(rotated) == ROTATIONS, rotated
    numbers = []
    for file in [*rotated, log]:
        with gzip.open(file) if file.suffix == ".gz" else file.open("rb") as stream:
            numbers += [json.loads(line)["number"] for line in stream]
    assert numbers == list(range(flushed(output))), "entries are lost, doubled or out of order"
    print(f"{len(numbers)} entries, each once and in order, in {ROTATIONS + 1} files")


def kill(directory, driver):
    log = directory / "app.jsonl"
    acknowledged, torn = [], 0
    for run in range(KILLS + 1):
        # Only a long write can be interrupted.
        process, output = start(driver, log, run, 1_000_000)
        time.sleep(random.uniform(0, 0.02))
        process.kill()
        process.wait()
        acknowledged += [(str(run), number) for number in range(flushed(output))]
        with log.open("rb+") as stream:
            stream.seek(-1, os.SEEK_END)
            is_torn = stream.read() != b"\n"
            torn += is_torn
            if not is_torn:
                stream.write(b'{"message":"Load","num')
    found, unreadable = collections.Counter(), 0
    with log.open("rb") as stream:
        for line in stream:
            try:
                entry = json.loads(line)
                found[entry["run"], entry["number"]] += 1
            except ValueError:
                unreadable += 1
    bad = [entry for entry in acknowledged if found[entry] != 1]
    assert not bad, f"{len(bad)} of {len(acknowledged)} flushed entries are not one line: {bad[:3]}"
    assert unreadable <= KILLS + 1, f"{unreadable} unreadable lines"
    print(f"{len(acknowledged)} flushed entries, each once; {torn} lines torn by a kill")


if __name__ == "__main__":
    with tempfile.TemporaryDirectory() as name:
        {"rotate": rotate, "kill": kill}[sys.argv[1]](pathlib.Path(name), *sys.argv[2:])
