#!/usr/bin/env python3
"""The blocks of code in the documents.

Usage: blocks.py print FILE LANGUAGE NUMBER   prints the NUMBER-th block of a language, from 1
       blocks.py tests ROOT OUT FILE...       makes OUT, a source with a test for each C++ block of these files of ROOT

A block that has a main is a program, and is called with the name of a file, which it has to take. Any other is the
inside of a function; its #include lines come first. Each stands under its own document's line numbers.
"""
import re
import sys
from pathlib import Path

FENCE = re.compile(r"^```(\w*)\n(.*?)^```$", re.DOTALL | re.MULTILINE)
MAIN = re.compile(r"^int main\(int argc, char\*\* argv\)", re.MULTILINE)


def blocks(path, language):
    """(line, text) of each block of the language."""
    text = Path(path).read_text()
    return [(text.count("\n", 0, match.start(2)) + 1, match[2])
            for match in FENCE.finditer(text) if match[1] == language]


def test_of(name, line, text):
    where = f'#line {line} "{name}"\n'
    case = re.sub(r"\W", "_", name.removesuffix(".md")) + f"_{line}"
    program = MAIN.search(text)
    # Includes stand in front of everything; their lines stay, lest the others move.
    body = re.sub(r"^#include .*$", "", text, flags=re.MULTILINE)
    if program:
        body = MAIN.sub(f"static int {case}(int argc, char** argv)", body)
        return f"{where}{body}\nTEST_F(Documents, {case}) {{ RunsProgram({case}); }}\n"
    return f"TEST_F(Documents, {case}) {{\n{where}{body}\n}}\n"


def tests_source(root, names):
    found = [(name, line, text) for name in names for line, text in blocks(Path(root) / name, "cpp")]
    includes = {include for _, _, text in found for include in re.findall(r"^#include .*$", text, re.MULTILINE)}
    return "\n".join(["#include \"documents/Documents.h\"", *sorted(includes), "",
                      *(test_of(*block) for block in found)])


def main(arguments):
    if arguments[0] == "print":
        sys.stdout.write(blocks(arguments[1], arguments[2])[int(arguments[3]) - 1][1])
    else:
        Path(arguments[2]).write_text(tests_source(arguments[1], arguments[3:]))


if __name__ == "__main__":
    main(sys.argv[1:])
