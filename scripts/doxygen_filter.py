#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

"""doxygen_filter.py FILE: prints a page or a header as Doxygen needs it, so that the file itself stays
plain Markdown or plain C++.

Page: headings get the anchors that hosting services give them, and links lead to the pages and classes
of the site. A link to a file that is not on the site becomes plain text.

Header: an overload without a comment, directly after another function of the same name, gets the
comment of that function. Private members are left out, and so are defaulted and deleted ones without
a comment.
"""

import os
import pathlib
import re
import sys

HEADING = re.compile(r"(#+) +(.*?) *$")
LINK = re.compile(r"(!?)\[((?:`[^`]*`|[^][`])*)\]\(([^()\s]+)\)")
NOTICE = re.compile(r"\A(<!-- SPDX-.*\n)+")
CODE = re.compile(r"(`+[^`]+`+)")
NAME = re.compile(r"(~?\w+|operator\W+)\(")


def page_id(path):
    """The name of the page on the site: extras for docs/extras.md, performance for its README.md."""
    if path.as_posix() == "README.md":
        return "index"
    name = path.as_posix().lower().removesuffix(".md").removeprefix("docs/").removesuffix("/readme")
    return name.replace("/", "-")


def slug(heading):
    return re.sub(r"[^\w\- ]", "", heading.lower(), flags=re.ASCII).replace(" ", "-")


def subject_of(header):
    """The class that a header is named after, or else the namespace."""
    namespace = header.parent.relative_to("include").as_posix().replace("/", "::")
    declares = rf"^class (\w+ )?{header.stem} "
    is_class = re.search(declares, header.read_text(encoding="utf-8"), re.M)
    return f"{namespace}::{header.stem}" if is_class else namespace


def convert_link(page, match):
    is_image, text, target = match.groups()
    file, _, anchor = target.partition("#")
    if ":" in target:
        return match[0]
    path = pathlib.Path(os.path.normpath(page.parent / file)) if file else page
    if is_image:
        return f"![{text}]({path.name})"
    if path.suffix == ".md" and path.exists():
        return f"[{text}](@ref {page_id(path)}{'-' + anchor if anchor else ''})"
    if path.suffix == ".h" and path.is_relative_to("include"):
        return f"[{text}](@ref {subject_of(path)})"
    return text


def convert_line(page, line):
    line = LINK.sub(lambda match: convert_link(page, match), line)
    parts = CODE.split(line)
    parts[::2] = [re.sub(r"@(?!ref )", r"\\@", part) for part in parts[::2]]
    return "".join(parts)


def convert_page(page, text):
    is_code, is_title, seen = False, True, {}
    for line in NOTICE.sub("", text).splitlines():
        heading = HEADING.match(line)
        if line.lstrip().startswith("```"):
            is_code = not is_code
        elif heading and not is_code:
            name = slug(heading[2])
            seen[name] = seen.get(name, -1) + 1
            number = f"-{seen[name]}" if seen[name] else ""
            anchor = page_id(page) if is_title else f"{page_id(page)}-{name}{number}"
            line, is_title = f"{line} {{#{'mainpage' if anchor == 'index' else anchor}}}", False
        elif not is_code:
            line = convert_line(page, line)
        print(line)


def convert_header(text):
    """Line by line, because clang-format has put each declaration on lines of its own."""
    comment, documented, owner = [], [], ""
    template, is_private = "", False
    for line in text.splitlines():
        is_private = (is_private or line == "private:") and not line.startswith("}")
        if is_private:
            print()
            continue
        declares = re.match(r"(    )?[\w\[]", line) is not None
        name = NAME.search(line) if declares else None
        if line.lstrip().startswith("/// ") or line.strip() == "///":
            comment.append(line.strip()[4:] or "<p>")
        elif not line:
            comment, owner = [], ""
        elif line.startswith("    template") or (template and not declares):
            template += f"{line}\n"
            continue
        elif declares and not comment and re.search(r"= (default|delete);$", line):
            line = ""
        elif name:
            if not comment and documented and "///<" not in line and name[1] == owner:
                template = f"/** {' '.join(documented)} */ {template}"
            else:
                documented, owner = comment, name[1]
            comment = []
        elif declares:
            comment, owner = [], ""
        print(template + line)
        template = ""


if __name__ == "__main__":
    path = pathlib.Path(sys.argv[1])
    path = path.relative_to(pathlib.Path.cwd()) if path.is_absolute() else path
    content = path.read_text(encoding="utf-8")
    convert_page(path, content) if path.suffix == ".md" else convert_header(content)
