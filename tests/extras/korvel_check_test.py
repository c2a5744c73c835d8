# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

"""Runs korvel-check on logs that job_server wrote, whole and damaged:
korvel_check_test.py KORVEL_CHECK JOB_SERVER
"""

import json
import pathlib
import re
import subprocess
import sys
import tempfile

KORVEL_CHECK, JOB_SERVER = sys.argv[1:3]


def run(*arguments, directory, status, **options):
    result = subprocess.run([KORVEL_CHECK, *arguments], cwd=directory, stdout=subprocess.PIPE,
                            stderr=subprocess.PIPE, check=False, **options)
    assert result.returncode == status, (arguments, result)
    return result.stdout.decode(), result.stderr.decode()


def real_line(directory, milliseconds):
    """An entry of job_server, at so many milliseconds of a day."""
    text = "".join(file.read_text() for file in directory.glob("jobs.jsonl*"))
    [line] = [line for line in text.splitlines() if '"job":20,' in line and "JobDone" in line]
    seconds, rest = divmod(milliseconds, 1000)
    time = f"2026-11-18T{seconds // 3600:02}:{seconds // 60 % 60:02}:{seconds % 60:02}.{rest:03}Z"
    return re.sub(r'("timestamp":)"[^"]*"', rf'\1"{time}"', line).encode()


NUMBER = "2 contains a number that JSON cannot hold, such as nan or inf"
HALF = "2 contains half of a surrogate pair"
# What follows an entry, and what is said of it.
DAMAGE = [
    (b'{"message":"Ratio","r":nan}\n', "not_finite", NUMBER + " (byte 25)."),
    (b'{"a":[-inf]}\n', "not_finite", NUMBER + " (byte 8)."),
    (b'{"a":2,5}\n', "not_json", "2 is not JSON (byte 8)."),
    (b"\n", "not_json", "2 is not JSON (byte 1)."),
    (b"\xef\xbb\xbf{}\n", "not_json", "2 is not JSON (byte order mark)."),
    (b'{"a":"\xe4"}\n', "not_utf8", "2 is not UTF-8 (byte 8)."),
    (b'{"a":"\xed\xb0\x80"}\n', "lone_surrogate", HALF + " (byte 8)."),
    (b'{"a":"\\ud800"}\n', "lone_surrogate", HALF + " (byte 13)."),
    (b'{"a":{}}\0\0\n', "zero_bytes", "2 contains zero bytes, as a loss of power leaves them."),
    (b'[{"b":1,"b":2}]\n', "not_an_entry", "2 is JSON, but not an object."),
    (b'{"a":', "torn_line", "2 is torn: the file ends without a line end (5 bytes)."),
    (b'{"a":[{"b":1,"b":2}]}\n', "duplicate_key", '2 contains a key twice ("b").'),
]


def check_damage(directory):
    file = directory / "app.jsonl"
    times = b"".join(real_line(directory, time) + b"\n" for time in (5000, 3999, 3999))
    older = (times, "time_goes_back", "3 is older than the line before (1.0 s).")
    for damage, kind, sentence in [*DAMAGE, older]:
        file.write_bytes(real_line(directory, 0) + b"\n" + damage)
        lines = run(file.name, directory=directory, status=1)[0].splitlines()
        assert (lines[0], lines[-1]) == (f"app.jsonl:{sentence}", f"Found: {kind} 1"), lines
        summary = json.loads(run("--json", file.name, directory=directory, status=1)[0])
        assert summary["found"] == {kind: 1}, summary


def check_real_log(directory):
    """Rotated files, and a pipe, which has no size."""
    entry = json.loads(real_line(directory, 0))
    assert entry == {"message": "JobDone", "severity": "info", "job": 20, "sum": 210, "median": 11,
                     "customer": "Zoë & Söhne", "timestamp": "2026-11-18T00:00:00.000Z",
                     "thread": entry["thread"], "elapsed_ms": entry["elapsed_ms"]}, entry
    files = sorted(directory.glob("jobs.jsonl*"), reverse=True)
    text = b"".join(file.read_bytes() for file in files)
    outputs = [run("--json", *files, directory=directory, status=0),
               run("--json", "/dev/stdin", directory=directory, status=0, input=text)]
    for number_of_files, output in zip((len(files), 1), outputs):
        summary = json.loads(output[0])
        assert summary["types"] == {"JobDone": 490, "JobFailed": 10, "JobStarted": 500,
                                    "LimitExceeded": 180, "ServerStopped": 1}, summary
        assert summary["severities"] == {"debug": 500, "error": 10, "info": 491, "warning": 180}
        assert (summary["files"], summary["entries"]) == (number_of_files, 1181), summary


def check_staging(directory):
    """All of what is said of a directory, whose files are one log."""
    staging = directory / "staging"
    staging.mkdir()
    contents = {"1_0.log": real_line(directory, 0) + b"\n", "2_0.log": b"",
                "3_0.log": real_line(directory, 7_200_500) + b"\n"
                           b'{"message":"EntriesDropped","dropped":3,"timestamp":"2026-11-18T-1:59:60.000Z"}\n',
                "4_0.log.tmp": b"{}\n", "other": b"not a log"}
    for name, content in contents.items():
        (staging / name).write_bytes(content)
    assert run("staging", directory=directory, status=1)[0] == """\
staging/2_0.log is empty.
staging/3_0.log:1 comes long after the line before (7200.5 s).
staging/3_0.log:2 has a "timestamp" that is not like 2026-11-18T21:16:42.123Z (2026-11-18T-1:59:60.000Z).
staging/3_0.log:2 reports that entries were lost or cut (EntriesDropped).
staging/4_0.log.tmp belongs to an upload that is running or was interrupted \
(rename it to .log to send it, perhaps a second time, or delete it).
3 files, 3 entries, from 2026-11-18T00:00:00.000Z to 2026-11-18T02:00:00.500Z
Types: JobDone 2, EntriesDropped 1
Severities: info 2
Found: interrupted_upload 1
Note: gap 1
Note: empty_file 1
Note: odd_time 1
Note: loss 1
"""
    (staging / "4_0.log.tmp").unlink()
    output = run("--gap", "7201", "staging", directory=directory, status=0)[0]
    assert output.endswith("Note: loss 1\nNothing is wrong.\n") and "gap" not in output, output


with tempfile.TemporaryDirectory() as name:
    root = pathlib.Path(name)
    subprocess.run([JOB_SERVER, name], stdout=subprocess.DEVNULL, check=True)
    check_real_log(root)
    check_damage(root)
    check_staging(root)
    assert "There is no file or directory missing." in run("missing", directory=root, status=2)[1]
    run("--gap", "-1", "app.jsonl", directory=root, status=2)
