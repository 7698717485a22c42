#!/usr/bin/env python3
"""Shows Doxygen our headers: plain comments become documentation comments, line by line, where a declaration is meant.

The rules are those by which we read a header ourselves:
- the comment that opens a file documents the file, and the first class that has none of its own;
- a comment directly above a declaration, or after it on its lines, documents it;
- a comment above several declarations without a blank line between them documents all of them, down to the next
  comment; a comment behind a declaration also documents the overloads that follow it line on line;
- a few names mean the same everywhere; SAME_EVERYWHERE says what;
- comments inside bodies, section lines and remarks for linters document nothing.
Lines keep their numbers, so that Doxygen's complaints point into the sources. Usage: comments.py HEADER
"""
import re
import sys

COMMENT = re.compile(r"^\s*//(?!/)\s?(.*)$")
NOT_DOCUMENTATION = re.compile(r"^(NOLINT|---|clang-format|IWYU)")
CLASS = re.compile(r"^\s*(template\s*<.*>\s*)?(class|struct|union)\s+(?:[A-Z_]+\s+)?\w+")
SCOPE = re.compile(r"\b(namespace|class|struct|union|enum|extern)\b")
NAME = re.compile(r"(operator\s*[^\s(]+|operator\s*\(\s*\)|~?\w+)\s*\(")
NOTHING = ("", "", False)
SAME_EVERYWHERE = (
    (re.compile(r"\binterfaceName\s*\("), "The name under which lookup finds this interface."),
    (re.compile(r"\bkClassName\b"), "The name under which lookup hands out the object itself."),
    (re.compile(r"\bkIsHidden\b"), "The class leaves itself out of class descriptions."),
    (re.compile(r"\breserved\d+\s*\("), "Keeps the position of an operation that nothing here calls."),
    (re.compile(r"\b(\w+)\(const \1&\w*( other)?\)"), "Copies."),
    (re.compile(r"\b(\w+)\(\1&&( other)?\)"), "Moves; the other is left empty."),
    (re.compile(r"\boperator=\s*\("), "Replaces the content."),
    (re.compile(r"\bswap\s*\("), "Exchanges the contents."),
    (re.compile(r"\b(begin|end)\s*\(\)"), "For range loops."),
    (re.compile(r"\bsize\s*\(\)"), "How many there are."),
    (re.compile(r"\bempty\s*\(\)"), "Whether there are none."),
    (re.compile(r"\btry[A-Z]\w*\s*\("), "The same, with its error as a result instead of an exception."),
    (re.compile(r"\boverride\b"), "As the interface declares it."),
)


def escape(text):
    """Doxygen's own command characters, outside of code spans and quotes, as the plain characters that they are to us."""
    parts = re.split(r"""(`[^`]*`|"[^"]*")""", text)
    return "".join(p if p[:1] in ("`", '"') else re.sub(r"([\\@<>&#%])", r"\\\1", p) for p in parts)


def split_comment(line):
    """Code and trailing comment of a line; a // inside a string or character literal is neither."""
    quote = ""
    at = 0
    while at < len(line):
        c = line[at]
        if quote:
            if c == "\\":
                at += 1
            elif c == quote:
                quote = ""
        elif c == '"' or (c == "'" and not (at and line[at - 1].isalnum())):
            quote = c
        elif line.startswith("//", at):
            return line[:at].rstrip(), line[at + 2:].strip()
        at += 1
    return line, ""


def without_literals(code):
    return re.sub(r'"(?:\\.|[^"\\])*"|(?<!\w)\'(?:\\.|[^\'\\])\'', '""', code)


def split_slots(text):
    """Interfaces number their operations, "3. and 4. What it does": the number reads better after the words."""
    m = re.match(r"(\d+\.(?: (?:and|to) \d+\.)*)(?:\s+|$)", text)
    return (text[m.end():], f" [slot {m.group(1).replace('.', '')}]") if m else (text, "")


class Header:
    def __init__(self, path, lines):
        self.name = "/".join(path.split("/")[-2:])  # with its folder: some headers of two layers share a name
        self.out = list(lines)
        self.scopes = []        # of each open brace: whether declarations stand in it
        self.block = []         # lines of the comment directly above
        self.declaration = None  # its first line, while one is being read
        self.code = ""          # its text so far
        self.parentheses = 0
        self.remark = False     # inside a comment for a tool, which may go on for lines
        self.previous = NOTHING  # name, comment, and whether it stood above, of the declaration before this one
        self.file_comment = False
        self.through_template = False  # the class gets its interfaces by a template, which Doxygen does not follow

    def run(self):
        lines = self.out[:]
        at = self.file_header(lines)
        while at < len(lines):
            self.line(at, lines[at])
            at += 1
        return "\n".join(self.out) + "\n"

    def file_header(self, lines):
        at = 0
        while at < len(lines) and (m := COMMENT.match(lines[at])):
            self.out[at] = "/// " + self.prose(m.group(1))
            at += 1
        if at and lines[at].startswith("#pragma once"):
            self.out[at] = "/// @file"
            self.file_comment = True
        return at

    def prose(self, text):
        return text if text.startswith("    ") else escape(text)

    def line(self, at, line):
        declares = all(self.scopes)
        comment = COMMENT.match(line)
        if comment and self.declaration is None:
            if NOT_DOCUMENTATION.match(comment.group(1)):
                self.remark = not comment.group(1).startswith("---")  # a section line is one line
            elif declares and not self.remark:
                self.block.append(at)
            return
        self.remark = False
        if not line.strip() or line.startswith("#"):
            self.block, self.previous = [], NOTHING
            return
        code, trailing = split_comment(line)
        if declares and self.declaration is None and not re.match(r"^\s*(public|protected|private)\s*:|^\s*}", code):
            self.declaration, self.code, self.trailing = at, "", []
        if self.declaration is not None:
            self.code += " " + code
            if trailing and declares and not NOT_DOCUMENTATION.match(trailing):
                self.trailing.append(trailing)
                self.out[at] = code
        self.braces(without_literals(code))
        if trailing and self.declaration is None:
            self.block = []

    def same_everywhere(self):
        if "override" in self.code and not self.through_template:
            return ""  # Doxygen finds the interface and shows its words
        return next((text for pattern, text in SAME_EVERYWHERE if pattern.search(self.code)), "")

    def braces(self, code):
        """Follows the braces of a line, and ends the declaration at its semicolon, comma, or body."""
        enumeration = bool(self.scopes) and self.scopes[-1] == "enum"
        for c in code:
            if c in "([":
                self.parentheses += 1
            elif c in ")]":
                self.parentheses -= 1
            elif c == "{":
                scope = SCOPE.search(re.sub(r"<[^<>]*>", "", self.code)) if self.declaration is not None else None
                kind = scope.group(1) if scope and "(" not in self.code and all(self.scopes) else ""
                if scope and scope.group(1) == "extern":
                    kind = "extern"
                if kind:
                    if kind == "class":
                        self.through_template = "Implements" in self.code
                    self.end_declaration()
                    self.previous = NOTHING  # what is said of a class is not said of its first member
                self.scopes.append(kind)
            elif c == "}":
                if self.scopes and self.scopes.pop() == "" and all(self.scopes) and not self.parentheses:
                    self.body_ended = True
            elif c == ";" and all(self.scopes) and not self.parentheses:
                self.end_declaration()
        if not all(self.scopes) or self.parentheses or self.declaration is None:
            return
        stripped = code.rstrip()
        if enumeration or stripped.endswith("}") and "(" in self.code:
            self.end_declaration()

    def end_declaration(self):
        if self.declaration is None:
            return
        first, self.declaration = self.declaration, None
        text = " ".join([self.out[at].strip()[2:].strip() for at in self.block] + self.trailing)
        found = NAME.search(re.sub(r"\[\[.*?\]\]|\balignas\(\w+\)", "", self.code))
        name = re.sub(r"\s", "", found.group(1)) if found else ""
        indent = re.match(r"\s*", self.out[first]).group(0)
        is_deleted = bool(re.search(r"=\s*delete", self.code))
        if self.block:
            lines = [COMMENT.match(self.out[at]).group(1) for at in self.block]
            lines[0], slots = split_slots(lines[0])
            for at, words in zip(self.block, lines):
                self.out[at] = indent + "/// " + self.prose(words)
            self.out[self.block[-1]] += "".join(" " + escape(words) for words in self.trailing) + slots
        elif not text and is_deleted:
            text = "Not offered."
        elif not text and re.search(r"=\s*default", self.code):
            text = self.same_everywhere()
        elif not text and (self.previous[2] or (name and name == self.previous[0])):
            text = self.previous[1]
        elif not text and "(" in self.code + ("(" if "kClassName" in self.code or "kIsHidden" in self.code else ""):
            text = self.same_everywhere()
        above = bool(self.block) or (bool(text) and not self.trailing and self.previous[2])
        if not self.block and text:
            words, slots = split_slots(text)
            words = escape(words).replace("*/", "* /") + slots
            self.out[first] = f"{indent}/** {words} */ {self.out[first].lstrip()}"
        elif not text and self.file_comment and CLASS.match(self.code.strip()) and "{" in self.code + "{":
            if not self.code.rstrip().endswith(";"):
                self.file_comment = False
                self.out[first] = indent + "/** @copydoc " + self.name + " */ " + self.out[first].lstrip()
        self.block, self.trailing = [], []
        if not is_deleted:
            self.previous = (name, text, above)


with open(sys.argv[1], encoding="utf-8") as source:
    sys.stdout.write(Header(sys.argv[1], source.read().split("\n")[:-1]).run())
