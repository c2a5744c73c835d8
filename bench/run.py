#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

"""Runs the benchmarks: run.py [--quick | --instructions | --check]

scripts/bench builds what this runs, and describes the options.
"""

import argparse
import json
import time

from runner import instructions, measure, page, plot, targets
from runner.programs import BUILD


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    group = parser.add_mutually_exclusive_group()
    group.add_argument("--quick", action="store_true", help="a rough table in a minute")
    group.add_argument("--instructions", action="store_true", help="instructions an entry only")
    group.add_argument("--check", action="store_true", help="no figures: does everything run?")
    options = parser.parse_args()
    begin = time.monotonic()
    effort = measure.QUICK if options.quick else measure.FULL
    measure.require_same_content()
    if options.check:
        measure.everything(measure.CHECK)
        return
    samples = instructions.count_all(effort.counts)
    if options.instructions:
        print(instructions.as_text(samples))
        return
    samples |= measure.everything(effort)
    (BUILD / "samples.json").write_text(json.dumps(samples, indent=1))
    rows = targets.rows(samples)
    if options.quick:
        print(page.table(rows))
    else:
        page.write(rows, samples, effort)
        plot.draw(samples)
    print(f"{time.monotonic() - begin:.0f} s")


if __name__ == "__main__":
    main()
