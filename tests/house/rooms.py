"""The list of rooms (cmake/rooms.txt), and which room a file belongs to."""
import os
import re
from pathlib import Path

LIST = "cmake/rooms.txt"
ROOM_KEYS = ("subject", "holds", "opens", "sees", "libraries", "headers", "calls")
LIBRARY_KEYS = ("headers", "symbols", "target")
SOURCE = re.compile(r"\.(c|cc|cpp|cxx|h|hh|hpp|hxx|inc|inl|ipp|tcc)$")


class Library:
    def __init__(self, name):
        self.name = name
        self.headers, self.symbols, self.target = [], [], []


class Room:
    def __init__(self, name):
        self.name = name
        self.subject = ""
        self.holds = []  # (folder, stems); no stems: all
        self.opens, self.sees, self.libraries, self.headers, self.calls = [], [], [], [], []
        self.debts = []  # rooms that it sees though they stand further down

    def is_opened(self, path):
        """Whether other rooms may include this file of the room."""
        if self.opens:
            return any(path == name or path.startswith(name + "/") for name in self.opens)
        return any(path.startswith((f"{folder}/inside/", f"{folder}/include/")) for folder, _ in self.holds)


class Rooms:
    """What the list says; `problems` is what is wrong with the list itself, as lines to print."""

    def __init__(self, tree):
        self.tree = Path(tree)
        self.rooms, self.libraries, self.free, self.problems = {}, {}, [], []
        self._read()

    def _read(self):
        here = None
        for number, line in enumerate((self.tree / LIST).read_text().split("\n"), 1):
            words = line.split("#")[0].split() if not line.startswith("    subject ") else line.split()
            if not words:
                continue
            key, rest = words[0], words[1:]
            where = f"{LIST}:{number}"
            if not line[0].isspace():
                here = self._begin(key, rest, where)
            elif here is None or key not in (ROOM_KEYS if isinstance(here, Room) else LIBRARY_KEYS) or not rest:
                self.problems.append(f"{where}: nothing is known of the line '{line.strip()}'")
            elif key == "subject":
                here.subject = " ".join(rest)
            elif key == "holds":
                here.holds.append((rest[0], rest[1:]))
            else:
                getattr(here, key).extend(rest)
                self._check_names(here, key, rest, where)
        for room in self.rooms.values():
            room.debts = [name[1:] for name in room.sees if name.startswith("!")]
            room.sees = [name.lstrip("!") for name in room.sees]
            room.holds = room.holds or [(room.name, [])]
            if not room.subject:
                self.problems.append(f"{LIST}: room {room.name} has no subject")
        named = {name for room in self.rooms.values() for name in room.libraries}
        self.problems += [f"{LIST}: library {name} is of no room" for name in self.libraries if name not in named]

    def _begin(self, key, rest, where):
        if key == "free" and rest:
            self.free += rest
            return None
        if key not in ("room", "library") or len(rest) != 1:
            self.problems.append(f"{where}: neither a room nor a library nor free folders")
            return None
        known = self.rooms if key == "room" else self.libraries
        if rest[0] in known:
            self.problems.append(f"{where}: {rest[0]} is there twice")
        known[rest[0]] = Room(rest[0]) if key == "room" else Library(rest[0])
        return known[rest[0]]

    def _check_names(self, here, key, names, where):
        """What is named stands further up: that is why there are no circles."""
        for name in names if key == "sees" else []:
            if name.endswith(".h") or name.startswith("!"):
                continue
            if name == here.name or name not in self.rooms:
                self.problems.append(f"{where}: {here.name} sees {name}, which does not stand further up: a circle, "
                                     "or no room")
        for name in names if key == "libraries" else []:
            if name not in self.libraries:
                self.problems.append(f"{where}: there is no library {name}")

    def room_of(self, path):
        """The room that holds a file, by its path in the tree; None when there is none."""
        stem = re.sub(r"\.[^.]*$", "", path.split("/")[-1])
        best, best_weight = None, (-1, False)
        for room in self.rooms.values():
            for folder, stems in room.holds:
                if not path.startswith(folder + "/") or (stems and stem not in stems):
                    continue
                weight = (len(folder), bool(stems))
                if weight > best_weight:
                    best, best_weight = room, weight
        return best

    def is_free(self, path):
        return any(path.startswith(folder + "/") for folder in self.free)

    def sees(self, room, other, path):
        """Whether `room` may include `path`, a file of room `other`."""
        if room is other:
            return True
        if not other.is_opened(path):
            return False
        return other.name in room.sees or any(name.endswith(".h") and path.endswith("/" + name)
                                              for name in room.sees)

    def libraries_of(self, room):
        return [self.libraries[name] for name in room.libraries if name in self.libraries]


def source_files(tree):
    """Every C and C++ file of the tree, sorted; not those of build trees."""
    found = []
    for folder, folders, names in os.walk(tree):
        top = Path(folder) == Path(tree)
        folders[:] = [name for name in folders if not name.startswith(".") and not (top and name.startswith("build"))]
        found += [os.path.relpath(os.path.join(folder, name), tree) for name in names if SOURCE.search(name)]
    return sorted(found)
