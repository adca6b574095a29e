#!/usr/bin/env python3
"""The rules of the house that a compiler does not see, as a test.

Usage: house_rules.py ROOT. Prints each breach as file:line: what; exits 1 if there is one.
"""
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(sys.argv[1])

LONGEST = 600

breaches = []


def tracked():
    command = ["git", "-C", str(ROOT), "ls-files", "--cached", "--others", "--exclude-standard"]
    names = subprocess.run(command, capture_output=True, text=True, check=True).stdout.split("\n")
    return [name for name in names if name and (ROOT / name).is_file()]


def main():
    names = tracked()
    lists = {n: (ROOT / n).read_text() for n in names if n.endswith("CMakeLists.txt") or n.endswith(".cmake")}
    for name in names:
        if not re.search(r"\.(cpp|h|java)$", name):
            continue
        lines = (ROOT / name).read_text().split("\n")
        if len(lines) > LONGEST:
            breaches.append(f"{name}:{len(lines)}: longer than {LONGEST} lines")
        if re.search(r"_(test|benchmark|fuzzer)\.cpp$", name):
            parts = name.split("/")
            near = ["/".join(parts[:i] + ["CMakeLists.txt"]) for i in range(1, len(parts))]
            stem = re.compile(r"\b" + re.escape(Path(name).stem) + r"\b")
            if not any(stem.search(lists.get(n, "")) for n in near):
                breaches.append(f"{name}:1: is in no target")
    for breach in breaches:
        print(breach)
    print(f"{len(names)} files, {len(breaches)} breaches")
    return 1 if breaches else 0


sys.exit(main())
