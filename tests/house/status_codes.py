#!/usr/bin/env python3
"""Whether everybody means the same by a status, as a test.

Usage: status_codes.py TREE. Every code of the toolbox's header is answered by somebody and has its words; every code
that the Java side names stands beside the header's name for it, is that name's number, and is used. Prints each breach;
exits 1 if there is one.
"""
import re
import sys
from pathlib import Path

sys.dont_write_bytecode = True  # the tree stays as it is
from rooms import source_files
from usage import arguments

HEADER = "platform/include/toolbox/MacErrors.h"
WORDS = "platform/status/StatusText.cpp"
JAVA_SOURCES = "java/src/main/java"
JAVA = JAVA_SOURCES + "/com/mirtal/PlatformStatus.java"
TEXT_OR_COMMENT = re.compile(r'R"(\w*)\(.*?\)\1"|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])+\'|//[^\n]*|/\*.*?\*/', re.DOTALL)


def number(text):
    return int(text, 0) - (1 << 32 if int(text, 0) > 0x7FFFFFFF else 0)


def code_of(path):
    """What a source says to the compiler: without comments and texts."""
    return TEXT_OR_COMMENT.sub(" ", path.read_text())


def repeated(names):
    return {name for name in names if names.count(name) > 1}


def header_breaches(tree, codes):
    names = list(codes)
    for index, name in enumerate(names):
        for other in names[:index]:
            if codes[name] == codes[other]:
                yield f"{HEADER}: {name} and {other} are one number"
    used = set()
    for name in source_files(tree):
        if not name.startswith(("tests/", "fuzz/", "bench/", "examples/")) and name not in (HEADER, WORDS):
            used.update(re.findall(r"\b\w+\b", code_of(tree / name)))
    for name in codes.keys() - used:
        yield f"{HEADER}: nobody answers {name}"


def words_breaches(tree, codes):
    worded = re.findall(r"^    \{(\w+), \"", (tree / WORDS).read_text(), re.M)
    for name in codes.keys() - set(worded) - {"noErr"}:
        yield f"{WORDS}: no words for {name}"
    for name in repeated(worded):
        yield f"{WORDS}: {name} has words twice"


def java_breaches(tree, codes):
    text = (tree / JAVA).read_text()
    constants = re.findall(r"static final int (\w+) = (-?\w+);(?: *// (\w+)$)?", text, re.M)
    if len(constants) != len(re.findall(r"\bint \w+ *=", text)):
        yield f"{JAVA}: a constant is not of the form static final int NAME = CODE;  // nameInTheHeader"
    for name, value, published in constants:
        if published not in codes:
            yield f"{JAVA}: {name}: no name of {HEADER} stands beside it"
        elif codes[published] != number(value):
            yield f"{JAVA}: {name} is {value}, and {published} is {codes[published]}"
    for published in repeated([published for _, _, published in constants if published]):
        yield f"{JAVA}: {published} has two names"
    used = set()
    for path in (tree / JAVA_SOURCES).rglob("*.java"):
        used.update(re.findall(r"\bPlatformStatus\.(\w+)", code_of(path)))
    for name, _, _ in constants:
        if name not in used:
            yield f"{JAVA}: nobody uses {name}"


def main(tree):
    header = (tree / HEADER).read_text()
    codes = {name: number(value) for name, value in re.findall(r"^\s+(\w+) = (?:\(int\))?(-?\w+)", header, re.M)}
    breaches = [*header_breaches(tree, codes), *words_breaches(tree, codes), *java_breaches(tree, codes)]
    print("\n".join(sorted(breaches) + [f"{len(codes)} codes, {len(breaches)} breaches"]))
    return 1 if breaches else 0


if __name__ == "__main__":
    sys.exit(main(Path(*arguments(1))))
