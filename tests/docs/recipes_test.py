# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

"""Runs the shell recipes of a page: recipes_test.py PAGE PROGRAM...

They are the sh blocks with the mark below. All of a page run in one directory, in order, with the
PROGRAMs of the build on the PATH. The program that a page shows has run before. An unmarked block
without a language that follows is the output. Times differ, so they are compared as a pattern.
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile

MARK = "<!-- not run here: tests/docs runs it -->"
RECIPE = re.compile(re.escape(MARK) + r"\n```sh\n(.*?)^```\n(?:\n```\n(.*?)^```\n)?", re.M | re.S)
TIME = re.compile(r"\d{4}-\d\d-\d\d[T ]\d\d:\d\d:\d\d\.\d{3}Z?|\d\d:\d\d:\d\d\.\d{3}[+-]\d\d:\d\d")


def lines_of(text):
    """Some tools pad the last column."""
    return [line.rstrip() for line in TIME.sub("TIME", text).splitlines()]


def run(command, directory, environment):
    result = subprocess.run(command, cwd=directory, env=environment, check=False,
                            stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    output = result.stdout.decode("utf-8")
    assert result.returncode == 0, f"{command} ended with {result.returncode}:\n{output}"
    return output


page, *programs = map(pathlib.Path, sys.argv[1:])
recipes = RECIPE.findall(page.read_text(encoding="utf-8"))
assert len(recipes) == page.read_text(encoding="utf-8").count(MARK) > 0, "a recipe has another form"
path = [str(program.parent) for program in programs] + [os.environ["PATH"]]
with tempfile.TemporaryDirectory() as name:
    # lnav keeps its formats in the home directory.
    environment = {**os.environ, "PATH": ":".join(path), "HOME": name, "TZ": "UTC",
                   "LC_ALL": "C.UTF-8", "FORMATS": str(page.parents[1] / "examples" / "viewing")}
    if programs[0].name.startswith("docs_"):
        run([programs[0]], name, environment)
    for script, expected in recipes:
        # timeout also ends what a recipe has left in the background.
        output = run(["timeout", "60", "bash", "-ec", script], name, environment)
        assert lines_of(output) == lines_of(expected), f"{script}\nprints:\n{output}"
