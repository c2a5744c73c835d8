#!/usr/bin/env python3
"""check_readme.py README SOURCE COMMAND...: the README shows SOURCE as it stands, and the outputs
that it claims are those of COMMAND. Times differ from run to run, so they are compared as a
pattern."""

import pathlib
import re
import subprocess
import sys
import tempfile

TIME = re.compile(r"\d{4}-\d{2}-\d{2}T\d{2}:\d{2}:\d{2}\.\d{3}Z")


def block(readme, language, number=0):
    found = re.findall(rf"^```{language}\n(.*?)^```$", readme, re.M | re.S)
    if len(found) <= number:
        sys.exit(f"the README has no {language} block number {number + 1}")
    return found[number]


def expect(what, shown, real):
    if TIME.sub("TIME", shown).rstrip() != TIME.sub("TIME", real).rstrip():
        sys.exit(f"{what} differs.\nREADME:\n{shown}\nReality:\n{real}")


def main():
    readme_path, source, *command = sys.argv[1:]
    readme = pathlib.Path(readme_path).read_text(encoding="utf-8")
    expect("the program", block(readme, "cpp"), pathlib.Path(source).read_text(encoding="utf-8"))
    with tempfile.TemporaryDirectory() as directory:
        run = subprocess.run(command, cwd=directory, check=True, capture_output=True, text=True,
                             encoding="utf-8")
        expect("the console output", block(readme, "text"), run.stdout)
        log = pathlib.Path(directory, "app.jsonl").read_text(encoding="utf-8")
        expect("the log file", block(readme, "json"), log)


main()
