# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

"""Takes the samples: lists of a figure a round, under names like "burst1/korvel-list/call_p50"."""

import json
import re
import sys
from collections import defaultdict
from dataclasses import dataclass

from runner.programs import KORVEL, SUBJECTS, command, micro, output_of, pipeline

GAP_US = 50
GROWING_ENTRIES = [10_000, 100_000, 1_000_000]
GROWING_PRODUCERS = [1, 4, 16, 64]
HELD_ENTRIES = 20_000
# Of these shapes every library must write the same number of bytes.
TEXT_SHAPES = ["entry", "ascii", "mixed", "escapes", "integers"]
TIMESTAMP = re.compile(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}(\d{3})?Z", re.ASCII)


@dataclass
class Effort:
    rounds: int
    growth_rounds: int
    burst: int
    paced: int
    rotation: int
    repetitions: int
    min_time: float
    counts: int


FULL = Effort(13, 9, 100_000, 10_000, 400_000, 9, 0.1, 5)
QUICK = Effort(3, 1, 30_000, 4_000, 100_000, 3, 0.02, 1)
CHECK = Effort(1, 0, 1_000, 100, 0, 1, 0.001, 0)


def require_same_content():
    """Every subject must log the same entry, or the comparison is void."""
    expected = None
    for subject in SUBJECTS:
        entry = json.loads(output_of(command("show", subject)).stdout)
        varying = entry.pop("timestamp"), entry.pop("thread")
        expected = expected or entry
        if entry != expected or not TIMESTAMP.fullmatch(varying[0]) or varying[1] == "":
            sys.exit(f"{subject} logs another entry: {entry} {varying}")


def take(samples, prefix, report):
    for key, value in report.items():
        if isinstance(value, float):
            samples[f"{prefix}/{key}"].append(value)


def loads(effort):
    """The options of each load."""
    return {
        "burst1": {"producers": 1, "entries": effort.burst},
        "burst4": {"producers": 4, "entries": effort.burst},
        "paced1": {"producers": 1, "entries": effort.paced, "gap_us": GAP_US},
        "paced4": {"producers": 4, "entries": 4 * effort.paced, "gap_us": GAP_US},
    }


def take_pipeline(samples, effort):
    for number in range(effort.rounds):
        # Each round begins with another subject, so that none always follows the same one.
        first = number % len(SUBJECTS)
        for load, options in loads(effort).items():
            for subject in SUBJECTS[first:] + SUBJECTS[:first]:
                take(samples, f"{load}/{subject}", pipeline("run", subject, **options))


def take_growth(samples, effort):
    for _ in range(effort.growth_rounds):
        for count in GROWING_ENTRIES:
            report = pipeline("run", KORVEL[0], entries=count)
            take(samples, f"growth/entries/{count}", report)
        for count in GROWING_PRODUCERS:
            report = pipeline("run", KORVEL[0], entries=GROWING_ENTRIES[1], producers=count)
            take(samples, f"growth/producers/{count}", report)


def take_sinks(samples, effort):
    for subject in SUBJECTS:
        take(samples, f"held/{subject}", pipeline("heap", subject, entries=HELD_ENTRIES))
    for _ in range(effort.growth_rounds):
        take(samples, "idle", pipeline("flush", "korvel", entries=1000))
        for producers in (1, 2):
            options = {"producers": producers, "entries": effort.rotation}
            take(samples, f"rotate{producers}", pipeline("rotate", "korvel", **options))


def take_micro(samples, effort):
    report = micro(
        f"--benchmark_repetitions={effort.repetitions}",
        f"--benchmark_min_time={effort.min_time}",
        "--benchmark_enable_random_interleaving=true",
    )
    runs = [run for run in report["benchmarks"] if run["run_type"] == "iteration"]
    for run in sorted(runs, key=lambda run: run["repetition_index"]):
        take_run(samples, "micro/" + run["name"].removesuffix("/manual_time"), run)
    require_same_length(samples)


def take_run(samples, name, run):
    if "own" in run:
        samples[name + "/own"].append(run["own"])
        samples[name + "/other"].append(run["other"])
        return
    # A batch of trees is timed by hand, in real time. The rest is one thread's work, of which the
    # processor time is less disturbed by others.
    batch = run.get("items")
    samples[name].append(run["real_time"] / batch if batch else run["cpu_time"])
    if "bytes" in run:
        samples[name + "/bytes"] = [run["bytes"]]


def require_same_length(samples):
    """Doubles are left out, because the libraries differ in how many digits they write. So is
    RapidJSON's SSE2 code, which leaves some control characters without an escape."""
    for shape in TEXT_SHAPES:
        name = "micro/render/" + shape
        lengths = [samples[f"{name}/{n}/bytes"] for n in ("korvel", "nlohmann", "rapidjson")]
        if lengths.count(lengths[0]) != len(lengths):
            sys.exit(f"The texts of {shape} differ in length: {lengths}")


def everything(effort):
    samples = defaultdict(list)
    take_pipeline(samples, effort)
    take_growth(samples, effort)
    take_sinks(samples, effort)
    take_micro(samples, effort)
    return dict(samples)
