#!/usr/bin/env python3
"""Shows Doxygen our Markdown pages as every other viewer shows them: headings are link targets under their usual names,
links between pages lead to them, links to what is no page of the reference become plain text, and a diagram that only other
viewers draw is left out; the text beside it says the same. Usage: pages.py PAGE
"""
import html
import os
import re
import sys

HEADING = re.compile(r"^(#{2,6}) (.*?)\s*$")
LINK = re.compile(r"(?<!!)\[([^\]]+)\]\(([^)\s]+)\)")


def slug(title):
    """The name of a heading as the usual viewers make it."""
    return re.sub(r"\s", "-", re.sub(r"[^\w\s-]", "", title.lower().replace("`", "")))


def anchor(page, name):
    return "page_" + re.sub(r"\W", "_", os.path.splitext(page)[0]) + "-" + name


def code(match):
    """In a code span Doxygen stumbles over a lone quote or backslash and resolves entities; in an element all are plain."""
    text = match.group(1)
    if not re.search(r'["\\&]', text):
        return match.group(0)
    return "<code>" + html.escape(text).replace("\\", "\\\\") + "</code>"


def link(page):
    def replacement(match):
        text, target = match.groups()
        if re.match(r"[a-z]+://", target):
            return match.group(0)
        path, _, name = target.partition("#")
        file = os.path.normpath(os.path.join(os.path.dirname(page), path)) if path else page
        if not file.endswith(".md") or not (file == "CHANGELOG.md" or file.startswith("docs/")):
            return text
        return f"[{text}](@ref {anchor(file, name)})" if name else f"[{text}](@ref {anchor(file, 'page')})"
    return replacement


def list_pages(folder):
    print()
    for name in sorted(os.listdir(folder)):
        page = os.path.join(folder, name)
        if name != "README.md":
            with open(page, encoding="utf-8") as source:
                title = source.readline().removeprefix("# ").strip()
            print(f"- [{title.replace('. ', ': ', 1)}](@ref {anchor(page, 'page')})")


def main(page):
    fence = ""
    first = True
    with open(page, encoding="utf-8") as source:
        for line in source.read().split("\n")[:-1]:
            mark = re.match(r"\s*(```+)(\w*)", line)
            if mark:
                if not fence:
                    fence = mark.group(2) or "code"
                    line = "" if fence == "mermaid" else line
                else:
                    line, fence = ("" if fence == "mermaid" else line), ""
            elif fence == "mermaid":
                line = ""
            elif not fence:
                if first and line.startswith("# "):
                    line = re.sub(r"^# (\d+)\. ", r"# \1: ", line)  # else it would be a list
                    line, first = f"{line} {{#{anchor(page, 'page')}}}", False
                elif heading := HEADING.match(line):
                    line = f"{line} {{#{anchor(page, slug(heading.group(2)))}}}"
                line = re.sub(r"`([^`]+)`", code, LINK.sub(link(page), line))
            print(line)
    if page == "docs/decisions/README.md":  # elsewhere the folder itself is the list
        list_pages(os.path.dirname(page))


main(os.path.relpath(sys.argv[1]))
