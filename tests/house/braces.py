#!/usr/bin/env python3
"""Whether every body of one line stands without braces, in sources that scripts/format has laid out; and whether, where
one branch of an if needs braces, all have them.

Usage: braces.py ROOT [--fix]. Prints each pair that is not needed, and each that is missing, as file:line and exits 1 if
there is one, or if a planted one is missed; with --fix takes off what is not needed instead (scripts/format comes before
and after).
"""
import re
import subprocess
import sys
from pathlib import Path

sys.dont_write_bytecode = True  # the tree stays as it is
from usage import arguments

CONTROL = re.compile(r"^\s*(\} )?(else )?(if|for|while)\b.*|^\s*\} else \{$")
# One statement on a line of its own. One that is controlled itself is left, as an else could change its owner, and so is a
# macro, which may be controlled inside.
STATEMENT = re.compile(r"^\s+(?!\s|if\b|for\b|while\b|do\b|switch\b|else\b|case\b|default\b|try\b|[A-Z][A-Z0-9_]+\(|//).*;$")
LITERAL = re.compile(r"\"(?:\\.|[^\"\\])*\"|'(?:\\.|[^'\\])'")
BRANCH = re.compile(r"^\s*(\} )?else\b")
IDLE = """
void f() {
    if (a) {
        return;
    }
    for (int i = 0;
         i < 3; ++i) {
        f();
    }
    while (a) {
        b = {};
    }
    if (a) {
        f([] { return T{'{'}; });
    }
    if (a) {
        f();
    } else if (b) {
        g();
    } else {
        h();
    }
}
"""
BARE = """
void f() {
    if (a)
        return;
    for (int i = 0;
         i < 3; ++i)
        f();
    while (a)
        b = {};
    if (a)
        f([] { return T{'{'}; });
    if (a)
        f();
    else if (b)
        g();
    else
        h();
}
"""
NEEDED = """
void f() {
    if (a) {
        f();
    } else {
        g();
        h();
    }
    for (;;) {
        if (a) f();
    }
    if (a) {
        EXPECT_TRUE(b);
    }
    while (a) {
        // why
        f();
    }
    if (a) {
        f([] {
            g();
        });
    }
    do {
        f();
    } while (a);
    const auto call = [&] {
        f();
    };
}
"""
# One missing pair each: the branch before, the one in the middle, the last one.
UNEVEN = [
    """
    if (a)
        f();
    else {
        f();
        g();
    }
""",
    """
    if (a) {
        f();
        g();
    } else if (b &&
               c)
        f();
    else
        g();
""",
    """
    if (a) {
        f();
        g();
    } else
        g();
""",
]


def indent_of(line):
    return len(line) - len(line.lstrip())


def head_of(lines, last):
    """The line where the statement begins whose opening brace ends line `last`; None when none of ours does."""
    for first in range(last, -1, -1):
        if CONTROL.match(lines[first]):
            # The lines between continue the condition, so they stand further in.
            indent = indent_of(lines[first])
            return first if all(indent_of(line) > indent for line in lines[first + 1:last + 1]) else None
        if lines[first].endswith((";", "}", ":")) or lines[first].lstrip().startswith("#"):
            return None
    return None


def holds_one_line(lines, brace):
    """Whether the brace at the end of this line opens a body of one statement that its own closing brace follows."""
    if brace + 2 >= len(lines) or not lines[brace].endswith("{"):
        return False
    first = head_of(lines, brace)
    body = LITERAL.sub("0", lines[brace + 1])
    if first is None or not STATEMENT.match(body) or "//" in body or body.count("{") != body.count("}"):
        return False
    indent = indent_of(lines[first])
    close = lines[brace + 2]
    return indent_of(lines[brace + 1]) == indent + 4 and indent_of(close) == indent and close.lstrip().startswith("}")


def idle_chain(lines, brace):
    """The lines that end in the braces of a whole statement, from its first branch on, none of which is needed."""
    first = head_of(lines, brace) if lines[brace].endswith("{") else None
    if first is None or lines[first].lstrip().startswith("}"):
        return []
    chain = []
    while holds_one_line(lines, brace):
        chain.append(brace)
        close = lines[brace + 2].lstrip()
        if close == "}":
            return chain
        if not close.startswith("} else"):
            return []
        brace = next((i for i in range(brace + 2, len(lines)) if lines[i].endswith("{")), brace)
    return []


def idle_braces(text):
    lines = text.split("\n")
    return [brace for number in range(len(lines)) for brace in idle_chain(lines, number)]


def uneven_branches(text):
    """The lines where a branch begins that has braces and the one before has none, or the other way round."""
    lines, uneven = text.split("\n"), []
    for number, line in enumerate(lines):
        branch = BRANCH.match(line)
        if not branch:
            continue
        last = number
        while not lines[last].endswith(("{", ";")) and indent_of(lines[last + 1]) > indent_of(line) + 4:
            last += 1
        if bool(branch[1]) != lines[last].endswith("{"):
            uneven.append(number)
    return uneven


def without(text, braces):
    lines, drop, result = text.split("\n"), set(braces), []
    for number, line in enumerate(lines):
        if number in drop:
            line = line[:-1].rstrip()
        if number - 2 in drop or number in drop:
            line = re.sub(r"^(\s*)\}( (?=else)|$)", r"\1", line)
            if not line.strip():
                continue
        result.append(line)
    return "\n".join(result)


def main():
    given = arguments(1, 2)
    root, fixes = Path(given[0]), "--fix" in given
    names = subprocess.run(["git", "-C", str(root), "ls-files", "*.h", "*.cpp"], capture_output=True, text=True,
                           check=True).stdout.split()
    count, uneven_count = 0, 0
    for name in names:
        text = (root / name).read_text()
        idle = idle_braces(text)
        count += len(idle)
        if fixes and idle:
            (root / name).write_text(without(text, idle))
        elif idle:
            print("\n".join(f"{name}:{line + 1}: braces around one line" for line in idle))
        uneven = uneven_branches(without(text, idle))
        uneven_count += len(uneven)
        for line in uneven:
            print(f"{name}:{line + 1}: one branch has braces and the other has none")
    is_blind = without(IDLE, idle_braces(IDLE)) != BARE or bool(idle_braces(NEEDED))
    is_blind |= bool(uneven_branches(BARE + NEEDED)) or any(len(uneven_branches(text)) != 1 for text in UNEVEN)
    if is_blind:
        print("what is planted is not found, or what is needed is")
    print(f"{len(names)} files, {count} pairs of braces {'taken off' if fixes else 'that are not needed'}, "
          f"{uneven_count} missing")
    return 1 if is_blind or uneven_count or (count and not fixes) else 0


sys.exit(main())
