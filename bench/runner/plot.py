# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

"""Draws docs/performance/plot.svg with gnuplot."""

import subprocess
from statistics import median

from runner.programs import BUILD, ROOT, SUBJECTS
from runner.targets import SHAPES

PLOT = ROOT / "docs" / "performance" / "plot.svg"
LABELS = {
    "korvel-list": "Korvel, list",
    "korvel-keys": "Korvel, keys",
    "spdlog-nlohmann-list": "spdlog+nlohmann, list",
    "spdlog-nlohmann-keys": "spdlog+nlohmann, keys",
    "spdlog-fmt": "spdlog, by hand",
    "boost-log": "Boost.Log",
}
OWN, PEER, THIRD = "#1b6ca8", "#b0b0b0", "#d08770"
HEAD = f"""set terminal svg size 960,720 font "sans-serif,13" background "white"
set output "{PLOT}"
set multiplot layout 2,2
set style fill solid
set boxwidth 0.7
set yrange [0:*]
set grid y
set border 3
set tics nomirror
set xtics rotate by -30 left
set rmargin 8
"""


def bars(title, samples, pattern, scale):
    """One panel: a bar for each subject."""
    lines = [f'{i} {median(samples[pattern.format(name)]) * scale} "{LABELS[name]}"'
             for i, name in enumerate(SUBJECTS)]
    data = "\n".join(lines)
    color = f'($0 < 2 ? {int(OWN[1:], 16)} : {int(PEER[1:], 16)})'
    return (f'set title "{title}"\n$panel << END\n{data}\nEND\nunset key\n'
            f"plot $panel using 1:2:{color}:xtic(3) with boxes lc rgb variable\n")


def rendering(samples):
    """One panel: the speed of rendering beside nlohmann's, a group for each shape."""
    def speed(shape, name):
        base = median(samples[f"micro/render/{shape}/nlohmann"])
        return base / median(samples[f"micro/render/{shape}/{name}"])

    data = "\n".join(f'{shape} {speed(shape, "korvel")} {speed(shape, "rapidjson")} 1'
                     for shape in SHAPES)
    return (f'set title "Rendering speed, nlohmann = 1, logarithmic"\n$panel << END\n{data}\nEND\n'
            "set logscale y\nset yrange [0.5:100]\n"
            "set key top right\nset style data histograms\nset style histogram clustered gap 1\n"
            f'plot $panel using 2:xtic(1) lc rgb "{OWN}" title "Korvel", '
            f'"" using 3 lc rgb "{THIRD}" title "RapidJSON", '
            f'"" using 4 lc rgb "{PEER}" title "nlohmann"\n')


def draw(samples):
    script = HEAD
    script += bars("Caller, p50 in a burst, µs", samples, "burst1/{}/call_p50", 1e-3)
    script += bars("An entry until in the file, µs", samples, "burst1/{}/done", 1e-3)
    script += bars("Instructions an entry, thousands", samples, "instructions/{}", 1e-3)
    script += rendering(samples)
    file = BUILD / "plot.gp"
    file.write_text(script)
    PLOT.parent.mkdir(exist_ok=True)
    subprocess.run(["gnuplot", str(file)], check=True)
    print(f"Wrote {PLOT.relative_to(ROOT)}")
