# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

"""The rows of the table: what Korvel costs beside a peer, and what is aimed at.

A ratio is the median of the ratios of rounds, each of which ran both sides one soon after the
other. Each style of Korvel has a row of its own, beside the same style of a peer that has both.
"""

import math
from dataclasses import dataclass
from statistics import median

from runner.measure import GROWING_ENTRIES, GROWING_PRODUCERS
from runner.programs import BOOST_PEER, FMT_PEER, JSON_PEERS, KORVEL

STYLES = ("list", "key by key")
BOTH = {"spdlog + nlohmann": JSON_PEERS, "Boost.Log": [BOOST_PEER, BOOST_PEER]}
TEXTS = {"ascii": "64 KiB of ASCII", "mixed": "64 KiB of mixed scripts"}
SHAPES = {
    "entry": "the entry",
    **TEXTS,
    "escapes": "64 KiB full of escapes",
    "integers": "4,096 integers",
    "doubles": "4,096 doubles",
}
WIDTHS = (100, 100_000)
# Of each pair of bench_micro: the work, what it is compared with, and the highest ratio. A Map may cost
# a tenth more than in its first form, whose ratios are the second factors.
PAIRS = {
    "sink/console": ("Append to ConsoleSink", "pretty FileSink", 2),
    "sink/loggly": ("Append to LogglySink", "FileSink", 1.1),
    "extras/wellFormed": ("Append through WellFormedSink", "FileSink", 1.15),
    "map/copy/100": ("Copying a Map of 100 keys", "std::map", 1.1 * 2.16),
    "map/take/100": ("Moving a std::map of 100 keys in", "std::map", 1.1 * 1.335),
    "map/take/1000": ("Moving a std::map of 1,000 keys in", "std::map", 1.1 * 1.44),
}

# Pairs whose difference has a limit, in nanoseconds.
ADDED = {
    "filter/read": ("Reading a key in a Filter adds", 45),
    "extras/context": ("A context extender adds without a scope", 5),
    "extras/monitor": ("A Monitor adds to an entry", 10),
}
# The forms of a call whose severity is off that have a limit.
OFF = {"isOn": "isOn", "bare": "no payload", "lazy": "lazy payload"}


@dataclass
class Row:
    measure: str
    korvel: str
    peer: str
    ratio: float
    sign: str
    target: float

    @property
    def met(self):
        return self.ratio <= self.target if self.sign == "≤" else self.ratio >= self.target


def duration(nanoseconds):
    for limit, unit in ((1e3, "ns"), (1e6, "µs"), (1e9, "ms")):
        if nanoseconds < limit:
            return f"{nanoseconds * 1e3 / limit:.3g} {unit}"
    return f"{nanoseconds / 1e9:.3g} s"


def plain(number):
    return f"{number:,.0f}"


def ratio_of(samples, name, other):
    return median(a / b for a, b in zip(samples[name], samples[other], strict=True))


def cost(samples, measure, pattern, peers, limits, text=duration):
    """A row for each peer and style, of a cost that must be at most so many times the peer's."""
    for limit, (peer, names) in zip(limits, peers.items(), strict=True):
        for style, own_name, other_name in zip(STYLES, KORVEL, names, strict=True):
            own, other = pattern.format(own_name), pattern.format(other_name)
            told = f"{peer}: {text(median(samples[other]))}"
            ratio = ratio_of(samples, own, other)
            yield Row(f"{measure}; {style}", text(median(samples[own])), told, ratio, "≤", limit)


def speed(samples, measure, own, other, peer, limit):
    """A row of a speed that must be at least so many times the peer's."""
    told = f"{peer}: {duration(median(samples[other]))}"
    ratio = ratio_of(samples, other, own)
    return Row(measure, duration(median(samples[own])), told, ratio, "≥", limit)


def bound(samples, measure, name, limit, text=duration):
    """A row of a cost that has a limit of its own. The ratio is to that limit."""
    value = median(samples[name])
    return Row(measure, text(value), f"limit: {text(limit)}", value / limit, "≤", 1)


def bounds(samples, measure, pattern, limits, text):
    """A row for each style, of a cost that has a limit of its own."""
    for style, name, limit in zip(STYLES, KORVEL, limits, strict=True):
        yield bound(samples, f"{measure}; {style}", pattern.format(name), limit, text)


def fastest(samples, measure, pattern, peer, names, limits):
    """A row for each style, of the fastest round of either side. It varies by 2 % between runs, also
    on a busy machine; the median of the rounds' ratios varies by 15 %."""
    for style, limit, *pair in zip(STYLES, limits, KORVEL, names, strict=True):
        own, other = (min(samples[pattern.format(name)]) for name in pair)
        told = f"{peer}: {duration(other)}"
        yield Row(f"{measure}; {style}", duration(own), told, own / other, "≤", limit)


def pipeline_rows(samples):
    fmt = {"spdlog, by hand": [FMT_PEER, FMT_PEER]}
    yield from cost(
        samples, "Instructions an entry", "instructions/{}", BOTH, (0.5, 0.5), plain
    )
    yield from bounds(samples, "Instructions an entry", "instructions/{}", (11_200, 12_800), plain)
    for load, name in (("burst1", "in a burst"), ("paced1", "every 50 µs")):
        measure = f"Caller's p50, one producer, {name}"
        yield from cost(samples, measure, load + "/{}/call_p50", BOTH, (0.35, 0.8))
    measure = "Caller's p50, one producer, in a burst, fastest round"
    peer, names = next(iter(BOTH.items()))
    # A twentieth more than a run with the ratios 0.189 and 0.318.
    yield from fastest(samples, measure, "burst1/{}/call_p50", peer, names, (0.198, 0.334))
    for load, name in (("burst4", "in a burst"), ("paced4", "every 50 µs")):
        measure = f"Caller's p99, four producers, {name}"
        yield from cost(samples, measure, load + "/{}/call_p99", BOTH, (1, 1))
    measure = "Time an entry until the last is in the file"
    yield from cost(samples, measure, "burst1/{}/done", {**BOTH, **fmt}, (0.5, 0.5, 1.5))


def part_rows(samples):
    for shape, name in SHAPES.items():
        for peer, label, limit in (("rapidjson", "RapidJSON", 1), ("nlohmann", "nlohmann", 2)):
            own, other = f"micro/render/{shape}/korvel", f"micro/render/{shape}/{peer}"
            yield speed(samples, f"Rendering speed, {name}", own, other, label, limit)
    for text, limit in (("ascii", 5), ("mixed", 2)):
        for call in ("strToWstr", "wstrToStr"):
            own, other = f"micro/{call}/{text}/korvel", f"micro/{call}/{text}/iconv"
            yield speed(samples, f"{call} speed, {TEXTS[text]}", own, other, "iconv", limit)
    for work, name in (("build/list", "building, list"), ("build/keys", "building, key by key"),
                       ("copy/entry", "copying")):
        own, other = f"micro/{work}/korvel", f"micro/{work}/nlohmann"
        yield speed(samples, f"Tree speed, {name}", own, other, "nlohmann::json", 1.3)


def limit_rows(samples):
    yield bound(samples, "Flush of an idle handler, p50", "idle/flush_p50", 200e3)
    yield bound(samples, "Flush of an idle handler, p99", "idle/flush_p99", 2e6)
    worst = max(KORVEL, key=lambda name: samples[f"held/{name}/heap"])
    yield bound(samples, "Heap of a queued entry, bytes", f"held/{worst}/heap", 2048, plain)
    yield from bounds(samples, "Heap of a queued entry, bytes", "held/{}/heap", (673.3, 673.3), plain)
    yield bound(samples, "20 keys by operator[]", "micro/build/20-keys/korvel", 350)


def added(samples, name):
    """How much longer the measured side of a pair takes."""
    sides = (samples[f"micro/{name}/{side}"] for side in ("own", "other"))
    return [own - other for own, other in zip(*sides, strict=True)]


def pair_rows(samples):
    for name, (work, peer, limit) in PAIRS.items():
        own, other = f"micro/{name}/own", f"micro/{name}/other"
        told = f"{peer}: {duration(median(samples[other]))}"
        ratio = ratio_of(samples, own, other)
        yield Row(work, duration(median(samples[own])), told, ratio, "≤", round(limit, 3))
    for name, (work, limit) in ADDED.items():
        yield bound({"added": added(samples, name)}, work, "added", limit)


def off_rows(samples):
    for name, work in OFF.items():
        yield bound(samples, f"A severity that is off, {work}", f"micro/off/{name}/korvel", 3)


def growth_row(samples, measure, sizes, prefix):
    """The worst of the larger sizes beside the smallest."""
    first = f"{prefix}/{sizes[0]}/done"
    ratio, name = max((ratio_of(samples, f"{prefix}/{n}/done", first), n) for n in sizes[1:])
    told = f"{sizes[0]:,}: {duration(median(samples[first]))}"
    own = f"{name:,}: {duration(median(samples[f'{prefix}/{name}/done']))}"
    return Row(measure, own, told, ratio, "≤", 1.2)


def linear_row(samples, kind):
    """Linear work has the exponent 1, quadratic work the exponent 2."""
    small, large = (f"micro/growth/{kind}/{size}" for size in WIDTHS)
    bytes_ratio = samples[large + "/bytes"][0] / samples[small + "/bytes"][0]
    exponent = math.log(ratio_of(samples, large, small)) / math.log(bytes_ratio)
    own, other = (f"{median(samples[n]) / samples[n + '/bytes'][0]:.3g} ns a byte"
                  for n in (large, small))
    return Row(f"Rendering by {kind}, exponent of growth", f"{WIDTHS[1]:,}: {own}",
               f"{WIDTHS[0]:,}: {other}", exponent, "≤", 1.1)


def rows(samples):
    return [
        *pipeline_rows(samples),
        *part_rows(samples),
        *limit_rows(samples),
        *pair_rows(samples),
        *off_rows(samples),
        growth_row(samples, "Time an entry, by number of entries", GROWING_ENTRIES, "growth/entries"),
        growth_row(samples, "Time an entry, by number of producers", GROWING_PRODUCERS, "growth/producers"),
        linear_row(samples, "width"),
        linear_row(samples, "depth"),
    ]
