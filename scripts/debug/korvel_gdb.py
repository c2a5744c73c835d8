# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

"""Shows the value of a Korvel::Message in gdb, also from a core file.

It is installed with the shared library, and gdb loads it automatically. For a static library:
    (gdb) source korvel_gdb.py

It only reads memory, and needs only the debug information of the program: it knows the layouts of the
nodes in src/message of the same version, for 64-bit programs with libstdc++.
"""

import json

import gdb
import gdb.printing

NULL, BOOLEAN, DOUBLE, INTEGER, SHORT_TEXT = 0, 1, 2, 3, 16
TEXT, WIDE_TEXT, VECTOR, MAP, ALIAS = 32, 33, 34, 35, 36
SLOT_SIZE, MAP_NODE_SIZE, KEY_SIZE = 32, 64, 32
MAX_SHOWN_KEY = 200


def read(address, size):
    return bytes(gdb.selected_inferior().read_memory(address, size))


def number(address, size=8):
    return int.from_bytes(read(address, size), "little")


def text(address, size, unit, encoding):
    """A text in memory. gdb shows as much of it as `set print elements` allows."""
    pointer = gdb.Value(address).cast(gdb.lookup_type(unit).pointer())
    return pointer.lazy_string(encoding, length=size)


def wide_text(string):
    return text(number(string), number(string + 8), "wchar_t", "UTF-32LE")


def message_at(address, kind):
    return gdb.Value(address).cast(kind.pointer()).dereference()


def slots_of(node):
    """The key and the address of the value of every slot, by key."""
    overflow, size, capacity = number(node + 16), number(node + 56, 1), number(node + 57, 1)
    for index in read(node + 24, size):
        block = (node + MAP_NODE_SIZE + index * SLOT_SIZE if index < capacity
                 else overflow + (index - capacity) * SLOT_SIZE)
        head, tail = number(block), number(block + 8)
        characters = head.to_bytes(8, "big") + tail.to_bytes(8, "big")
        yield characters[: tail & 0xFF].decode("ascii", "replace"), block + 16


def key_at(string):
    """A key of a std::map, which can be of any length."""
    size = number(string + 8)
    units = read(number(string), 4 * min(size, MAX_SHOWN_KEY))
    return units.decode("utf-32-le", "replace") + "..." * (size > MAX_SHOWN_KEY)


def entries_of_map(shown):
    """The key and the address of the value of every entry of a std::map."""
    header, size = shown + 8, number(shown + 40)
    entry = number(header + 16)
    for _ in range(size):
        yield key_at(entry + 32), entry + 32 + KEY_SIZE
        following = number(entry + 24)
        if following:
            while following:
                entry, following = following, number(following + 16)
            continue
        child, entry = entry, number(entry + 8)
        while entry != header and number(entry + 24) == child:
            child, entry = entry, number(entry + 8)


class Scalar:
    def __init__(self, shown, hint=None):
        self.shown, self.hint = shown, hint

    def to_string(self):
        return self.shown

    def display_hint(self):
        return self.hint


class Vector:
    def __init__(self, node, kind):
        self.begin, self.kind = number(node), kind
        self.size = (number(node + 8) - self.begin) // kind.sizeof

    def to_string(self):
        return f"Vector of {self.size}"

    def children(self):
        for i in range(self.size):
            yield str(i), message_at(self.begin + i * self.kind.sizeof, self.kind)

    def display_hint(self):
        return "array"


class Map:
    def __init__(self, node, kind):
        self.kind = kind
        is_indexed_by_slots, shown = number(node + 58, 1), number(node + 8)
        self.size = number(node + 56, 1) if is_indexed_by_slots else number(shown + 40)
        self.entries = slots_of(node) if is_indexed_by_slots else entries_of_map(shown)

    def to_string(self):
        return f"Map of {self.size}"

    def children(self):
        for key, value in self.entries:
            yield "key", json.dumps(key, ensure_ascii=False)
            yield "value", message_at(value, self.kind)

    def display_hint(self):
        return "map"


def printer_of(message):
    plain = message["value_"]["plain"]
    kind, payload = int(plain["type"]), plain["payload"]
    address = int(payload["target"])
    if SHORT_TEXT <= kind < TEXT:
        characters = message["value_"]["brief"]["bytes"]
        content = bytes(int(characters[i]) & 0xFF for i in range(kind - SHORT_TEXT))
        return Scalar(content.decode("utf-8", "replace"), "string")
    if kind == ALIAS:
        return printer_of(payload["target"].dereference())
    type_of_message = message.type.strip_typedefs().unqualified()
    make = {
        NULL: lambda: Scalar("Null"),
        BOOLEAN: lambda: Scalar(str(bool(payload["boolean"])).lower()),
        DOUBLE: lambda: Scalar(str(float(payload["real"]))),
        INTEGER: lambda: Scalar(str(int(payload["integer"]))),
        TEXT: lambda: Scalar(text(address + 8, number(address), "char", "UTF-8"), "string"),
        WIDE_TEXT: lambda: Scalar(wide_text(address), "string"),
        VECTOR: lambda: Vector(address, type_of_message),
        MAP: lambda: Map(address, type_of_message),
    }.get(kind)
    return make() if make else Scalar(f"<no Message: type {kind}>")


def guarded(message):
    """A Message that is not yet constructed, or is destroyed, can point anywhere."""
    if message.type.code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF):
        message = message.referenced_value()
    try:
        return printer_of(message)
    except gdb.MemoryError:
        return Scalar("<no Message: it points to memory that cannot be read>")


PRINTERS = gdb.printing.RegexpCollectionPrettyPrinter("Korvel")
PRINTERS.add_printer("Message", "^Korvel::Message$", guarded)
gdb.printing.register_pretty_printer(gdb.current_objfile(), PRINTERS, replace=True)
