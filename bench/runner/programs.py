# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

"""The programs that are run, and how."""

import json
import os
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = ROOT / "build" / "bench"
PIPELINE = BUILD / "bench" / "bench_pipeline"
MICRO = BUILD / "bench" / "bench_micro"
# On the disk of the build: a file system in memory would flatter everything that writes.
FILES = BUILD / "files"

KORVEL = ["korvel-list", "korvel-keys"]
JSON_PEERS = ["spdlog-nlohmann-list", "spdlog-nlohmann-keys"]
FMT_PEER = "spdlog-fmt"
BOOST_PEER = "boost-log"
SUBJECTS = [*KORVEL, *JSON_PEERS, FMT_PEER, BOOST_PEER]

NAMES = {
    "korvel-list": "Korvel, list and narrow text",
    "korvel-keys": "Korvel, key by key and wide text",
    "spdlog-nlohmann-list": "spdlog + nlohmann::json, list",
    "spdlog-nlohmann-keys": "spdlog + nlohmann::json, key by key",
    "spdlog-fmt": "spdlog, line written by hand",
    "boost-log": "Boost.Log",
}


def command(mode, subject, **options):
    """The words that run the pipeline program; an option gap_us=50 becomes --gap-us 50."""
    FILES.mkdir(exist_ok=True)
    words = [str(PIPELINE), mode, subject, "--directory", str(FILES)]
    for name, value in options.items():
        words += ["--" + name.replace("_", "-"), str(value)]
    return words


def output_of(words):
    environment = {**os.environ, "TMPDIR": str(FILES)}
    result = subprocess.run(words, capture_output=True, text=True, env=environment)
    if result.returncode != 0:
        sys.exit(f"{' '.join(words)} failed:\n{result.stderr}")
    return result


def pipeline(mode, subject, **options):
    return json.loads(output_of(command(mode, subject, **options)).stdout)


def micro(*options):
    FILES.mkdir(exist_ok=True)
    return json.loads(output_of([str(MICRO), "--benchmark_format=json", *options]).stdout)
