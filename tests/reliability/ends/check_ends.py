# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

"""check_ends.py CASE DRIVER NUMBER: lets ends_driver fail or die, and looks for its entries."""

import collections
import ctypes
import errno
import itertools
import json
import pathlib
import random
import subprocess
import sys
import tempfile

CASE, DRIVER, NUMBER = sys.argv[1], sys.argv[2], int(sys.argv[3])
FILES = {"LogglySink": "*/*", "ReopeningFileSink": "app.jsonl*", "FileSink": "file.*"}
WORK = "log 3 300 rotate log 2 9000 upload tfx wait log 1 40000 rotate log 2 9 upload ts wait "
FULL = "log 5 300 fill try 50 300 free log 5 300 rotate upload t wait "
FAIL = "try 4 9000 rotate upload tf wait try 2 300 rotate upload f wait fault - 0 0 0 log 3 300 "
ERRORS = (errno.ENOSPC, errno.EIO, errno.EMFILE, errno.EINTR)
EACH = {"killed_in_a_call": (("owcmr", -2),), "no_memory": (("n", 1), ("t", 1))}
totals = collections.Counter()


def scripts():
    refused = f"w 0 999 -1 {FAIL.replace('try', 'log')}"
    for call, error, times, n in itertools.product("owcmr", ERRORS, (1, 999), range(NUMBER)):
        refused += f"fault {call} {n} {n + times} {error} {FAIL}"
    answers = ("".join(random.choices("ttffxxssk", k=6)) for _ in range(9 * NUMBER))
    uploads = [f"log 2 300 rotate upload {answer} " for answer in answers]
    return {
        "killed": ["- 0 0 0 storm " + "rotate upload t wait " * 9999] * NUMBER,
        "refused": [refused],
        "full_disk": ["- 0 0 0 " + FULL * NUMBER],
        "upload": ["- 0 0 0 " + "".join(uploads[n::NUMBER]) for n in range(NUMBER)],
    }[CASE]


def live(disk, script):
    """Returns how the driver has ended, and the ids of the entries that must be in all sinks."""
    command = [DRIVER, disk, str(totals["lives"]), "9999999" if CASE == "killed" else "20000"]
    pipes = dict.fromkeys(("stdin", "stdout", "stderr"), subprocess.PIPE)
    with subprocess.Popen(command, **pipes, text=True) as process:
        try:
            seconds = random.uniform(0.02, 0.4) if "storm" in script else None
            output, errors = process.communicate(script, seconds)
        except subprocess.TimeoutExpired:
            process.kill()
            output, errors = process.communicate()
    end, ids, words = process.returncode, output.split(), script.split()
    is_listing = CASE == "no_memory" and end == -6 and "directory_iterator" in errors
    assert end in (0, 1, -9) or is_listing, (script, end, errors)
    logged = sum(int(count) for word, count in zip(words, words[1:]) if word in ("log", "try"))
    assert end < 0 or CASE == "no_memory" or len(ids) == logged, (script, len(ids), logged)
    totals.update(lives=1, entries=len(ids), kills=end == -9, listings=is_listing)
    return end, [id for id in ids if "-9-" not in id and CASE != "no_memory"]


def audit(sink, files, required):
    """Each required entry is one line, and no file has two out of order. Returns the torn lines."""
    found, torn = collections.Counter(), 0
    for file in files:
        lines = [line for line in file.read_bytes().split(b"\n") if line]
        whole = [line for line in lines if line.endswith(b'"}')]
        assert sink == "ReopeningFileSink" or whole == lines[: len(whole)], f"{file} goes on torn"
        torn += len(lines) - len(whole)
        ids = [entry["id"] for entry in map(json.loads, whole) if "id" in entry]
        keys = [(thread, int(number)) for thread, _, number in (id.rpartition("-") for id in ids)]
        assert sorted(keys) == sorted(keys, key=lambda key: key[0]), f"{file}: order"
        found.update(ids)
    wrong = [id for id in found.keys() | set(required) if found[id] != 1]
    assert not wrong, f"{sink}: {len(wrong)} entries are lost or doubled: {wrong[:5]}"
    return torn


def play(disk, scripts):
    """One life after the other on a disk. The last one delivers what the others have left."""
    lives = [live(disk, script) for script in (*scripts, "- 0 0 0 rotate upload t wait")]
    assert len([*disk.glob("staging/*.log")]) == 1, "more than the current file is left"
    failures = sum(end == -9 for end, _ in lives) + "".join(scripts).count("fill")
    for sink, pattern in FILES.items():
        files = {file.stat().st_ino: file for file in disk.glob(pattern)}.values()
        # A FileSink has failed for good after its first failure.
        is_over = sink == "FileSink" and CASE in ("refused", "full_disk")
        torn = audit(sink, files, [] if is_over else [id for _, ids in lives for id in ids])
        assert torn <= failures, f"{sink}: {torn} torn lines by {failures} failures"
        totals.update(torn=torn)
    return lives[0][0]


def main():
    small = "/mnt" if CASE == "full_disk" else None
    mount = "mount --make-rprivate / && mount -t tmpfs -o size=4m none /mnt"
    # 0x20000 is CLONE_NEWNS: the mount ends with this process.
    if small and (ctypes.CDLL(None).unshare(0x20000) or subprocess.call(mount, shell=True)):
        sys.exit(print("skipped: this process must not mount") or 77)
    with tempfile.TemporaryDirectory(dir=small) as base:
        disk = pathlib.Path(base, "disk")
        for letters, action in EACH.get(CASE, ()):
            for n in itertools.count(0, NUMBER):
                fault = f"{letters} {n} {n + 1} {action} {WORK}"
                if play(disk / f"{letters}{n}", [fault, f"- 0 0 0 {WORK}"]) == 1:
                    break
        if CASE not in EACH:
            play(disk, scripts())
    print(f"{CASE}: " + ", ".join(f"{count} {name}" for name, count in totals.items()))


main()
