#!/usr/bin/env python3
"""Whether every source, C++ or Java, has a test: at the mirrored path, or where tests/house/tested_by.txt says.

Usage: source_tests.py TREE. Prints what is missing and lines that mean nothing; exits 1 if there is one.
"""
import re
import sys
from pathlib import Path

sys.dont_write_bytecode = True  # the tree stays as it is
from rooms import Rooms, source_files
from usage import arguments

LIST = "tests/house/tested_by.txt"
JAVA, JAVA_TESTS = "java/src/main/java/", "java/src/test/java/"


def listed(tree, problems):
    """{source: [(test, name, where)]} of the list."""
    lines = {}
    for number, line in enumerate((tree / LIST).read_text().split("\n"), 1):
        words = line.split("#")[0].split()
        if len(words) == 3:
            lines.setdefault(words[0], []).append((words[1], words[2], f"{LIST}:{number}"))
        elif words:
            problems.append(f"{LIST}:{number}: not a source, a test and a name")
    return lines


def ties(tree, source, test, name):
    """Whether a test has a case of this name, or uses it as the source does."""
    text = (tree / test).read_text()
    word = re.compile(r"\b" + re.escape(name) + r"\b")
    case = r"\bTEST(_F|_P)?\(\s*\w+\s*,\s*%s\s*\)" if test.endswith(".cpp") else r"@(Parameterized)?Test\s(?:[^{};]*\s)?void %s\("
    is_case = re.search(case % re.escape(name), text)
    return bool(is_case) or bool(word.search(text) and word.search((tree / source).read_text()))


def java_files(tree):
    """Every Java source that does something: descriptions of packages and modules have nothing to test."""
    paths = [path.relative_to(tree).as_posix() for folder in (JAVA, JAVA_TESTS) for path in (tree / folder).rglob("*.java")]
    return sorted(path for path in paths if not path.endswith("-info.java"))


def mirror_of(source):
    if source.startswith(JAVA):
        return JAVA_TESTS + re.sub(r"\.java$", "Test.java", source.removeprefix(JAVA))
    return "tests/" + re.sub(r"\.\w+$", "_test.cpp", source)


def is_test(rooms, path):
    return path.startswith(JAVA_TESTS) and path.endswith("Test.java") or \
        path.endswith("_test.cpp") and rooms.room_of(path) is None


def check(tree):
    problems = []
    rooms, files = Rooms(tree), source_files(tree) + java_files(tree)
    lines, known = listed(tree, problems), set(files)
    sources = [path for path in files if re.search(r"\.c(c|pp|xx)?$", path) and not rooms.is_free(path)]
    sources += [path for path in files if path.startswith(JAVA)]
    for source in sources:
        mirrored = mirror_of(source)
        if mirrored in known and source in lines:
            problems.append(f"{lines[source][0][2]}: {source} has a test at {mirrored}")
        elif mirrored not in known and source not in lines:
            problems.append(f"{source}:1: no test at {mirrored}, and no line in {LIST}")
    for source, tests in lines.items():
        for test, name, where in tests:
            if source not in known:
                problems.append(f"{where}: there is no source {source}")
            elif test not in known or not is_test(rooms, test):
                problems.append(f"{where}: there is no test {test}")
            elif not ties(tree, source, test, name):
                problems.append(f"{where}: {name} is no case of {test}, nor do it and {source} both use it")
    return problems, len(sources), sum(len(tests) for tests in lines.values())


def main(tree):
    problems, sources, lines = check(Path(tree))
    print("\n".join(problems + [f"{sources} sources, {lines} of them by the list, {len(problems)} breaches"]))
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(*arguments(1)))
