#!/usr/bin/env python3
"""Changes one line at a time and lists the changes that no test notices.

usage: mutate.py [--every N] [--lines A-B] FILE...

Each change is made in a copy of the sources (build-mutate/source), which is built without optimisation; then the
tests of the file's layer run. A change that does not compile counts as noticed. Exit status 1: changes survived.
"""
import argparse
import re
import shutil
import subprocess
import sys
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
WORK = ROOT / "build-mutate"
COPY = WORK / "source"
SECONDS = 600  # for one test program without any change
PATIENCE = 4  # times as long as without any change: a change that makes the tests hang is noticed

# The test programs that hold a layer, by the start of its files' path.
LAYERS = [
    ("framework/object", ["object_tests", "framework_tests"]),
    ("framework", ["framework_tests", "component_tests"]),
    ("msxml_parser", ["component_tests"]),
    ("src/KelBasicTypes", ["basictypes_tests"]),
    ("engine", ["engine_tests"]),
    ("host", ["host_tests"]),
    ("tools/kelxml", ["kelxml_test"]),
]

COMPARISON = {"==": "!=", "!=": "==", "<=": "<", ">=": ">", "<": "<=", ">": ">="}
CALL = re.compile(r"^(\s*)(?!return\b|throw\b|co_|using\b|delete\b|new\b|if\b|for\b|while\b|else\b|case\b)"
                  r"(?:\(void\))?[A-Za-z_][\w:.>\[\]-]*(?:->|\.|::)?\w*\(.*\);\s*(//.*)?$")
CONDITION = re.compile(r"^(\s*(?:\} else )?if )\((.*)\)( [^()]*(?:\(.*\))?[^()]*;|\s*\{)\s*(?://.*)?$")


def code_of(line):
    """The line with its strings and comment blanked out, so that positions stay."""
    blanked = re.sub(r'"(?:\\.|[^"\\])*"|\'(?:\\.|[^\'\\])*\'', lambda m: " " * len(m.group()), line)
    at = blanked.find("//")
    return blanked if at < 0 else blanked[:at] + " " * (len(blanked) - at)


def changes(line):
    """What may be made of a line: (what was done, the new line)."""
    code = code_of(line)
    stripped = code.strip()
    if not stripped or stripped.startswith(("#", "static_assert", "template", "using ", "namespace", "class ", "struct ")):
        return
    for match in re.finditer(r" (==|!=|<=|>=|<|>) ", code):
        sign = match.group(1)
        yield f"{sign} is {COMPARISON[sign]}", line[:match.start(1)] + COMPARISON[sign] + line[match.end(1):]
    for match in re.finditer(r" (&&|\|\|) ", code):
        other = "||" if match.group(1) == "&&" else "&&"
        yield f"{match.group(1)} is {other}", line[:match.start(1)] + other + line[match.end(1):]
    for match in re.finditer(r"(?<![\w.\"'])(\d+)(?![\w.'])", code):
        changed = str(int(match.group(1)) + 1)
        yield f"{match.group(1)} is {changed}", line[:match.start()] + changed + line[match.end():]
    for match in re.finditer(r"\b(true|false)\b", code):
        other = "false" if match.group(1) == "true" else "true"
        yield f"{match.group(1)} is {other}", line[:match.start()] + other + line[match.end():]
    condition = CONDITION.match(code)
    if condition and "constexpr" not in code:
        start, end = condition.span(2)
        yield "condition negated", f"{line[:start]}!({line[start:end]}){line[end:]}"
    if CALL.match(code):
        yield "call removed", re.match(r"\s*", line).group() + ";"


def targets_of(file):
    for start, targets in LAYERS:
        if str(file).startswith(start + "/"):
            return targets
    sys.exit(f"mutate: no tests are known for {file}")


def quietly(command, **options):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False, **options)


def build(targets):
    return quietly(["cmake", "--build", str(WORK / "build"), "--target", *targets])


def prepare(targets):
    """A copy of what git knows, built once."""
    files = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=ROOT, capture_output=True, text=True, check=True).stdout
    for name in filter(None, files.split("\0")):
        source, target = ROOT / name, COPY / name
        if not source.is_file():
            continue
        target.parent.mkdir(parents=True, exist_ok=True)
        if not target.exists() or target.read_bytes() != source.read_bytes():
            shutil.copy(source, target)
    done = quietly(["cmake", "-S", str(COPY), "-B", str(WORK / "build"), "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                    "-DCMAKE_CXX_FLAGS_DEBUG=-O0", "-DKEL_BUILD_TESTS=ON"])
    if done.returncode == 0:
        done = build(targets)
    if done.returncode != 0:
        sys.exit(done.stdout + "\nmutate: the sources do not build as they are")
    start = time.monotonic()
    failed = failing(targets, SECONDS)
    if failed:
        sys.exit(f"mutate: {failed} fails without any change, or takes longer than {SECONDS} seconds")
    return PATIENCE * (time.monotonic() - start) + 10


def failing(targets, seconds):
    """The first test program that fails; None if all pass."""
    for target in targets:
        program = next((p for p in (WORK / "build" / "tests").rglob(target) if p.is_file()), None)
        try:
            if program is None or quietly([str(program), "--gtest_brief=1", "--gtest_fail_fast"], cwd=program.parent,
                                          timeout=seconds).returncode != 0:
                return target
        except subprocess.TimeoutExpired:
            return target
    return None


def sweep(file, lines, every):
    targets = targets_of(file)
    seconds = prepare(targets)
    target = COPY / file
    original = target.read_text()
    rows = original.split("\n")
    first, last = lines or (1, len(rows))
    found = [(number, what, changed) for number, row in enumerate(rows, 1) if first <= number <= last
             for what, changed in changes(row)][::every]
    survivors = []
    try:
        for number, what, changed in found:
            target.write_text("\n".join(rows[:number - 1] + [changed] + rows[number:]))
            if build(targets).returncode == 0 and failing(targets, seconds) is None:
                survivors.append((number, what))
                print(f"{file}:{number}: {what}: {rows[number - 1].strip()}", flush=True)
    finally:
        target.write_text(original)
    print(f"{file}: {len(found)} changes, {len(survivors)} survived", flush=True)
    return len(survivors)


def main():
    parser = argparse.ArgumentParser(prog="./dev mutate", description="Lists the changes of a line that no test notices.")
    parser.add_argument("--every", type=int, default=1, metavar="N", help="only each N-th change")
    parser.add_argument("--lines", metavar="A-B", help="only these lines")
    parser.add_argument("files", nargs="+", metavar="FILE")
    options = parser.parse_args()
    lines = tuple(map(int, options.lines.split("-"))) if options.lines else None
    survived = sum(sweep(Path(file).resolve().relative_to(ROOT), lines, options.every) for file in options.files)
    sys.exit(1 if survived else 0)


if __name__ == "__main__":
    main()
