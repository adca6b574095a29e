#!/usr/bin/env python3
"""Whether the compiled rooms use only the functions and objects of rooms that they see, whatever their headers say; and
of the system only what cmake/rooms.txt names. Of the platform none but its ground floor may call what the table of
system calls has, nor whatever else there is: the rest goes through the table, so that tests can stand beneath.

Usage: room_symbols.py TREE BUILD. BUILD has a compile_commands.json and the objects that it names. Exits 1 on a breach.
"""
import collections
import json
import os
import re
import subprocess
import sys
from pathlib import Path

sys.dont_write_bytecode = True  # the tree stays as it is
from rooms import LIST, Rooms

# What compilers call by themselves, and what their instrumentation does.
RUNTIME = re.compile(r"^(_Z|__|_Unwind_|_GLOBAL_OFFSET_TABLE_$|_ITM_|llvm_gcov|main$)")
# Functions of the C library that only work on what they are given; bcmp is what Clang makes of some memcmp.
PURE = re.compile(r"^(bcmp|mem(ccpy|chr|cmp|cpy|move|set|mem)|str(n?cat|r?chr|n?cmp|n?cpy|n?len|c?spn|pbrk|str)|stpcpy"
                  r"|(m|c|re)alloc|aligned_alloc|free|abort|qsort|bsearch|v?sn?printf|v?sscanf|strto(d|f|k?ld|u?l|u?ll)"
                  r"|ato[fil]|l?abs|is(alpha|alnum|digit|space|upper|lower|punct|xdigit)|to(upper|lower)"
                  r"|(l?l?round|l?l?rint|ceil|floor|trunc|fmod|fabs|sqrt|pow|exp2?|log(2|10)?|sin|cos|tan|ldexp|frexp|"
                  r"nearbyint|copysign|fma|fmin|fmax|modf|scalbn)[fl]?)$")
# Words of the list for many calls; and what std::mutex and its like call.
GROUPS = ("toolbox", "locks", "system")
LOCKS = re.compile(r"^pthread_(mutex|rwlock|once|cond|self)")
# The ground floor, and the table that all else of the platform goes through.
GROUND = "platform/os"
TABLE = f"{GROUND}/inside/os/SystemCalls.h"
TABLE_ENTRY = re.compile(r"^ *CALL\((\w+),", re.MULTILINE)
SYMBOL = re.compile(r"^\s*\d+:\s+\S+\s+\S+\s+\S+\s+(LOCAL|GLOBAL|WEAK|UNIQUE)\s+(\w+)\s.*?(\S+) (\S+)$")


class Object:
    def __init__(self, source, room, path):
        self.source, self.room, self.path = source, room, path
        self.undefined = set()


def objects_of(rooms, build):
    """The objects of the rooms' sources, by what the build compiles; and sources whose object is not there."""
    found, missing = [], []
    for command in json.loads((Path(build) / "compile_commands.json").read_text()):
        source = os.path.relpath(command["file"], rooms.tree.resolve())
        room = None if source.startswith("..") else rooms.room_of(source)
        if room is None:
            continue
        output = re.search(r" -o (\S+)", command["command"])[1]
        path = os.path.join(command["directory"], output)
        if os.path.exists(path):
            found.append(Object(source, room, path))
        else:
            missing.append(source)
    return found, missing


def read_symbols(objects):
    """Fills the objects' undefined names; returns {name: [(object, is it exported)]} of strong definitions."""
    defined = collections.defaultdict(list)
    by_path = {each.path: each for each in objects}
    paths = list(by_path)
    # With two names readelf says which file it is at.
    output = subprocess.run(["readelf", "-sW", *paths, *paths[:1]], capture_output=True, text=True, check=True).stdout
    seen, here = set(), None
    for line in output.split("\n"):
        if line.startswith("File: "):
            here = by_path[line[6:].strip()]
            if here.path in seen:
                here = None
            seen.add(line[6:].strip())
        match = SYMBOL.match(line) if here is not None else None
        if not match or match[1] == "LOCAL":
            continue
        binding, visibility, section, name = match[1], match[2], match[3], match[4]
        if section == "UND":
            if binding == "GLOBAL":
                here.undefined.add(name)
        elif binding == "GLOBAL":
            defined[name].append((here, visibility == "DEFAULT"))
    return defined


class Links:
    def __init__(self, rooms, objects, defined):
        self.rooms, self.objects, self.defined, self.breaches = rooms, objects, defined, []
        self.called = collections.defaultdict(set)
        self.table = set(TABLE_ENTRY.findall((rooms.tree / TABLE).read_text()))

    @staticmethod
    def is_above_ground(room):
        return room.name.startswith("platform/") and room.name != GROUND

    def check(self):
        if not self.table:
            self.breaches.append(f"{TABLE}: no call is in the table")
        for each in self.objects:
            for name in sorted(each.undefined):
                definers = self.defined.get(name)
                if definers:
                    self.check_ours(each, name, definers)
                else:
                    self.check_foreign(each, name)

        for room in {each.room.name: each.room for each in self.objects}.values():
            never = [name for name in room.calls if name not in GROUPS and name not in self.called[room.name]]
            self.breaches += [f"{LIST}: room {room.name} names {name}, which it does not call" for name in never]
            if self.is_above_ground(room) and "system" in room.calls:
                self.breaches.append(f"{LIST}: room {room.name} may call anything, which is for {GROUND} alone")

    def check_ours(self, user, name, definers):
        def is_allowed(definer, is_exported):
            if definer.room is user.room or definer.room.name in user.room.sees:
                return True
            return "toolbox" in user.room.calls and is_exported and definer.room.name.startswith("platform/")

        if not any(is_allowed(definer, is_exported) for definer, is_exported in definers):
            definer = definers[0][0]
            self.breaches.append(f"{user.source}: uses {name} of {definer.source}, and {user.room.name} does not see "
                                 f"{definer.room.name}")

    def check_foreign(self, user, name):
        plain = name.split("@")[0]
        base = re.sub(r"^__isoc\d+_|^__(\w+)_chk$", lambda match: match[1] or "", plain)
        self.called[user.room.name].add(base)
        if self.is_above_ground(user.room) and base in self.table:
            self.breaches.append(f"{user.source}: calls {name} past the table of {TABLE}")
            return
        if RUNTIME.match(base) or PURE.match(base) or base in user.room.calls or "system" in user.room.calls:
            return
        if LOCKS.match(base) and "locks" in user.room.calls:
            return
        if any(base.startswith(prefix) for library in self.rooms.libraries_of(user.room) for prefix in library.symbols):
            return
        self.breaches.append(f"{user.source}: calls {name}, which is not named for {user.room.name}")


def main(arguments):
    rooms = Rooms(arguments[0])
    objects, missing = objects_of(rooms, arguments[1])
    links = Links(rooms, objects, read_symbols(objects) if objects else {})
    links.check()
    breaches = rooms.problems + [f"{source}: is not compiled" for source in missing] + links.breaches
    if not objects:
        breaches.append(f"{arguments[1]}: no object of any room")
    print("\n".join(breaches + [f"{len(objects)} objects, {len(links.defined)} symbols, {len(breaches)} breaches"]))
    return 1 if breaches else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
