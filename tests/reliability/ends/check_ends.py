"""check_ends.py CASE DRIVER NUMBER: lets ends_driver fail or die, and looks for its entries."""

import collections
import ctypes
import errno
import itertools
import json
import pathlib
import random
import re
import subprocess
import sys
import tempfile

CASE, DRIVER, NUMBER = sys.argv[1], sys.argv[2], int(sys.argv[3])
FILES = {"LogglySink": "*/*", "ReopeningFileSink": "app.jsonl*", "FileSink": "file.*"}
WORK = "log 3 300 rotate log 2 9000 upload tfx wait log 1 40000 rotate log 2 9 upload ts wait "
STORM = "- 0 0 0 storm " + "rotate upload t wait " * 9999
FULL = "log 5 300 fill try 50 300 free log 5 300 rotate upload t wait "
FAIL = "try 4 9000 rotate upload tf wait try 2 300 rotate upload f wait fault - 0 0 0 log 3 300 "
ERRORS = (errno.ENOSPC, errno.EIO, errno.EMFILE, errno.EINTR)
REFUSED = [*itertools.product("owcmr", ERRORS, (1, 999), range(NUMBER))]
EACH = {"killed_in_a_call": (("owcmr", -2),), "no_memory": (("n", 1), ("t", 1))}
LIVES = NUMBER if CASE in ("killed", "upload") else 1
totals = collections.Counter()


def script():
    answers = ["".join(random.choices("ttffxxssk", k=6)) for _ in range(9)]
    return "- 0 0 0 " + {
        "killed": STORM,
        "upload": "".join(f"log 2 300 rotate upload {answer} " for answer in answers),
        "full_disk": FULL * NUMBER,
        "refused": f"fault w 0 999 -1 {FAIL.replace('try', 'log')}"
        + "".join(f"fault {call} {n} {n + times} {error} {FAIL}" for call, error, times, n in REFUSED),
    }[CASE]


def live(disk, script):
    """Returns how the driver has ended, and the ids of the entries that all sinks have."""
    command = [DRIVER, disk, str(totals["lives"]), "9999999" if CASE == "killed" else "20000"]
    pipes = dict.fromkeys(("stdin", "stdout", "stderr"), subprocess.PIPE)
    process = subprocess.Popen(command, **pipes, text=True)
    try:
        output, errors = process.communicate(script, random.uniform(0.02, 0.2) if "storm" in script else None)
    except subprocess.TimeoutExpired:
        process.kill()
        output, errors = process.communicate()
    end, ids = process.returncode, output.split()
    is_listing = CASE == "no_memory" and end == -6 and "directory_iterator" in errors
    assert end in (0, 1, -9) or is_listing, (script, end, errors)
    logged = sum(map(int, re.findall(r"(?:log|try) (\d+)", script)))
    assert end < 0 or CASE == "no_memory" or len(ids) == logged, (script, len(ids), logged)
    totals.update(lives=1, entries=len(ids), kills=end == -9, listings=is_listing)
    return end, [id for id in ids if "-9-" not in id and CASE != "no_memory"]


def audit(sink, files, required):
    """Each required entry is one line, and no file has two out of order. Returns the torn lines."""
    found, torn = collections.Counter(), 0
    for file in files:
        numbers, lines = {}, file.read_bytes().split(b"\n")
        for position, line in enumerate(lines, 1 - len(lines)):
            try:
                entry = json.loads(line or b"{}")
            except ValueError:
                assert position == 0 or sink == "ReopeningFileSink", f"{file} goes on after {line}"
                entry, torn = {}, torn + 1
            if "id" in entry:
                thread, _, number = entry["id"].rpartition("-")
                assert numbers.get(thread, -1) < int(number), f"{file}: {entry['id']} is late"
                numbers[thread] = int(number)
                found[entry["id"]] += 1
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
        isLasting = sink == "FileSink" and CASE in ("refused", "full_disk")
        torn = audit(sink, files, [] if isLasting else [id for _, ids in lives for id in ids])
        assert torn <= failures, f"{sink}: {torn} torn lines by {failures} failures"
        totals.update(torn=torn)
    totals.update(orphans=len([*disk.glob("staging/*.tmp")]))
    return lives[0][0]


def main():
    small = "/mnt" if CASE == "full_disk" else None
    mount = "mount --make-rprivate / && mount -t tmpfs -o size=4m none /mnt"
    # 0x20000 is CLONE_NEWNS: the mount ends with this process.
    if small and (ctypes.CDLL(None).unshare(0x20000) or subprocess.run(mount, shell=True).returncode):
        print("skipped: this process must not mount")
        return 77
    with tempfile.TemporaryDirectory(dir=small) as base:
        disk = pathlib.Path(base, "disk")
        if CASE not in EACH:
            play(disk, [script() for _ in range(LIVES)])
        for letters, action in EACH.get(CASE, ()):
            for n in itertools.count(0, NUMBER):
                if play(disk / f"{letters}{n}", [f"{letters} {n} {n + 1} {action} {WORK}"]) == 1:
                    break
    print(f"{CASE}: " + ", ".join(f"{count} {name}" for name, count in totals.items()))
    return 0


sys.exit(main())
