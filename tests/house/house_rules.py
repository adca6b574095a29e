#!/usr/bin/env python3
"""The rules of the house that a compiler does not see, as a test.

Usage: house_rules.py TREE. Prints each breach as file:line: what; exits 1 if there is one.
"""
import re
import subprocess
import sys
from pathlib import Path

sys.dont_write_bytecode = True  # the tree stays as it is
from usage import arguments

MAX_LINES = 600
CODE = re.compile(r"//[^\n]*|#\s*include[^\n]*|/\*.*?\*/|R\"(\w*)\(.*?\)\1\"|\"(?:\\.|[^\"\\\n])*\"|(?<!\w)'(?:\\.|[^'\\\n])*'|::|->|\w+|\s+|.",
                  re.DOTALL)
# What may stand before a const that comes first; and what may be a const that does not.
SPECIFIERS = set("static inline constexpr constinit consteval extern thread_local virtual friend explicit mutable typedef "
                 "volatile return new case typename const register using operator else endif do sizeof throw".split())
MACRO = re.compile(r"[A-Z][A-Z0-9]*_[A-Z0-9_]+")
CANDIDATE = re.compile(r"\b(?!(?:%s)\s)\w+\s+const\b|>\s*const\b" % "|".join(SPECIFIERS))
BOUND = re.compile(r"\bk(Most|Longest|Biggest|Largest|Greatest|Highest|Maximum)(?![a-z])\w*")
SUITES = "tests/java/CMakeLists.txt"


def tracked(tree):
    command = ["git", "-C", str(tree), "ls-files", "--cached", "--others", "--exclude-standard"]
    names = subprocess.run(command, capture_output=True, text=True, check=True).stdout.split("\n")
    return [name for name in names if name and (tree / name).is_file()]


def tokens(text):
    """(token, place) of each that is neither a blank nor a comment. An #include is one token."""
    found = ((match.group(), match.start()) for match in CODE.finditer(text))
    return [(word, place) for word, place in found if not word.isspace() and not word.startswith(("//", "/*"))]


def ends_template(words, last):
    """Whether the > at this token ends the parameters of a template, not the arguments of a type."""
    depth = 0
    for index in range(last, 0, -1):
        depth += {">": 1, "<": -1}.get(words[index][0], 0)
        if depth == 0:
            return words[index - 1][0] == "template"
    return False


def east_consts(text):
    """The places of each const that stands behind the type it is for; clang-format turns only types without ::."""
    words = tokens(text)
    for index in range(1, len(words)):
        before, (word, place) = words[index - 1][0], words[index]
        if word != "const":
            continue
        is_name = re.match(r"[A-Za-z_]", before) and before not in SPECIFIERS and not MACRO.fullmatch(before)
        if is_name and not before.startswith(('"', "'")) or before == ">" and not ends_template(words, index - 1):
            yield place


def breaches_of_words(name, text):
    places = [(place, "const stands behind its type") for place in east_consts(text)] if CANDIDATE.search(text) else []
    if BOUND.search(text):
        places += [(place, f"{word}: an upper bound is kMax...") for word, place in tokens(text) if BOUND.fullmatch(word)]
    return [f"{name}:{text.count(chr(10), 0, place) + 1}: {what}" for place, what in places]


def is_in_a_target(name, lists):
    """Whether a test, benchmark or fuzzer is built: its name stands in a list of a folder above it, or in Java's."""
    parts = name.split("/")
    near = [SUITES] if name.endswith(".java") else ["/".join(parts[:i] + ["CMakeLists.txt"]) for i in range(1, len(parts))]
    stem = re.compile(r"\b" + re.escape(Path(name).stem) + r"\b")
    return any(stem.search(lists.get(list_name, "")) for list_name in near)


def check(tree):
    breaches, names = [], tracked(tree)
    lists = {n: (tree / n).read_text() for n in names if n.endswith(("CMakeLists.txt", ".cmake"))}
    for name in names:
        if not re.search(r"\.(c|cpp|h|java)$", name):
            continue
        text = (tree / name).read_text()
        line_count = len(text.removesuffix("\n").split("\n"))
        if line_count > MAX_LINES:
            breaches.append(f"{name}:{line_count}: longer than {MAX_LINES} lines")
        if not name.endswith(".java"):
            breaches += breaches_of_words(name, text)
        if re.search(r"_(test|benchmark|fuzzer)\.cpp$|Test\.java$", name) and not is_in_a_target(name, lists):
            breaches.append(f"{name}:1: is in no target")
    return breaches, len(names)


def main(tree):
    breaches, count = check(Path(tree))
    print("\n".join(breaches + [f"{count} files, {len(breaches)} breaches"]))
    return 1 if breaches else 0


if __name__ == "__main__":
    sys.exit(main(*arguments(1)))
