#!/usr/bin/env python3
"""Whether everybody means the same by a status, as a test.

Usage: status_codes.py ROOT. Every code of the toolbox's header is answered by somebody and has its words; every code
that the Java side names is one of them. Prints each breach; exits 1 if there is one.
"""
import re
import subprocess
import sys
from pathlib import Path

HEADER = "platform/include/toolbox/MacErrors.h"
WORDS = "platform/status/StatusText.cpp"
JAVA = "java/src/main/java/com/mirtal/PlatformStatus.java"
# Nobody answers these yet: forks that were opened for reading will.
RESERVED = {"wrPermErr"}


def number(text):
    return int(text, 0) - (1 << 32 if int(text, 0) > 0x7FFFFFFF else 0)


def main():
    root = Path(sys.argv[1])
    header = (root / HEADER).read_text()
    codes = {name: number(value) for name, value in re.findall(r"^\s+(\w+) = (?:\(int\))?(-?\w+)", header, re.M)}
    breaches = []
    by_number = {}
    for name, code in codes.items():
        if code in by_number:
            breaches.append(f"{HEADER}: {name} and {by_number[code]} are one number")
        by_number[code] = name

    command = ["git", "-C", str(root), "ls-files", "--cached", "--others", "--exclude-standard", "*.cpp", "*.h"]
    files = subprocess.run(command, capture_output=True, text=True, check=True).stdout.split()
    answering = [f for f in files if not f.startswith(("tests/", "fuzz/", "bench/")) and f not in (HEADER, WORDS)]
    used = set()
    for name in answering:
        if (root / name).is_file():
            used.update(re.findall(r"\b\w+\b", (root / name).read_text()))
    for name in codes.keys() - used - RESERVED:
        breaches.append(f"{HEADER}: nobody answers {name}")
    for name in RESERVED & used:
        breaches.append(f"{Path(__file__).name}: {name} is answered by now")

    worded = re.findall(r"^    \{(\w+), \"", (root / WORDS).read_text(), re.M)
    for name in codes.keys() - set(worded) - {"noErr"}:
        breaches.append(f"{WORDS}: no words for {name}")
    for name in {name for name in worded if worded.count(name) > 1}:
        breaches.append(f"{WORDS}: {name} has words twice")

    for name, value in re.findall(r"static final int (\w+) = (-?\w+);", (root / JAVA).read_text()):
        if number(value) not in by_number:
            breaches.append(f"{JAVA}: {name} is {value}, which the toolbox does not answer")
    for breach in sorted(breaches):
        print(breach)
    print(f"{len(codes)} codes, {len(breaches)} breaches")
    return 1 if breaches else 0


if __name__ == "__main__":
    sys.exit(main())
