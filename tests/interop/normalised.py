#!/usr/bin/env python3
"""Writes a result of kelxml so that results over engines compare equal where docs/porting.md expects a difference.

usage: normalised.py KIND <RESULT
  save     attributes in canonical order
  format   that, and no white space around texts
  forced   no white space at all, attributes in canonical order where the result is well formed
  events   texts in one piece; without attributes that have no name, and without texts outside the root element
"""
import json
import re
import sys
from xml.etree import ElementTree


def events(lines):
    depth = 0
    text = ""
    for line in lines:
        event = json.loads(line)
        if event["event"] == "text":
            text += event["text"]
            continue
        if text and depth:
            yield json.dumps({"text": text})
        text = ""
        depth += {"start": 1, "end": -1}.get(event["event"], 0)
        event.get("attributes", {}).pop("", None)
        yield json.dumps(event)


def forced(result):
    try:
        result = ElementTree.canonicalize(result)
    except ElementTree.ParseError:
        pass  # as it is
    return re.sub(r"\s+", "", result)


def main():
    kind, result = sys.argv[1], sys.stdin.buffer.read().decode("utf-8")
    if kind == "events":
        print("\n".join(events(result.splitlines())))
    elif kind == "forced":
        print(forced(result))
    else:
        print(ElementTree.canonicalize(result, strip_text=kind == "format"))


main()
