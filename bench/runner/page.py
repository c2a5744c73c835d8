# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

"""Writes docs/performance/results.md."""

import platform
import re
import subprocess
from datetime import date
from pathlib import Path
from statistics import median

from runner.measure import TEXT_SHAPES
from runner.programs import BUILD, FILES, NAMES, ROOT, SUBJECTS
from runner.targets import OFF, SHAPES, TEXTS, duration, plain

RESULTS = ROOT / "docs" / "performance" / "results.md"
PACKAGES = ["libspdlog-dev", "libfmt-dev", "libboost-log-dev", "nlohmann-json3-dev",
            "rapidjson-dev", "libbenchmark-dev", "valgrind"]
RENDERERS = ["korvel", "nlohmann", "rapidjson", "rapidjson-sse2"]


def as_table(head, lines):
    return "\n".join("| " + " | ".join(line) + " |" for line in [head, ["---"] * len(head), *lines])


def table(rows):
    lines = [[row.measure, row.korvel, row.peer, f"{row.ratio:.3g}", f"{row.sign} {row.target:g}",
              "yes" if row.met else "**no**"] for row in rows]
    return as_table(["Measure", "Korvel", "Beside", "Ratio", "Target", "Met"], lines)


def told_by(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout.strip()


def machine(effort):
    info = Path("/proc/cpuinfo").read_text()
    model = re.search(r"model name\s*: (.*)", info)
    cores = len(re.findall(r"^processor\s*:", info, re.M))
    cache = (BUILD / "CMakeCache.txt").read_text()
    compiler = re.search(r"CMAKE_CXX_COMPILER:\w+=(.*)", cache)[1]
    system = platform.freedesktop_os_release()["PRETTY_NAME"]
    versions = [told_by("dpkg-query", "-W", "-f=${Package} ${Version}", p) for p in PACKAGES]
    return as_table(["", ""], [
        ["Date", date.today().isoformat()],
        ["Processor", f"{model[1] if model else 'unknown'}, {cores} cores"],
        ["System", f"{system}, Linux {platform.release()}, glibc {platform.libc_ver()[1]}"],
        ["File system", told_by("findmnt", "-n", "-o", "FSTYPE", "-T", str(FILES))],
        ["Compiler", told_by(compiler, "--version").splitlines()[0] + ", -O2 -g -DNDEBUG"],
        ["Packages", ", ".join(versions)],
        ["Rounds", f"{effort.rounds}, with {effort.burst:,} entries in a burst"],
    ])


def pipeline_figures(samples, load):
    keys = ["call_mean", "call_p50", "call_p99", "call_p999", "done", "cpu"]
    # A paced producer spins between its entries, so the last two would show nothing.
    keys = keys if load.startswith("burst") else keys[:4]
    heads = ["", "mean", "p50", "p99", "p99.9", "until in the file", "processor time"]
    lines = []
    for subject in SUBJECTS:
        figures = [median(samples[f"{load}/{subject}/{key}"]) for key in keys]
        lines.append([NAMES[subject], *map(duration, figures)])
    return as_table(heads[:len(keys) + 1], lines)


def entry_figures(samples):
    lines = [[NAMES[subject], plain(median(samples[f"instructions/{subject}"])),
              plain(samples[f"held/{subject}/heap"][0])] for subject in SUBJECTS]
    return as_table(["", "instructions an entry", "heap of a queued entry, bytes"], lines)


def rendering_figures(samples):
    lines = []
    for shape, name in SHAPES.items():
        cells = []
        for renderer in RENDERERS:
            key = f"micro/render/{shape}/{renderer}"
            same = shape not in TEXT_SHAPES or same_length(samples, shape, renderer)
            cells.append(duration(median(samples[key])) if same else "other text")
        lines.append([name, *cells])
    return as_table(["", "Korvel", "nlohmann", "RapidJSON", "RapidJSON, SSE2"], lines)


def same_length(samples, shape, renderer):
    own, other = (samples[f"micro/render/{shape}/{name}/bytes"] for name in ("korvel", renderer))
    return own == other


def other_figures(samples):
    def told(name):
        return duration(median(samples[name]))

    lines = [[f"{call}, {TEXTS[text]}", *(told(f"micro/{call}/{text}/{subject}")
                                              for subject in ("korvel", "iconv", "copy"))]
             for call in ("strToWstr", "wstrToStr") for text in TEXTS]
    conversions = as_table(["", "Korvel", "iconv", "copy of the bytes"], lines)
    lines = [[work, told(f"micro/{work}/korvel"), told(f"micro/{work}/nlohmann")]
             for work in ("build/list", "build/keys", "copy/entry", "destroy/entry")]
    trees = as_table(["", "Korvel", "nlohmann::json"], lines)
    lines = [[str(n), *(told(f"rotate{n}/append_{key}") for key in ("p50", "p999", "max")),
              plain(median(samples[f"rotate{n}/files"]))] for n in (1, 2)]
    rotation = as_table(["threads", "p50", "p99.9", "worst", "files"], lines)
    return conversions, trees, rotation


def off_figures(samples):
    """Of a call whose severity is off. spdlog has neither a question that is compared nor a lazy form."""
    lines = []
    for name, work in {**OFF, "list": "three values in a list"}.items():
        keys = [f"micro/off/{name}/{subject}" for subject in ("korvel", "spdlog")]
        cells = [duration(median(samples[key])) if key in samples else "" for key in keys]
        lines.append([work, *cells])
    return as_table(["", "Korvel", "spdlog"], lines)


def growth_figures(samples):
    lines = []
    for kind in ("entries", "producers"):
        for name in samples:
            found = re.fullmatch(f"growth/{kind}/(\\d+)/done", name)
            if found:
                noun = kind if found[1] != "1" else kind[:-1]
                lines.append([f"{int(found[1]):,} {noun}", duration(median(samples[name]))])
    return as_table(["", "time an entry"], lines)


def write(rows, samples, effort):
    conversions, trees, rotation = other_figures(samples)
    sections = [
        "# Results",
        "Written by `scripts/bench`. [README.md](README.md) explains the terms.",
        machine(effort),
        "## Ratios and targets", table(rows),
        "## Figures: one producer in a burst", pipeline_figures(samples, "burst1"),
        "## Figures: four producers in a burst", pipeline_figures(samples, "burst4"),
        "## Figures: one producer every 50 µs", pipeline_figures(samples, "paced1"),
        "## Figures: four producers every 50 µs", pipeline_figures(samples, "paced4"),
        "## Figures: an entry", entry_figures(samples),
        "## Figures: rendering", rendering_figures(samples),
        "## Figures: conversions", conversions,
        "## Figures: trees", trees,
        "## Figures: appends to a rotating LogglySink", rotation,
        "## Figures: a severity that is off", off_figures(samples),
        "## Figures: growth", growth_figures(samples),
    ]
    RESULTS.parent.mkdir(exist_ok=True)
    RESULTS.write_text("\n\n".join(sections) + "\n")
    print(f"Wrote {RESULTS.relative_to(ROOT)}")
