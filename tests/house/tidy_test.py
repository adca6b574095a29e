#!/usr/bin/env python3
"""What scripts/tidy looks at, in a repository made for it, where a script that notes its arguments stands for clang-tidy;
and that .clang-tidy lets the headers of every room speak.

Usage: tidy_test.py TREE
"""
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

sys.dont_write_bytecode = True  # the tree stays as it is
from rooms import Rooms
from usage import arguments

MAX_CHANGED = 30
failures = []


class Repository:
    def __init__(self, folder, tree):
        self.root, self.seen, self.bin = folder / "tree", folder / "seen", folder / "bin"
        (self.root / "scripts").mkdir(parents=True)
        self.bin.mkdir()
        for name in ("tidy", "lib.sh"):
            shutil.copy(tree / "scripts" / name, self.root / "scripts" / name)
        tidy = self.bin / "clang-tidy"
        tidy.write_text(f'#!/bin/sh\nfor last; do :; done\necho "$last" >>{self.seen}\n! grep -q WRONG "$last"\n')
        tidy.chmod(0o755)
        self.git("init", "--quiet", "--initial-branch=work")
        self.write(".gitignore", "/build/\n")
        self.compiles = set()

    def git(self, *arguments):
        names = {"GIT_CONFIG_GLOBAL": "/dev/null", "GIT_CONFIG_SYSTEM": "/dev/null"}
        for who in ("AUTHOR", "COMMITTER"):
            names |= {f"GIT_{who}_NAME": "Tester", f"GIT_{who}_EMAIL": "tester@example.org"}
        run = subprocess.run(["git", "-C", self.root, *arguments], env={**os.environ, **names}, capture_output=True, text=True,
                             check=True)
        return run.stdout.strip()

    def write(self, name, text):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)
        if name.endswith(".cpp"):
            self.compiles.add(str(path))
            commands = self.root / "build/clang-asan/compile_commands.json"
            commands.parent.mkdir(parents=True, exist_ok=True)
            commands.write_text(json.dumps([{"file": file, "directory": "/", "command": ""} for file in self.compiles]))

    def commit(self, **files):
        for stem, text in files.items():
            self.write(f"room/{stem}.cpp", text)
        self.git("add", "--all")
        self.git("commit", "--quiet", "--message=Change")
        return self.git("rev-parse", "HEAD")

    def tidy(self, *arguments, **variables):
        """(the stems that were looked at, what was said, the exit code)"""
        self.seen.write_text("")
        environment = {key: value for key, value in os.environ.items() if key != "MIRTAL_TIDY_SINCE"}
        run = subprocess.run([self.root / "scripts/tidy", *arguments], capture_output=True, text=True,
                             env={**environment, "PATH": f"{self.bin}:{os.environ['PATH']}", **variables})
        return sorted(Path(name).stem for name in self.seen.read_text().split()), run.stderr, run.returncode


def expect(what, expected, found):
    if expected != found:
        failures.append(f"{what}: expected {expected}, found {found}")


def test_commits(repository):
    first = repository.commit(old="1", base="1")
    repository.commit(base="2")
    repository.commit(first="1")
    repository.commit(last="1")
    expect("without a remote", ["last"], repository.tidy("--changed")[0])
    repository.git("update-ref", "refs/remotes/origin/main", first)
    expect("since the remote's main", ["base", "first", "last"], repository.tidy("--changed")[0])
    expect("since a commit", ["first", "last"], repository.tidy("--changed", "--since", "HEAD~2")[0])
    expect("since a variable's", ["first", "last"], repository.tidy("--changed", MIRTAL_TIDY_SINCE="HEAD~2")[0])
    expect("since none that there is", 1, repository.tidy("--changed", "--since", "nothing")[2])
    repository.git("update-ref", "refs/remotes/origin/main", "HEAD")
    expect("on the remote's main", ["last"], repository.tidy("--changed")[0])
    repository.write("room/old.cpp", "2")
    repository.write("room/fresh.cpp", "1")
    expect("what is not committed", ["fresh", "last", "old"], repository.tidy("--changed")[0])
    expect("all", ["base", "first", "last", "old"], repository.tidy("--all")[0])
    expect("what is named", ["base"], repository.tidy("room/base.cpp")[0])
    for wrong in (["--everything"], [], ["--all", "room/base.cpp"], ["--since"]):
        expect(f"used as {wrong}", 64, repository.tidy(*wrong)[2])
    repository.commit()


def test_headers(repository):
    repository.write("other/Named.cpp", "")
    repository.write("room/Named.cpp", "")
    repository.write("room/inside/room/Named.h", "1")
    repository.write("room/inside/room/Shown.h", "1")
    repository.write("room/inside/room/Alone.h", "1")
    repository.commit(shows='#include "room/Shown.h"\n')
    for name in ("Named", "Shown", "Alone"):
        repository.write(f"room/inside/room/{name}.h", "2")
    looked, said, _ = repository.tidy("--changed", "--since", "HEAD")
    expect("sources of headers", ["Named", "shows"], looked)
    expect("a header that nobody shows", True, "no source shows room/inside/room/Alone.h" in said)
    repository.commit()


def test_bound(repository):
    since = repository.commit(**{f"n{number}": "1" for number in range(5)})
    for number in range(5):
        repository.commit(**{f"n{number}": "2"})
    repository.commit(**{f"m{number}": "1" for number in range(MAX_CHANGED)})
    looked, said, _ = repository.tidy("--changed", "--since", since)
    expect("the newest", sorted(f"m{number}" for number in range(MAX_CHANGED)), looked)
    expect("what is left out", [f"n{number}" for number in (4, 3, 2, 1, 0)], re.findall(r"^  room/(\w+)\.cpp$", said, re.M))
    expect("without bound", MAX_CHANGED + 5, len(repository.tidy("--changed", "--all", "--since", since)[0]))


def test_outcome(repository):
    expect("nothing to say", 0, repository.tidy("room/base.cpp")[2])
    repository.commit(wrong="WRONG")
    expect("something to say", 1, repository.tidy("--changed")[2])


def test_rooms(tree):
    headers = re.search(r"^HeaderFilterRegex: '(.*)'$", (tree / ".clang-tidy").read_text(), re.M)[1]
    for room in Rooms(tree).rooms.values():
        for folder, _ in room.holds:
            expect(f"whether {folder} is heard", True, bool(re.search(headers, f"/home/{folder}/Header.h")))


def main(tree):
    with tempfile.TemporaryDirectory() as folder:
        repository = Repository(Path(folder).resolve(), tree)
        for test in (test_commits, test_headers, test_bound, test_outcome):
            test(repository)
    test_rooms(tree)
    print("\n".join(failures + [f"{len(failures)} failures"]))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(Path(*arguments(1)).resolve()))
