#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

"""check_reopening.py DRIVER LOGROTATE PAGE: rotates the log of ReopeningDriver 20 times with the
configuration that PAGE shows. Every entry is in one file, in order.
"""

import gzip
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import time

ROTATIONS = 20


def wait_for_content(file):
    end = time.monotonic() + 60
    while file.stat().st_size == 0:
        assert time.monotonic() < end, f"{file} has been empty for a minute"
        time.sleep(0.001)


def rotate(directory, driver, logrotate, page):
    log, pid, configuration = (directory / name for name in ("app.jsonl", "pid", "configuration"))
    output = directory / "output"
    with output.open("wb") as stream:
        process = subprocess.Popen([driver, log], stdout=stream)
    wait_for_content(output)
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
    flushed = int(output.read_text().split()[-1])
    assert numbers == list(range(flushed)), "entries are lost, doubled or out of order"
    print(f"{len(numbers)} entries, each once and in order, in {ROTATIONS + 1} files")


if __name__ == "__main__":
    with tempfile.TemporaryDirectory() as name:
        rotate(pathlib.Path(name), *sys.argv[1:])
