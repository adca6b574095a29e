#!/usr/bin/env python3
"""Whether the compiled rooms use only the functions and objects of rooms that they see, whatever their headers say; and
of the system only what cmake/rooms.txt names. Of the platform none but its ground floor may call what the table of
system calls has, nor whatever else there is: the rest goes through the table, so that tests can stand beneath. And
whether each room uses every room that it says it sees, by an include or by a symbol.

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
from room_rules import Includes
from rooms import LIST, Rooms, source_files
from usage import arguments

# What compilers call by themselves: exceptions, objects of functions and threads, arithmetic that the machine lacks,
# what processor it is, stack protection and where errno is; and an assertion's end.
RUNTIME = re.compile(r"^(_GLOBAL_OFFSET_TABLE_|_Unwind_\w+|__cxa_\w+|__g(xx|cc)_personality_\w+|__dynamic_cast|__dso_handle"
                     r"|__tls_get_addr|__emutls_get_address|__stack_chk_(fail|guard)|__errno_location"
                     r"|__libc_single_threaded|__cpu_(model|features2|indicator_init)|__assert_fail"
                     r"|__(u?div|u?mod|u?divmod|mul|neg|ash[lr]|lshr|popcount|c[lt]z|bswap)[dt]i[234]"
                     r"|__(add|sub|mul|div|neg|unord|cmp|eq|ne|l[te]|g[te])[sdtx]f[23]|__(extend|trunc)[sdtx]f[sdtx]f2"
                     r"|__fix(uns)?[sdtx]f[sdt]i|__float(un)?[sdt]i[sdtx]f"
                     r"|__aarch64_(cas|swp|ld(add|clr|eor|set))\d+_\w+"
                     r"|__(fpclassify|signbit|isinf|isnan|finite)[fl]?)$")
# What sanitizers and coverage add.
INSTRUMENTS = re.compile(r"^(__(asan|ubsan|tsan|lsan|sanitizer|sancov|gcov|llvm_(gcov|gcda|profile))_\w+|___asan_\w+|llvm_gc\w+"
                         r"|__(start|stop)_(asan_globals|__sancov_\w+|__llvm_prf_\w+))$")
# Names of the C++ library, by how they are mangled: std and what it abbreviates, its extensions, the language's own
# classes, the types that are built in, and operators new and delete. Not those that read a clock, start or end threads,
# or reach files, standard streams, the system's random bits, the process's locale or one by its name: who calls these
# is named.
STANDARD = re.compile(r"^_Z(GV|T[ISTVC])?(N[KVRO]*)?(St|S[abdios]|9__gnu_cxx|10__cxxabiv1)|^_ZT[ISV](P?K?)[a-z]$|^_Z(n[wa]|d[la])")
REACHING = re.compile(r"6chrono\w*(3nowEv|tzdb|_zone)|13random_device|6thread|11this_thread|13__future_base|10filesystem"
                      r"|12__basic_file|filebuf|fstream|8ios_base(4Init|15sync_with_stdio)|^_ZSt\d(w?(cin|cout|cerr|clog))$"
                      r"|6locale(C[12]E(PKc|RKS_PKc|RKN)|6globalE)|_byname")
# Functions of the C library that only work on what they are given; bcmp is what Clang makes of some memcmp. Not those
# whose answer the process's locale has a word in, as those that read or write a fraction, or tell what kind of character
# one is. (Of what strtol and its like do, it could change what is a blank, beyond ASCII.)
PURE = re.compile(r"^(gnu_dev_(major|minor)|bcmp|mem(ccpy|r?chr|cmp|cpy|move|set|mem)|str(n?cat|r?chr|n?cmp|n?cpy|n?len|c?spn|pbrk|str)|stpcpy"
                  r"|(m|c|re)alloc|aligned_alloc|free|abort|qsort|bsearch|strtou?ll?|ato(i|ll?)|l?abs"
                  r"|(l?l?round|l?l?rint|ceil|floor|trunc|fmod|fabs|sqrt|pow|exp2?|log(2|10)?|sin|cos|tan|ldexp|frexp|"
                  r"nearbyint|copysign|fma|fmin|fmax|modf|scalbn)[fl]?)$")
# Words of the list for many calls; and what std::mutex and its like call.
GROUPS = ("toolbox", "locks", "system")
LOCKS = re.compile(r"^pthread_(mutex|rwlock|once|cond|self)|^_ZSt\d+__once_call|^__once_proxy$"
                   r"|^_ZNK?St(9once_flag|18condition_variable)")
# A function of the C library under the name that it has with checks, or in a newer standard.
DISGUISE = re.compile(r"^__isoc\d+_(\w+)$|^__(\w+)_chk$|^__(open|openat)(?:64)?_2$")
# The ground floor, and the table that all else of the platform goes through.
GROUND = "platform/os"
TABLE = f"{GROUND}/inside/os/SystemCalls.h"
TABLE_ENTRY = re.compile(r"^ *CALL\((\w+),", re.MULTILINE)
SYMBOL = re.compile(r"^\s*\d+:\s+\S+\s+\S+\s+\S+\s+(LOCAL|GLOBAL|WEAK|UNIQUE)\s+(\w+)\s.*?(\S+) (\S+)$")


class Object:
    def __init__(self, source, room, path):
        self.source, self.room, self.path = source, room, path
        self.undefined = set()  # weak ones too: the dynamic linker fills them in where it can


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
    """Fills the objects' undefined names; returns {name: [(object, is it exported)]} of definitions."""
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
            here.undefined.add(name)
        elif binding == "GLOBAL" or not STANDARD.match(name):
            defined[name].append((here, visibility == "DEFAULT"))
    return defined


class Links:
    def __init__(self, rooms, objects, defined):
        self.rooms, self.objects, self.defined, self.breaches = rooms, objects, defined, []
        self.called = collections.defaultdict(set)
        self.used = collections.defaultdict(set)  # by a room: others whose symbols or headers it uses
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
        self.check_sees()

    def check_sees(self):
        """A room uses what it sees."""
        held = Includes(self.rooms, source_files(self.rooms.tree))
        held.run()
        headers = collections.defaultdict(set)
        for path, others in held.reached.items():
            name = self.rooms.room_of(path).name
            headers[name] |= others
            self.used[name].update(self.rooms.room_of(other).name for other in others)
        for room in {each.room.name: each.room for each in self.objects}.values():
            unused = [name for name in room.sees if name not in self.used[room.name]
                      and not any(name.endswith(".h") and path.endswith(f"/{name}") for path in headers[room.name])]
            self.breaches += [f"{LIST}: room {room.name} sees {name}, of which it uses nothing" for name in unused]

    def check_ours(self, user, name, definers):
        def is_allowed(definer, is_exported):
            if definer.room is user.room:
                return True
            if definer.room.name in user.room.sees:
                self.used[user.room.name].add(definer.room.name)
                return True
            return "toolbox" in user.room.calls and is_exported and definer.room.name.startswith("platform/")

        if not any(is_allowed(definer, is_exported) for definer, is_exported in definers):
            definer = definers[0][0]
            self.breaches.append(f"{user.source}: uses {name} of {definer.source}, and {user.room.name} does not see "
                                 f"{definer.room.name}")

    def check_foreign(self, user, name):
        plain = name.split("@")[0]
        base = DISGUISE.sub(lambda match: match[match.lastindex], plain)
        self.called[user.room.name].add(base)
        if self.is_above_ground(user.room) and base in self.table:
            self.breaches.append(f"{user.source}: calls {name} past the table of {TABLE}")
            return
        if RUNTIME.match(base) or INSTRUMENTS.match(base) or PURE.match(base):
            return
        if base in user.room.calls or "system" in user.room.calls:
            return
        is_lock = LOCKS.match(base)
        if is_lock and "locks" in user.room.calls:
            return
        if STANDARD.match(base) and not REACHING.search(base) and not is_lock:
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
    sys.exit(main(arguments(2)))
