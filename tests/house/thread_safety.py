#!/usr/bin/env python3
"""What a mutex of the platform guards is touched by its holder only, as Clang verifies it; and every mutex is one that
Clang can verify.

Usage: thread_safety.py ROOT BUILD CLANG. BUILD has compile_commands.json. Exits 1 on a breach, or
when Clang misses one that is planted.
"""
import json
import re
import shlex
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

sys.dont_write_bytecode = True  # the tree stays as it is
from room_rules import Includes
from rooms import Rooms, source_files
from usage import arguments

TREE, BUILD, CLANG = arguments(3)
ROOT, BUILD = Path(TREE).resolve(), Path(BUILD)
ANNOTATED = "platform/os/inside/os/Mutex.h"
PLAIN = re.compile(r"std::(recursive_|timed_|shared_)*mutex\b|std::(lock_guard|unique_lock|scoped_lock|shared_lock)\b")
KEPT = re.compile(r"-(I|D|std=|isystem)")

PLANTED = """
#include "os/Mutex.h"
toolbox::os::Mutex sMutex;
int sValue GUARDED_BY(sMutex) = 0;
int Guarded() NEEDS_LOCK(sMutex) { return sValue; }
int Right() { const toolbox::os::MutexLock lock(sMutex); return Guarded() + sValue; }
"""
BREACHES = {
    "a guarded variable": "int Wrong() { return sValue; }",
    "a function that needs the lock": "int Wrong() { return Guarded(); }",
    "a lock that is never given back": "void Wrong() { sMutex.Lock(); }",
    "a lock taken twice": "void Wrong() { const toolbox::os::MutexLock a(sMutex); const toolbox::os::MutexLock b(sMutex); }",
}


def verify(arguments, source, directory):
    command = [CLANG, "-fsyntax-only", "-Wno-everything", "-Wthread-safety", "-Werror=thread-safety", *arguments]
    text = source if source.startswith("\n") else None
    run = subprocess.run(command + (["-x", "c++", "-"] if text else [source]), input=text, cwd=directory,
                         capture_output=True, text=True, check=False)
    return run.returncode == 0, run.stderr


def flags(command):
    words, kept = shlex.split(command), []
    for index, word in enumerate(words):
        if KEPT.match(word):
            kept.append(word)
            if word in ("-isystem", "-I", "-D"):
                kept.append(words[index + 1])
    return kept


def sources_that_see_it():
    """The platform's files that see the mutex; and which of them by way of other headers."""
    held = Includes(Rooms(ROOT), source_files(ROOT))
    held.run()
    seen = {path for path, others in held.reached.items() if ANNOTATED in others and path.startswith("platform/")}
    return seen, {path for path in seen if ANNOTATED not in held.edges[path]}


def main():
    breaches = []
    for path in sorted((ROOT / "platform").rglob("*")):
        name = path.relative_to(ROOT).as_posix()
        if path.suffix not in (".h", ".cpp") or name == ANNOTATED:
            continue
        for number, line in enumerate(path.read_text().split("\n"), 1):
            if PLAIN.search(line.split("//")[0]):
                breaches.append(f"{name}:{number}: a mutex that Clang cannot verify; os/Mutex.h has one")
    seen, through_others = sources_that_see_it()
    units = {}
    for unit in json.loads((BUILD / "compile_commands.json").read_text()):
        path = Path(unit["directory"], unit["file"]).resolve()
        if path.is_relative_to(ROOT) and path.relative_to(ROOT).as_posix() in seen:
            units[path] = unit
    breaches += [f"{name}:1: sees the mutex and is not compiled" for name in sorted(seen)
                 if name.endswith(".cpp") and ROOT / name not in units]
    if not through_others:
        breaches.append("nobody sees the mutex through another header: they are not followed")
    with ThreadPoolExecutor(2) as pool:
        runs = pool.map(lambda item: verify(flags(item[1]["command"]), str(item[0]), item[1]["directory"]), units.items())
        breaches += [error for passed, error in runs if not passed]
    here = ["-std=c++20", f"-I{ROOT / 'platform/os/inside'}"]
    if not verify(here, PLANTED, ROOT)[0]:
        breaches.append("what is right is refused:\n" + verify(here, PLANTED, ROOT)[1])
    breaches += [f"not found when planted: {what}" for what, code in BREACHES.items() if verify(here, PLANTED + code, ROOT)[0]]
    print("\n".join(breaches))
    print(f"{len(units)} sources, {len(BREACHES)} planted breaches")
    return 1 if breaches or not units else 0


sys.exit(main())
