#!/usr/bin/env python3
"""Whether every file includes only what its room may, as cmake/rooms.txt says; and whether the table of rooms in
docs/architecture.md is the one that the list gives. Needs no build.

Usage: room_rules.py TREE [--write-table]. Prints each breach as file:line: what; exits 1 if there is one.
"""
import re
import sys
from pathlib import Path

sys.dont_write_bytecode = True  # the tree stays as it is
from rooms import LIST, Rooms, source_files
from usage import arguments

# Standard C++20, without what is there to reach the system: clocks, threads, files, signals, random bits, the process's
# locale; rooms name that. Single functions of the rest that do (std::getenv) are found by room_symbols.py.
STANDARD = set("""
algorithm any array atomic barrier bit bitset cassert ccomplex cctype cerrno cfenv cfloat charconv cinttypes ciso646
climits cmath codecvt compare complex concepts condition_variable coroutine csetjmp cstdalign cstdarg cstdbool cstddef
cstdint cstdio cstdlib cstring ctgmath cuchar cwchar cwctype deque exception execution expected format forward_list
functional initializer_list iomanip ios iosfwd istream iterator latch limits list locale map memory memory_resource
mutex new numbers numeric optional ostream queue ranges ratio regex scoped_allocator semaphore set shared_mutex
source_location span sstream stack stdexcept streambuf string string_view syncstream system_error tuple type_traits
typeindex typeinfo unordered_map unordered_set utility valarray variant vector version
""".split())

# What `headers system` stands for: POSIX and what Linux has beside it.
SYSTEM = re.compile(r"^(sys|linux|net|netinet|arpa)/\w+\.h$|^(aio|assert|ctype|dirent|dlfcn|elf|errno|fcntl|fnmatch|ftw|"
                    r"glob|grp|inttypes|langinfo|libgen|limits|link|locale|math|mntent|paths|poll|pthread|pwd|sched|"
                    r"semaphore|signal|spawn|stdio|stdlib|string|strings|sysexits|syslog|termios|time|ucontext|ulimit|"
                    r"unistd|utime|wchar|wordexp)\.h$")

SPLICE = re.compile(r"\\[ \t\f\v]*\n")
COMMENT = re.compile(r"/\*.*?\*/")
DIRECTIVE = re.compile(r"^\s*(?:#|%:)\s*(?:include|include_next|import|embed)\b\s*(.*)$")
BROKEN = re.compile(r"^\s*(?:#|%:)\s*/\*")  # a comment of several lines before the directive's name
SPELLED = re.compile(r'(?:<([^>]+)>|"([^"]+)")\s*(?://.*|/\*.*)?$')
MODULE = re.compile(r"^\s*(?:export\s+)?import\s+[\w.:<\"]")
TABLE = ("<!-- Made from cmake/rooms.txt: tests/house/room_rules.py TREE --write-table -->", "<!-- End of the rooms -->")
MAP = "docs/architecture.md"


def includes(text):
    """(line number, what stands behind #include) for each; None where it is not spelled out.

    Each line is looked at by itself, as if nothing were open at its start, and once more behind each end of a comment:
    no comment or text before it can hide it. So an #include inside a comment of several lines counts too.
    """
    number = 1
    for line in SPLICE.sub("\v", text.replace("\r\n", "\n")).split("\n"):
        here, number = number, number + 1 + line.count("\v")
        line = line.replace("\v", "")
        for start in [0] + [match.end() for match in re.finditer(r"\*/", line)]:
            code = COMMENT.sub(" ", line[start:])
            directive = DIRECTIVE.match(code)
            if directive:
                spelled = SPELLED.match(directive[1])
                yield here, (spelled[1] or spelled[2], spelled[2] is not None) if spelled else None
                break
            if MODULE.match(code) or BROKEN.match(code):
                yield here, None
                break


def normal(path):
    parts = []
    for part in path.split("/"):
        if part == ".." and parts:
            parts.pop()
        elif part not in ("", "."):
            parts.append(part)
    return "/".join(parts)


class Includes:
    """The includes of the tree, held against the list."""

    def __init__(self, rooms, files):
        self.rooms, self.files = rooms, files
        self.known = set(files)
        self.edges = {}  # from file to files that it includes, for circles
        self.reached = {}  # the same with what those include
        self.breaches = []
        # Where a header of ours may be named from: what rooms open, and what a relative path could start at.
        self.roots = sorted({"/".join(part[:n]) for part in (name.split("/") for name in files) for n in range(len(part))},
                            key=lambda folder: (not folder.endswith(("/inside", "/include")), folder))

    def resolve(self, path, header, is_quoted):
        """The file of ours that an include may mean, those first that a compiler would find; or None."""
        folder = "/".join(path.split("/")[:-1])
        room = self.rooms.room_of(path)
        beside = normal(f"{folder}/{header}")
        if is_quoted and beside in self.known:
            return beside
        tidy = normal if "." in header.split("/")[:-1] or ".." in header else str
        found = [name for name in (tidy(f"{root}/{header}") for root in self.roots) if name in self.known]
        allowed = [name for name in found if self.may(room, name)]
        return (allowed or found or [None])[0]

    def may(self, room, name):
        other = self.rooms.room_of(name)
        return other is not None and self.rooms.sees(room, other, name)

    def check_file(self, path):
        room = self.rooms.room_of(path)
        text = (self.rooms.tree / path).read_bytes().decode("utf-8-sig", "surrogateescape")  # line ends as they are
        for number, spelled in includes(text):
            where = f"{path}:{number}"
            if spelled is None:
                self.breaches.append(f"{where}: what is included is not spelled out")
                continue
            header, is_quoted = spelled
            if not is_quoted and self.is_foreign_and_named(room, header):
                continue
            ours = self.resolve(path, header, is_quoted)
            if ours is not None and self.may(room, ours):
                self.edges.setdefault(path, []).append(ours)
            elif ours is not None:
                self.breaches.append(f"{where}: {room.name} must not see {ours}, {self.why(room, ours)}")
            elif not self.is_foreign_and_named(room, header):
                self.breaches.append(f"{where}: {header} is neither standard C++ nor named for {room.name}")

    def is_foreign_and_named(self, room, header):
        named = [prefix for library in self.rooms.libraries_of(room) for prefix in library.headers]
        return (header in STANDARD or header in room.headers or ("system" in room.headers and SYSTEM.match(header))
                or any(header == prefix or (prefix.endswith("/") and header.startswith(prefix)) for prefix in named))

    def why(self, room, ours):
        other = self.rooms.room_of(ours)
        if other is None:
            return "which belongs to no room"
        return f"which is private to {other.name}" if not other.is_opened(ours) else f"which is of {other.name}"

    def run(self):
        for path in self.files:
            if self.rooms.is_free(path):
                continue
            if self.rooms.room_of(path) is None:
                self.breaches.append(f"{path}:1: belongs to no room of {LIST}")
            else:
                self.check_file(path)
        self.find_circles()
        self.find_unseen()

    def find_unseen(self):
        """What a header brings along is seen by who includes it, or would not be found when that is compiled."""
        def reach(path, above=()):
            if path not in self.reached:
                others = [other for other in self.edges.get(path, []) if other not in above]
                self.reached[path] = set(others).union(*(reach(other, (*above, path)) for other in others))
            return self.reached[path]

        for path in sorted(self.edges):
            room = self.rooms.room_of(path)
            for other in sorted(reach(path) - set(self.edges[path])):
                by = self.rooms.room_of(other)
                if not other.startswith("platform/include/") and by.name not in room.sees and by is not room:
                    self.breaches.append(f"{path}:1: what it includes brings along {other}, and {room.name} does not see "
                                         f"{by.name}")

    def find_circles(self):
        """Headers that include each other."""
        state = {}

        def visit(path, above):
            state[path] = "open"
            for other in self.edges.get(path, []):
                if state.get(other) == "open" and other != path:
                    circle = above[above.index(other):] if other in above else [other]
                    self.breaches.append(f"{path}:1: a circle of includes: {' > '.join(circle + [path, other])}")
                elif other not in state:
                    visit(other, above + [path])
            state[path] = "done"

        for path in sorted(self.edges):
            if path not in state:
                visit(path, [])


def check_list(rooms, files):
    """Names of the list that mean nothing."""
    problems = list(rooms.problems)
    held = {}
    for path in files:
        room = rooms.room_of(path)
        if room is not None:
            held.setdefault(room.name, []).append(path)
    for room in rooms.rooms.values():
        if room.name not in held:
            problems.append(f"{LIST}: room {room.name} holds no file")
        stems = {re.sub(r"\.[^.]*$", "", path.split("/")[-1]) for path in held.get(room.name, [])}
        problems += [f"{LIST}: room {room.name} holds {folder}/{stem}, which is no file"
                     for folder, names in room.holds for stem in names if stem not in stems]
        problems += [f"{LIST}: room {room.name} sees {name}, which is opened by no room" for name in room.sees
                     if name.endswith(".h") and not any(path.endswith("/" + name) for path in files)]
        text = "".join((rooms.tree / path).read_text(errors="surrogateescape") for path in held.get(room.name, []))
        problems += [f"{LIST}: room {room.name} names {header}, which it does not include" for header in room.headers
                     if header != "system" and not re.search(r"[<\"]" + re.escape(header) + r"[>\"]", text)]
        problems += [f"{LIST}: room {room.name} names {library.name}, of which it includes nothing"
                     for library in rooms.libraries_of(room)
                     if not any(re.search(r"[<\"]" + re.escape(prefix), text) for prefix in library.headers)]
    return problems


def check_debts(rooms, reached):
    """Debts are of rooms that stand further down, and are struck out when they are paid."""
    names = list(rooms.rooms)
    seen = {(rooms.room_of(path).name, rooms.room_of(other).name) for path, others in reached.items() for other in others}
    return [f"{LIST}: room {room.name} owes {debt}, of which it includes nothing, or which stands further up"
            for room in rooms.rooms.values() for debt in room.debts
            if (room.name, debt) not in seen or names.index(debt) < names.index(room.name)]


def table(rooms):
    """The rooms as Markdown, from the floor up as in the list."""
    lines = ["| room | subject | sees | from outside |", "|---|---|---|---|"]
    for room in rooms.rooms.values():
        short = [name.removeprefix("platform/") if room.name.startswith("platform/") else name for name in room.sees]
        short = [f"({name}, further down: a debt)" if f"platform/{name}" in room.debts else name for name in short]
        outside = room.libraries + ["the system" if header == "system" else f"`<{header}>`" for header in room.headers]
        lines.append(f"| `{room.name}` | {room.subject} | {', '.join(short) or '—'} | {', '.join(outside) or '—'} |")
    return "\n".join(lines)


def with_table(rooms, text):
    """The map with the table that the list gives; None when there is no place for it."""
    begin, end = text.find(TABLE[0]), text.find(TABLE[1])
    if begin < 0 or end < begin:
        return None
    return text[:begin] + TABLE[0] + "\n\n" + table(rooms) + "\n\n" + text[end:]


def check_table(rooms):
    text = (rooms.tree / MAP).read_text()
    right = with_table(rooms, text)
    if right is None:
        return [f"{MAP}:1: there is no table of the rooms"]
    for number, (is_line, should_line) in enumerate(zip(text.split("\n"), right.split("\n")), 1):
        if is_line != should_line:
            return [f"{MAP}:{number}: the table of the rooms is not what {LIST} says (room_rules.py TREE --write-table "
                    f"makes it): {should_line}"]
    return [] if text == right else [f"{MAP}:1: the table of the rooms is not what {LIST} says"]


def main(arguments):
    tree = Path(arguments[0])
    rooms = Rooms(tree)
    if arguments[1:] == ["--write-table"]:
        made = with_table(rooms, (tree / MAP).read_text())
        if made is None:
            print(f"{MAP} has no place for the table: {TABLE[0]}")
            return 1
        (tree / MAP).write_text(made)
        return 0
    files = source_files(tree)
    held = Includes(rooms, files)
    held.run()
    breaches = check_list(rooms, files) + held.breaches + check_debts(rooms, held.reached) + check_table(rooms)
    print("".join(f"{room.name} owes {debt}\n" for room in rooms.rooms.values() for debt in room.debts), end="")
    print("\n".join(breaches + [f"{len(files)} files in {len(rooms.rooms)} rooms, {len(breaches)} breaches"]))
    return 1 if breaches else 0


if __name__ == "__main__":
    sys.exit(main(arguments(1, 2)))
