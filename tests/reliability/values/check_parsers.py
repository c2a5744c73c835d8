"""check_parsers.py PARSERS ENTRIES: Python and jq, too, read what every file sink writes."""

import collections
import itertools
import json
import pathlib
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
        wanted = subprocess.check_output([sys.argv[1], folder, sys.argv[2], *case]).splitlines()
        files = sorted(pathlib.Path(folder).iterdir())
        content = b"".join(file.read_bytes() for file in files).rstrip(b"\n")
    texts = content.replace(b"\n{", b"\n\0{").split(b"\n\0")
    assert [*read(texts)] == [*read(wanted)], f"Python: {case}"
    strict = b"\n".join(text for text, line in zip(texts, wanted) if line)
    found = subprocess.check_output(["jq", "-c"], input=strict).splitlines()
    # jq has doubles only.
    assert [*read(found, float)] == [*read(filter(None, wanted), float)], f"jq: {case}"
    refused = int(sys.argv[2]) - len(wanted)
    totals.update({"read": len(found), "inf, NaN or not UTF-8": len(wanted) - len(found), "refused by append": refused})
print("parsers: " + ", ".join(f"{count} {name}" for name, count in totals.items()))
