#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

"""Checks what the pages show. The build compiles and runs the programs, so there are two commands:

check_docs.py extract DIRECTORY PAGE...
    Writes each cpp block into a file in DIRECTORY and prints the names of these files. A block
    without a main function becomes the body of one.
check_docs.py run PAGE NUMBER COMMAND...
    Runs the program of the NUMBER-th cpp block in a directory of its own. The text block between it
    and the next cpp block shows its standard output, and the json block its file *.jsonl. Times
    and thread ids differ from run to run, so they are compared as patterns.

A block in any other language must have a mark in the line before it that says what runs it instead, or
why nothing does: <!-- not run here: REASON -->. Blocks with this mark, or without a language, are not
checked.
"""

import pathlib
import re
import subprocess
import sys
import tempfile
from collections import namedtuple

MARK = re.compile(r"<!-- not run here: \S.* -->")
# The time of an entry in UTC, and as a console shows it in local time; the id of a thread.
VARYING = re.compile(
    r"\d{4}-\d{2}-\d{2}T\d{2}:\d{2}:\d{2}\.\d{3}Z|\d{2}:\d{2}:\d{2}\.\d{3}[+-]\d{2}:\d{2}"
    r'|(?<="thread":")\w+|(?<=thread=)\w+')

Block = namedtuple("Block", "language text line")


def blocks_of(page):
    """The blocks with a language and without a mark."""
    lines = page.read_text(encoding="utf-8").splitlines(keepends=True)
    blocks, start = [], None
    for number, line in enumerate(lines):
        if not line.startswith("```"):
            continue
        if start is None:
            start = number
            continue
        language = lines[start][3:].strip()
        is_marked = start > 0 and MARK.fullmatch(lines[start - 1].strip())
        if language and not is_marked:
            blocks.append(Block(language, "".join(lines[start + 1 : number]), start + 1))
        start = None
    if start is not None:
        sys.exit(f"{page}:{start + 1}: the block has no end")
    return blocks


def require_checked(page, blocks):
    """Nothing would check another language, or an output that is not the first one of a program."""
    outputs = set()
    for block in blocks:
        if block.language == "cpp":
            outputs = {"text", "json"}
        elif block.language in outputs:
            outputs.remove(block.language)
        else:
            sys.exit(f"{page}:{block.line}: nothing checks this {block.language} block; mark it")


def source_of(page, block):
    if re.search(r"^int main\(", block.text, re.M):
        return block.text
    lines = block.text.splitlines(keepends=True)
    includes = [line for line in lines if line.startswith("#")]
    body = ["\n" if line.startswith("#") else line for line in lines]
    return "".join(["#include <Korvel/Korvel.h>\n\n", *includes, "\nint main() {\n",
                    f'#line {block.line + 1} "{page.as_posix()}"\n', *body, "}\n"])


def extract(directory, *pages):
    pathlib.Path(directory).mkdir(parents=True, exist_ok=True)
    for page in map(pathlib.Path, pages):
        blocks = blocks_of(page)
        require_checked(page, blocks)
        programs = [block for block in blocks if block.language == "cpp"]
        for number, block in enumerate(programs, 1):
            file = pathlib.Path(directory, f"{page.stem}_{number}.cpp")
            source = source_of(page, block)
            if not file.exists() or file.read_text(encoding="utf-8") != source:
                file.write_text(source, encoding="utf-8")
            print(f"{page};{number};{file.name}")


def claims_of(page, number):
    """The outputs that the page shows for a program, by their language."""
    claims, current = {}, 0
    for block in blocks_of(page):
        current += block.language == "cpp"
        if current == number and block.language != "cpp":
            claims[block.language] = block
    return claims


def compare(page, block, real):
    if VARYING.sub("VARYING", block.text).rstrip() != VARYING.sub("VARYING", real).rstrip():
        sys.exit(f"{page}:{block.line}: the output differs. It is:\n{real}")


def run(page, number, *command):
    claims = claims_of(pathlib.Path(page), int(number))
    with tempfile.TemporaryDirectory() as directory:
        result = subprocess.run(command, cwd=directory, check=True, stdout=subprocess.PIPE,
                                text=True, encoding="utf-8")
        if "text" in claims:
            compare(page, claims["text"], result.stdout)
        if "json" in claims:
            [file] = pathlib.Path(directory).glob("*.jsonl")
            compare(page, claims["json"], file.read_text(encoding="utf-8"))


if __name__ == "__main__":
    {"extract": extract, "run": run}[sys.argv[1]](*sys.argv[2:])
