#!/usr/bin/env python3
"""The rules of the house that a compiler does not see, as a test.

Usage: house_rules.py ROOT. Prints each breach as file:line: what; exits 1 if there is one.
"""
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(sys.argv[1])

# Which third-party and system headers each place may include; a header that no rule names is free.
FOREIGN = [
    (re.compile(r"^lib(av\w+|sw\w+)/"), ["platform/movies/", "tests/", "bench/", "fuzz/"]),
    (re.compile(r"^unicode/"), ["platform/corefoundation/", "platform/text/", "tests/", "bench/"]),
    (re.compile(r"^plist/"), ["platform/bundles/", "tests/"]),
    (re.compile(r"^(unistd|fcntl|dirent|dlfcn|pthread|poll|termios|signal|spawn|sys/.*)\.?h?$"),
     ["platform/", "tools/", "tests/", "bench/", "fuzz/"]),
    (re.compile(r"^filesystem$"), ["platform/", "tools/", "tests/", "bench/", "fuzz/"]),
    (re.compile(r"_test_access\.h$"), ["tests/", "fuzz/", "bench/"]),
]
# A room may include the public headers of these rooms only.
ROOMS = {
    "platform": {"toolbox"},
    "foundation": {"toolbox", "foundation", "strings"},
    "strings": {"toolbox", "foundation", "strings"},
    "quicktime": {"toolbox", "foundation", "strings", "files", "quicktime"},
    "files": {"toolbox", "foundation", "strings", "files"},
    "converter": {"toolbox", "foundation", "strings", "quicktime", "converter"},
}
PUBLIC = {"toolbox", "foundation", "strings", "quicktime", "files", "converter"}
LONGEST = 600

breaches = []


def tracked():
    command = ["git", "-C", str(ROOT), "ls-files", "--cached", "--others", "--exclude-standard"]
    names = subprocess.run(command, capture_output=True, text=True, check=True).stdout.split("\n")
    return [name for name in names if name and (ROOT / name).is_file()]


def check_includes(name, lines):
    room = name.split("/")[0]
    for number, line in enumerate(lines, 1):
        match = re.match(r'\s*#\s*include\s*([<"])([^>"]+)[>"]', line)
        if not match:
            continue
        header = match.group(2)
        for pattern, places in FOREIGN:
            # What only tests may touch is defined in the folder that declares it.
            defines_it = header.endswith("_test_access.h") and ((ROOT / name).parent / header).is_file()
            if pattern.search(header) and not defines_it and not any(name.startswith(p) for p in places):
                breaches.append(f"{name}:{number}: <{header}> does not belong here")
        top = header.split("/")[0]
        if room in ROOMS and match.group(1) == "<" and "/" in header and top in PUBLIC and top not in ROOMS[room]:
            breaches.append(f"{name}:{number}: {room} must not see {top}")


def main():
    names = tracked()
    lists = {n: (ROOT / n).read_text() for n in names if n.endswith("CMakeLists.txt") or n.endswith(".cmake")}
    for name in names:
        if not re.search(r"\.(cpp|h|java)$", name):
            continue
        lines = (ROOT / name).read_text().split("\n")
        if len(lines) > LONGEST:
            breaches.append(f"{name}:{len(lines)}: longer than {LONGEST} lines")
        check_includes(name, lines)
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
