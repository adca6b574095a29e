#!/usr/bin/env python3
"""Plants breaches of the rules of rooms, of sources without tests, of words and of statuses in a copy of the tree, one of
each kind, and expects each to be found, and nothing where none is.

Usage: house_breaches_test.py TREE BUILD COMPILER
"""
import functools
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

sys.dont_write_bytecode = True  # the tree stays as it is
from rooms import LIST, source_files
from usage import arguments

HERE = Path(__file__).resolve().parent
MAP = "docs/architecture.md"


def include(path, line, what):
    """A plant: lines at the end of a file; and what is to be said of the last of them that is a directive."""
    return (path, line, what)


def listed(room, line, what):
    """A plant in the block of a room."""
    change = lambda text: re.sub(rf"^(room {re.escape(room)}\n)", rf"\g<1>    {line}\n", text, flags=re.MULTILINE)
    return (f"'{line}' for {room}", {LIST: change}, what)


def neither(header, room):
    return f"{re.escape(header)} is neither standard C\\+\\+ nor named for {room}"


INCLUDES = [
    include("platform/text/Script.cpp", '#include "front/MovieObjects.h"', "must not see platform/movies/front/MovieObjects.h, which is private"),
    include("platform/text/Script.cpp", '#include "../movies/front/MovieObjects.h"', "must not see platform/movies/front/MovieObjects.h, which is private"),
    include("platform/text/Script.cpp", "#include <movies/front/MovieObjects.h>", "must not see platform/movies/front/MovieObjects.h, which is private"),
    include("platform/memory/Heap.cpp", '#include "resources/Chain.h"', "must not see platform/resources/inside/resources/Chain.h, which is of"),
    include("platform/places/NodeTable.cpp", '#include "forks/Forks.h"', "must not see platform/forks/inside/forks/Forks.h, which is of"),
    include("platform/os/Replace.cpp", "#include <toolbox/Resources.h>", "must not see platform/include/toolbox/Resources.h, which is of"),
    include("platform/interface/Terminal.cpp", '#include "../memory/MacMemory_test_access.h"', "must not see platform/memory/MacMemory_test_access.h"),
    include("foundation/include/foundation/Int64.h", "#include <foundation/LException.h>", "must not see foundation/include/foundation/LException.h"),
    include("files/UBundle.cpp", "#include <converter/WAVReader.h>", "must not see converter/include/converter/WAVReader.h"),
    include("files/UBundle.cpp", '#include "../converter/StreamFormat.h"', "must not see converter/StreamFormat.h, which is private"),
    include("converter/WAVReader.cpp", '#include "../tests/fakes/Calls.h"', "must not see tests/fakes/Calls.h, which belongs to no room"),
    include("strings/CStrings.cpp", "#include <jni.h>", neither("jni.h", "strings/text")),
    include("converter/Conversion.cpp", "#include <jni.h>", neither("jni.h", "converter")),
    include("strings/CStrings.cpp", "#include <nlohmann/json.hpp>", neither("nlohmann/json.hpp", "strings/text")),
    include("strings/CStrings.cpp", "#include <CLI/CLI.hpp>", neither("CLI/CLI.hpp", "strings/text")),
    include("strings/CStrings.cpp", "#include <pwd.h>", neither("pwd.h", "strings/text")),
    include("strings/CStrings.cpp", "#include <elf.h>", neither("elf.h", "strings/text")),
    include("strings/CStrings.cpp", "#include <time.h>", neither("time.h", "strings/text")),
    include("strings/CStrings.cpp", '#include "time.h"', neither("time.h", "strings/text")),
    include("strings/CStrings.cpp", "#include <iconv.h>", neither("iconv.h", "strings/text")),
    include("strings/CStrings.cpp", "#include <expat.h>", neither("expat.h", "strings/text")),
    include("platform/os/Replace.cpp", "#include <expat.h>", neither("expat.h", "platform/os")),
    include("platform/formats/AppleDouble.cpp", "#include <unistd.h>", neither("unistd.h", "platform/formats")),
    include("platform/resources/Chain.cpp", "#include <unicode/ustring.h>", neither("unicode/ustring.h", "platform/resources")),
    include("platform/movies/mpeg4/MPEG4Boxes.cpp", "#include <libavformat/avformat.h>", neither("libavformat/avformat.h", "platform/movies/mpeg4")),
    include("converter/WAVReader.cpp", "#include <filesystem>", neither("filesystem", "converter")),
    include("converter/WAVReader.cpp", "#inc\\\nlude <pwd.h>", neither("pwd.h", "converter")),
    include("converter/WAVReader.cpp", "%:include <pwd.h>", neither("pwd.h", "converter")),
    include("converter/WAVReader.cpp", "/* */ # /* */ include /* */ <pwd.h> // why", neither("pwd.h", "converter")),
    include("converter/WAVReader.cpp", "#define HEADER <pwd.h>\n#include HEADER", "not spelled out"),
    include("converter/WAVReader.cpp", "import <pwd.h>;", "not spelled out"),
    include("strings/CStrings.cpp", "#include <chrono>", neither("chrono", "strings/text")),
    include("strings/CStrings.cpp", "#include <random>", neither("random", "strings/text")),
    # What opens no comment and no text, though it looks so.
    include("strings/CStrings.cpp", "int gOne = 1'0; const char* gText = \"'/*\";\n#include <pwd.h>\n// */", neither("pwd.h", "strings/text")),
    include("strings/CStrings.cpp", "const char* gRaw = R\"-x-(\" /* )-x-\";\n#include <pwd.h>\n// */", neither("pwd.h", "strings/text")),
    include("strings/CStrings.cpp", "const char* gText = NOT_R\"(\";\n#include <pwd.h>\n// )\"", neither("pwd.h", "strings/text")),
    include("strings/CStrings.cpp", "/*\n\" // */ #include <pwd.h>", neither("pwd.h", "strings/text")),
    include("strings/CStrings.cpp", "# /*\n*/ include <pwd.h>", "not spelled out"),
    include("strings/CStrings.cpp", "#inc\\ \nlude <pwd.h>", neither("pwd.h", "strings/text")),
]

LISTED = [
    ("a file of no room", {"newroom/New.cpp": lambda text: "int gNew;\n"}, "newroom/New.cpp:1: belongs to no room"),
    ("an #include behind a byte order mark", {"strings/CStrings.cpp": lambda text: "\ufeff#include <pwd.h>\n" + text},
     "strings/CStrings.cpp:1: " + neither("pwd.h", "strings/text")),
    ("two headers that include each other",
     {"platform/memory/Heap.h": lambda text: text + '\n#include "Accounts.h"\n',
      "platform/memory/Accounts.h": lambda text: text + '\n#include "Heap.h"\n'}, "a circle of includes: .*Accounts.h"),
    ("a header that brings along what is not seen",
     {"platform/forks/inside/forks/Forks.h": lambda text: text + '\n#include "places/NodeTable.h"\n',
      LIST: lambda text: re.sub(r"(room platform/resources\n.*\n    sees .*) platform/places", r"\1", text)},
     "brings along platform/places/inside/places/NodeTable.h, and platform/resources does not see platform/places"),
    listed("platform/os", "sees platform/movies/front", "a circle, or no room"),
    listed("platform/os", "sees platform/os", "a circle, or no room"),
    listed("platform/os", "sees platform/nowhere", "a circle, or no room"),
    listed("platform/os", "sees !platform/movies/front", "platform/os owes platform/movies/front, of which"),
    listed("platform/movies/front", "sees !platform/os", "platform/movies/front owes platform/os, .*further up"),
    listed("platform/os", "libraries libnothing", "there is no library libnothing"),
    listed("platform/os", "smells nothing", "nothing is known of the line"),
    listed("platform/formats", "headers pwd.h", "names pwd.h, which it does not include"),
    listed("platform/formats", "libraries ICU", "names ICU, of which it includes nothing"),
    listed("strings/resources", "holds strings TCFStringNothing", "strings/TCFStringNothing, which is no file"),
    ("a library of no room", {LIST: lambda text: text + "\nlibrary libnobody\n    headers nobody/\n"}, "library libnobody is of no room"),
    ("a room without files", {LIST: lambda text: text + "\nroom platform/empty\n    subject nothing\n"}, "holds no file"),
]

# Each by itself: only the first line that is not right is told.
MAPS = [
    ("a row of the map that lies",
     {MAP: lambda text: re.sub(r"(\| `platform/memory` \|[^|]*\|)[^|]*\|", r"\1 os, resources |", text)},
     f"{re.escape(MAP)}:\\d+: the table of the rooms is not"),
    ("a row of the map that is missing",
     {MAP: lambda text: re.sub(r"\| `platform/memory` \|.*\n", "", text)}, f"{re.escape(MAP)}:\\d+: the table of the rooms is not"),
    ("a map without a table", {MAP: lambda text: "# Architecture\n"}, "there is no table"),
]

# What would be a breach if it were not a comment or text.
HARMLESS = {"strings/CStrings.cpp": lambda text: text + '\n// #include <pwd.h>\n/* #include <pwd.h> */\n// \\\n#include <pwd.h>\n'
                                                       'const char* gText = "\\\n#include <pwd.h>";\nconst char* gRaw = R"(#include <pwd.h>)";\n'
                                                       '#include <string> /* not this\n <pwd.h> */\n'}

# Sources of their own whose objects join those of the build: what headers hide.
SYMBOLS = [
    ("platform/memory", 'extern "C" short CurResFile(); short Planted() { return CurResFile(); }',
     "uses CurResFile of platform/resources/.*, and platform/memory does not see platform/resources"),
    ("strings", "namespace toolbox::movies { short NoteMoviesError(short); } short Planted() { return toolbox::movies::NoteMoviesError(1); }",
     "uses .*NoteMoviesError.* of platform/movies/front/.*, and strings/text does not see"),
    ("foundation", "struct LException { static void Throw(long); }; void Planted() { LException::Throw(1); }",
     "uses .*LException5Throw.* of foundation/LException.cpp, and foundation/system does not see foundation/exceptions"),
    ("strings", 'extern "C" int open(const char*, int, ...); int Planted() { return open("", 0); }',
     "calls open, which is not named for strings/text"),
    ("converter", '#include <pthread.h>\nint Planted(pthread_mutex_t* m) { return pthread_mutex_lock(m); }',
     "calls pthread_mutex_lock, which is not named for converter"),
    ("platform/formats", 'extern "C" int nice(int); int Planted() { return nice(1); }',
     "calls nice, which is not named for platform/formats"),
    ("platform/resources", 'extern "C" void av_free(void*); void Planted() { av_free(nullptr); }',
     "calls av_free, which is not named for platform/resources"),
    ("platform/catalogue", 'extern "C" int openat(int, const char*, int, ...); int Planted() { return openat(0, "", 0); }',
     "calls openat.* past the table of platform/os/inside/os/SystemCalls.h"),
    ("platform/memory", '#include <cstdlib>\nvoid* volatile gPlanted = std::malloc(1);',
     "calls malloc.* past the table of platform/os/inside/os/SystemCalls.h"),
    ("platform/system", '#include <time.h>\nint Planted(timespec* t) { return clock_gettime(CLOCK_REALTIME, t); }',
     "calls clock_gettime.* past the table of platform/os/inside/os/SystemCalls.h"),
    ("strings", "#include <chrono>\nlong Planted() { return std::chrono::system_clock::now().time_since_epoch().count(); }",
     "calls _ZNSt6chrono.*12system_clock3nowEv, which is not named for strings/text"),
    ("platform/system", "#include <chrono>\nlong Planted() { return std::chrono::steady_clock::now().time_since_epoch().count(); }",
     "calls _ZNSt6chrono.*12steady_clock3nowEv, which is not named for platform/system"),
    ("strings", "#include <random>\nunsigned Planted() { return std::random_device()(); }",
     "calls _ZNSt13random_device.*, which is not named for strings/text"),
    ("converter", "#include <thread>\nvoid Planted() { std::thread([] {}).detach(); }",
     "calls _ZNSt6thread.*, which is not named for converter"),
    ("converter", "#include <fstream>\nint Planted() { return std::ifstream(\"/etc/passwd\").get(); }",
     "calls _ZNSt.*basic_filebuf.*, which is not named for converter"),
    ("strings", 'extern "C" int __open_2(const char*, int); int Planted() { return __open_2("", 0); }',
     "calls __open_2, which is not named for strings/text"),
    ("platform/catalogue", 'extern "C" int __openat_2(int, const char*, int); int Planted() { return __openat_2(0, "", 0); }',
     "calls __openat_2 past the table of platform/os/inside/os/SystemCalls.h"),
    ("foundation", 'extern "C" char** __environ; char** Planted() { return __environ; }',
     "calls __environ, which is not named for foundation/system"),
    ("files", 'extern "C" __attribute__((weak)) int nice(int); int Planted() { return nice ? nice(1) : 0; }',
     "calls nice, which is not named for files"),
    ("strings", "#include <locale>\nvoid Planted() { std::locale::global(std::locale::classic()); }",
     "calls _ZNSt6locale6globalERKS_, which is not named for strings/text"),
    ("strings", '#include <cstdlib>\ndouble Planted(const char* a) { return std::strtod(a, nullptr); }',
     "calls strtod, which is not named for strings/text"),
    ("converter", '#include <cstdio>\nint Planted(char* a, double b) { return std::snprintf(a, 9, "%g", b); }',
     "calls (__)?snprintf(_chk)?, which is not named for converter"),
    ("converter", 'extern "C" int isalpha(int); int Planted(int a) { return isalpha(a); }',
     "calls isalpha, which is not named for converter"),
    ("converter", "#include <condition_variable>\nvoid Planted(std::condition_variable& c) { c.notify_one(); }",
     "calls _ZNSt18condition_variable10notify_oneEv, which is not named for converter"),
    ("converter", 'extern "C" void Activate() __asm__("_ZNSt9once_flag11_M_activateEv"); void Planted() { Activate(); }',
     "calls _ZNSt9once_flag11_M_activateEv, which is not named for converter"),
    ("converter", 'extern "C" void* gCall __asm__("_ZSt11__once_call"); void* Planted() { return gCall; }',
     "calls _ZSt11__once_call, which is not named for converter"),
    ("strings", "namespace other { int Call(); } int Planted() { return other::Call(); }",
     "calls _ZN5other4CallEv, which is not named for strings/text"),
]
ALLOWED = [("strings", '#include <cstring>\n#include <vector>\n#include <stdexcept>\nextern "C" short CurResFile(); extern "C" long getpid(); '
                       'unsigned long Planted(const char* a) { if (!a) throw std::runtime_error("none"); '
                       'return std::strlen(a) + CurResFile() + std::vector<char>(a, a + 1).size(); }'),
           ("platform/keys", "#include <condition_variable>\n#include <mutex>\nvoid PlantedOnce(); std::once_flag gPlanted; "
                             "void Planted(std::condition_variable& c) { std::call_once(gPlanted, PlantedOnce); c.notify_one(); } "
                             "void PlantedOnce() {}")]

TESTED_BY = "tests/house/tested_by.txt"
JAVA = "java/src/"


def tested_by(line, what):
    return (f"'{line}' in {TESTED_BY}", {TESTED_BY: lambda text: text + line + "\n"}, f"{re.escape(TESTED_BY)}:\\d+: {what}")


TESTS = [
    ("a source without a test", {"strings/Untested.cpp": lambda text: "int gUntested;\n"}, "strings/Untested.cpp:1: no test at"),
    tested_by("strings/CStrings.cpp  tests/strings/CStrings_test.cpp  CStrings", "strings/CStrings.cpp has a test at"),
    tested_by("strings/Gone.cpp  tests/strings/CStrings_test.cpp  CStrings", "there is no source strings/Gone.cpp"),
    tested_by("files/UCarbon.cpp  tests/files/Gone_test.cpp  LoadFrameworkBundle", "there is no test tests/files/Gone_test.cpp"),
    tested_by("files/UCarbon.cpp  files/UBundle.cpp  UBundle", "there is no test files/UBundle.cpp"),
    tested_by("files/UCarbon.cpp  tests/files/UBundle_test.cpp  NeverHeardOf", "NeverHeardOf is no case of"),
    tested_by("files/UCarbon.cpp  tests/strings/CStrings_test.cpp  CStrings", "CStrings is no case of"),
    tested_by("files/UCarbon.cpp", "not a source, a test and a name"),
    ("a Java source without a test", {JAVA + "main/java/com/mirtal/Untested.java": lambda text: "class Untested {}\n"},
     "com/mirtal/Untested.java:1: no test at java/src/test/java/com/mirtal/UntestedTest.java"),
    tested_by(f"{JAVA}main/java/com/mirtal/Gone.java  {JAVA}test/java/com/mirtal/WavSourceTest.java  damageIsTold",
              "there is no source java/src/main/java/com/mirtal/Gone.java"),
    tested_by(f"{JAVA}main/java/com/mirtal/Damage.java  {JAVA}test/java/com/mirtal/ChildJava.java  Damage",
              "there is no test java/src/test/java/com/mirtal/ChildJava.java"),
    tested_by(f"{JAVA}main/java/com/mirtal/Damage.java  {JAVA}test/java/com/mirtal/SampledTest.java  damageIsTold",
              "damageIsTold is no case of java/src/test/java/com/mirtal/SampledTest.java"),
]


def added(path, lines, what):
    """A plant of lines at the end of a file."""
    return (f"{lines} in {path}", {path: lambda text: text + lines + "\n"}, f"{re.escape(path)}.*{what}")


def east(path, lines):
    return added(path, lines, "const stands behind its type")


RULES = [
    east("strings/CStrings.cpp", "std::string const gPlanted;"),
    east("strings/PascalStrings.cpp", "static std::vector<std::pair<int, int>> const sPlanted;"),
    east("strings/PlugParams.cpp", "auto Planted(FSRef const* inRef) { return inRef; }"),
    east("strings/TruncatingCopies.cpp", "const char *const *const kPlanted = 0; unsigned const kOther = 0;"),
    added("strings/CStrings.cpp", "constexpr int kLongestPlant = 3;", "kLongestPlant: an upper bound is kMax"),
    added("strings/CStrings.cpp", "constexpr int kMost = 3;", "kMost: an upper bound is kMax"),
    ("a file of 601 lines", {"strings/Long.h": lambda text: "\n" * 601}, "strings/Long.h:601: longer than 600 lines"),
    ("a file of 601 lines without an end", {"strings/Endless.h": lambda text: "\n" * 600 + "//"},
     "strings/Endless.h:601: longer than 600 lines"),
    ("a test in no target", {"tests/strings/Forgotten_test.cpp": lambda text: "int gForgotten;\n"}, "Forgotten_test.cpp:1: is in no target"),
    ("a Java test in no target", {JAVA + "test/java/com/mirtal/ForgottenTest.java": lambda text: "class ForgottenTest {}\n"},
     "ForgottenTest.java:1: is in no target"),
]
RIGHT = [
    "const std::string gPlanted; extern const char* const kPlanted; TOOLBOX_EXPORT const char* Planted();",
    "template <typename T>\nconst T& Planted(); auto Other = []() -> const char* { return 0; };",
    "struct Planted { int Get() const; }; // int const\nconst char* gPlanted = \"int const\"; // kMost",
    "using kMostly = int;",
]

ERRORS, WORDS, CODES = "platform/include/toolbox/MacErrors.h", "platform/status/StatusText.cpp", JAVA + "main/java/com/mirtal/PlatformStatus.java"


def changed(path, before, after, what):
    return (f"{after!r} in {path}", {path: lambda text: text.replace(before, after, 1)}, f"{re.escape(path)}: {what}")


STATUSES = [
    changed(ERRORS, "ioErr = -36,", "ioErr = -36, // as usual\n    twinErr = -36,", "twinErr and ioErr are one number"),
    ("a status that comments name, and nobody answers",
     {ERRORS: lambda text: text.replace("enum {", "enum {\n    plantErr = -999,", 1),
      "strings/CStrings.cpp": lambda text: text + "// Answers plantErr.\n"}, "nobody answers plantErr"),
    changed(WORDS, "    {ioErr, ", "    {noErr, ", "no words for ioErr"),
    changed(WORDS, "    {bdNamErr, ", "    {eofErr, ", "eofErr has words twice"),
    changed(CODES, "NO_FILE = -43;", "NO_FILE = -48;", "NO_FILE is -48, and fnfErr is -43"),
    changed(CODES, "// bdNamErr", "// dupFNErr", "BAD_NAME is -37, and dupFNErr is -48"),
    changed(CODES, "// eofErr", "", "END_OF_FILE: no name of"),
    changed(CODES, "// dirNFErr", "// fnfErr", "fnfErr has two names"),
    changed(CODES, "    private", "    static final int UNUSED = -36;  // ioErr\n    private", "nobody uses UNUSED"),
    changed(CODES, "    private", "    static int other = -36;\n    private", "a constant is not of the form"),
]

# Scripts for which a tree is not enough.
MORE_THAN_A_TREE = ("exported_symbols.py", "house_breaches_test.py", "must_use.py", "room_symbols.py", "thread_safety.py")

PLANTS = (INCLUDES, LISTED, MAPS, TESTS, RULES, STATUSES, SYMBOLS)
failures = []


def run(script, *arguments):
    result = subprocess.run([sys.executable, HERE / script, *arguments], capture_output=True, text=True)
    return result.returncode, result.stdout + result.stderr


def expect_found(what, outcome, pattern):
    code, output = outcome
    if code != 1 or not re.search(pattern, output):
        failures.append(f"{what}: not found (exit {code}):\n{output}")


def expect_none(what, outcome):
    code, output = outcome
    if code != 0:
        failures.append(f"{what}: refused (exit {code}):\n{output}")


def expect_all(tree, script, plants):
    """Plants everything at once and looks for each."""
    merged = {}
    for _, changes, _ in plants:
        for name, change in changes.items():
            merged.setdefault(name, []).append(change)

    def all_of(changes):
        def change(text):
            for each in changes:
                after = each(text)
                if after == text:
                    failures.append(f"nothing to plant in: {text[:200]}")
                text = after
            return text
        return change

    with Changed(tree, {name: all_of(changes) for name, changes in merged.items()}):
        outcome = run(script, tree)
    for what, _, pattern in plants:
        expect_found(what, outcome, pattern)


class Changed:
    """Files of a tree, changed for a while."""

    def __init__(self, tree, changes):
        self.tree, self.changes, self.before = tree, changes, {}

    def __enter__(self):
        for name, change in self.changes.items():
            path = self.tree / name
            self.before[path] = path.read_text() if path.exists() else None
            text = change(self.before[path] or "")
            if text == self.before[path]:
                failures.append(f"{name}: nothing to plant in")
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text)

    def __exit__(self, *_):
        for path, text in self.before.items():
            if text is None:
                path.unlink()
            else:
                path.write_text(text)


def test_includes(tree):
    expect_none("the tree as it is", run("room_rules.py", tree))
    with Changed(tree, HARMLESS):
        expect_none("comments and text", run("room_rules.py", tree))
    plants, expected = {}, []
    for path, lines, what in INCLUDES:
        before = plants.get(path) or (tree / path).read_text()
        number = before.count("\n") + 1 + lines[:max(map(lines.rfind, ("#", "%:", "import")))].count("\n")
        plants[path] = before + lines + "\n"
        expected.append((f"{lines} in {path}", f"{re.escape(path)}:{number}: .*{what}"))
    with Changed(tree, {path: lambda _, text=text: text for path, text in plants.items()}):
        outcome = run("room_rules.py", tree)
    for what, pattern in expected:
        expect_found(what, outcome, pattern)


def test_list(tree):
    expect_all(tree, "room_rules.py", LISTED)
    for plant in MAPS:
        expect_all(tree, "room_rules.py", [plant])
    expect_none("the tree without its plants", run("room_rules.py", tree))


def test_script(tree, script, plants):
    expect_none(f"{script} on the tree as it is", run(script, tree))
    expect_all(tree, script, plants)


def test_rules(tree):
    test_script(tree, "house_rules.py", RULES)
    with Changed(tree, {"strings/CStrings.cpp": lambda text: text + "\n".join(RIGHT) + "\n",
                        "strings/Long.h": lambda text: "\n" * 600, "strings/Endless.h": lambda text: "\n" * 599 + "//"}):
        expect_none("words that are right, and files of 600 lines", run("house_rules.py", tree))


def test_usage():
    scripts = {path.name for path in HERE.glob("*.py")} - {"rooms.py", "usage.py"}
    for script in scripts:
        for given in ([], ["."] * 9, ["."] if script in MORE_THAN_A_TREE else []):
            code, output = run(script, *given)
            if code != 2 or not output.startswith(f"Usage: {script} ") or "Traceback" in output:
                failures.append(f"{script} {given}: does not say its usage (exit {code}):\n{output}")


def test_symbols(tree, source_tree, build, compiler):
    commands = json.loads((build / "compile_commands.json").read_text())
    for command in commands:
        command["file"] = str(tree / os.path.relpath(command["file"], source_tree))
    shadow = tree / "build"
    shadow.mkdir()

    def plant(number, folder, code):
        """A source of the room and its object, as the build would list it."""
        source, compiled = tree / folder / f"Planted{number}.cpp", shadow / f"Planted{number}.o"
        source.write_text(code)
        subprocess.run([compiler, "-std=c++20", "-O1", "-c", source, "-o", compiled], check=True)
        return {"directory": str(shadow), "command": f"{compiler} -o {compiled} -c {source}", "file": str(source)}

    def outcome(more):
        (shadow / "compile_commands.json").write_text(json.dumps(commands + more))
        return run("room_symbols.py", tree, shadow)

    expect_none("the build as it is", run("room_symbols.py", source_tree, build))
    allowed = [plant(f"Right{number}", *each) for number, each in enumerate(ALLOWED)]
    expect_none(f"{ALLOWED}", outcome(allowed))
    planted = [plant(number, folder, code) for number, (folder, code, _) in enumerate(SYMBOLS)]
    lines = [("platform/aliases", "calls getuid system"), ("platform/system", "calls clock_gettime"),
             ("platform/memory", "sees platform/status")]
    with Changed(tree, {LIST: lambda text: functools.reduce(lambda all, each: listed(*each, "")[1][LIST](all), lines, text)}):
        found = outcome(planted)
    for number, (folder, code, pattern) in enumerate(SYMBOLS):
        expect_found(f"{code} in {folder}", found, f"{folder}/Planted{number}.cpp: {pattern}")
    expect_found("a call that is not made", found, "room platform/aliases names getuid, which it does not call")
    expect_found("a room that may call anything", found, "room platform/aliases may call anything")
    expect_found("a room that is seen for nothing", found, "room platform/memory sees platform/status, of which it uses nothing")
    (shadow / "PlantedRight0.o").unlink()
    expect_found("a source without its object", outcome(allowed), "PlantedRight0.cpp: is not compiled")
    commands.clear()
    expect_found("a build without objects", outcome([]), "no object of any room")


def main(source_tree, build, compiler):
    with tempfile.TemporaryDirectory() as folder:
        tree = Path(folder).resolve() / "tree"
        lists = [path.relative_to(source_tree).as_posix() for path in (source_tree / "tests").rglob("CMakeLists.txt")]
        lists += [f"{folder}/CMakeLists.txt" for folder in ("bench", "fuzz")]
        java = [path.relative_to(source_tree).as_posix() for path in (source_tree / "java").rglob("*.java")]
        for name in source_files(source_tree) + java + lists + [LIST, MAP, TESTED_BY]:
            (tree / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source_tree / name, tree / name)
        test_usage()
        test_includes(tree)
        test_list(tree)
        test_script(tree, "source_tests.py", TESTS)
        subprocess.run(["git", "init", "--quiet", tree], check=True)
        test_rules(tree)
        test_script(tree, "status_codes.py", STATUSES)
        test_symbols(tree, source_tree, build, compiler)
    print("\n".join(failures + [f"{sum(map(len, PLANTS)) + 5} plants, {len(failures)} failures"]))
    return 1 if failures else 0


if __name__ == "__main__":
    SOURCE_TREE, BUILD, COMPILER = arguments(3)
    sys.exit(main(Path(SOURCE_TREE).resolve(), Path(BUILD).resolve(), COMPILER))
