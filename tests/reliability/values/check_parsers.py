# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

"""check_parsers.py PARSERS ENTRIES: Python and jq, too, read what every file sink writes."""

import collections
import itertools
import json
import subprocess
import sys
import tempfile

totals = collections.Counter()


def read(lines, number=int):
    for line in lines:
        try:
            yield json.loads(line.decode(), parse_int=number)
        except ValueError:
            yield None


for case in itertools.product(("compact", "pretty", "staged", "reopening"), ("bare", "repaired")):
    with tempfile.TemporaryDirectory() as folder:
        output = subprocess.check_output([sys.argv[1], folder, sys.argv[2], *case]).split(b"\0")
    texts, wanted = output[:-1:2], output[1::2]
    assert [*read(texts)] == [*read(wanted)], f"Python: {case}"
    strict = b"".join(text for text, line in zip(texts, wanted) if line)
    found = subprocess.check_output(["jq", "-c"], input=strict).splitlines()
    # jq has doubles only.
    assert [*read(found, float)] == [*read(filter(None, wanted), float)], f"jq: {case}"
    totals.update(logged=int(sys.argv[2]), written=len(wanted), read=len(found))
print("parsers: " + ", ".join(f"{count} {name}" for name, count in totals.items()))
