#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

"""gdb_test.py PROGRAM LIBRARY SCRIPT NATVIS: lets gdb show Messages of every type.

It does so in the running program and in its core file, with the script where an installation puts it.
The natvis file is for another debugger, which does not exist here: what it names must exist.
"""

import pathlib
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree

MAP_OF_40 = ", ".join(f'["{key}"] = {40 - int(key[1:])}'
                      for key in sorted(f"k{i}" for i in range(1, 41)))
SHOWN = {
    "values.null": "Null",
    "values.truth": "true",
    "values.real": "59.9",
    "values.integer": "-4711",
    "values.empty": '""',
    "values.brief": '"caf\u00e9"',
    "values.text": "'x' <repeats 200 times>...",
    "values.wide": r'L"lone \xd800."',
    "values.vector": 'Vector of 3 = {1, "two", Vector of 1 = {3}}',
    "values.slots": 'Map of 3 = {["a"] = Map of 1 = {["in"] = "side"}, ["b"] = 1, '
                    '["fifteen letters"] = Null}',
    "values.overflow": 'Map of 7 = {["k1"] = 6, ["k2"] = 5, ["k3"] = 4, ["k4"] = 3, ["k5"] = 2, '
                       '["k6"] = 1, ["k7"] = 0}',
    "values.shown": 'Map of 3 = {["k1"] = 1, ["k2"] = 0, ["k3"] = "later"}',
    "values.mixed": 'Map of 3 = {["a key that does not fit into a slot"] = "two", ["short"] = 1, '
                    '["\u00fc"] = 3}',
    "values.adopted": f"Map of 40 = {{{MAP_OF_40}}}",
    "values.emptyMap": "Map of 0",
    "alias": "1",
    "*(Korvel::Message*)garbage": "<no Message: type 255>",
    "*(Korvel::Message*)wild": "<no Message: it points to memory that cannot be read>",
}
CLASSES = ("Message", "Detail::Value", "Detail::Plain", "Detail::Payload", "Detail::Short", "MapNode",
           "MapNode::Slot", "ShortKey", "VectorNode", "TextNode")
OF_OTHER_LIBRARIES = {"_Elems", "_Storage", "_Value"}


def gdb(directory, *arguments):
    command = ["gdb", "-nx", "-batch", "-iex", "set auto-load safe-path /",
               "-iex", f"set auto-load scripts-directory {directory}",
               "-iex", "set debuginfod enabled off", "-ex", "set width 0",
               "-ex", "set host-charset UTF-8", *arguments]
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                            encoding="utf-8", check=True)
    return result.stdout + result.stderr


def compare(name, output):
    shown = dict(line.split(":=", 1) for line in output.splitlines() if ":=" in line)
    if shown != SHOWN:
        sys.exit(f"{name}: gdb shows\n{output}")


def check_natvis(file, library):
    code = " ".join(part for element in ElementTree.parse(file).iter()
                    for part in (element.text, element.get("Condition"), element.get("Name")) if part)
    types = set(re.findall(r"Korvel(?:::\w+)+", code))
    members = set(re.findall(r"(?:\.|->)([A-Za-z_]\w*)|\b([a-z]\w*_)\b", code))
    wanted = {name for pair in members for name in pair} - OF_OTHER_LIBRARIES - {""}
    commands = [f"whatis '{name}'" for name in types] + [f"ptype 'Korvel::{name}'" for name in CLASSES]
    output = gdb("/", *(item for command in commands for item in ("-ex", command)), str(library))
    missing = [name for name in wanted if not re.search(rf"\b{name}(\[\w+\])?;", output)]
    if missing or "No symbol" in output or "no member" in output or not wanted or not types:
        sys.exit(f"{file} names what does not exist: {missing}\n{output}")


def main():
    program, library, script, natvis = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
    prints = ["-ex", "frame function main", "-ex", "set print elements 200"]
    for expression in SHOWN:
        prints += ["-ex", f"echo {expression}:=", "-ex", f"output {expression}", "-ex", "echo \\n"]
    with tempfile.TemporaryDirectory() as directory:
        place = pathlib.Path(f"{directory}{library}-gdb.py")
        place.parent.mkdir(parents=True)
        place.write_bytes(script.read_bytes())
        core = pathlib.Path(directory, "core")
        compare("live", gdb(directory, "-ex", "run", *prints, "-ex", f"generate-core-file {core}",
                            str(program)))
        compare("core", gdb(directory, *prints, str(program), str(core)))
    check_natvis(natvis, library)


main()
