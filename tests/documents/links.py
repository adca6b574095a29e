#!/usr/bin/env python3
"""Whether what the documents point to is there: links to files and their headings, the tree's paths and commands, presets.
And whether docs/README.md lists every document of docs/.

Usage: links.py ROOT. Prints each breach as file:line: what; exits 1 if there is one, or if a planted one is missed.
"""
import json
import os
import re
import sys
from pathlib import Path

INDEX = "docs/README.md"
LINK = re.compile(r"\[[^\]]*\]\(([^)\s]+)\)")
ROOMS = "bench|cmake|converter|docs|examples|files|foundation|fuzz|java|platform|quicktime|scripts|strings|tests|tools"
PATH = re.compile(r"^(python3 |sh |)((?:" + ROOMS + r")/[\w./-]*)( ?)")
PLANTED = """[x](nothing.md)
[x](cpp.md#nothing)
`scripts/nothing`
`tests/house/tested_by.txt x`
`cmake --preset nothing`
```
scripts/nothing x
tests/house/tested_by.txt x
```
[x](nothing.md)"""
PLANTED_LINES = [1, 2, 3, 4, 5, 7, 8, 10]
PLACEHOLDER = re.compile(r"/[A-Z]+(/|$)")
PRESET = re.compile(r"--preset[= ]([\w-]+)")


def anchors(path):
    """What a link behind # may be: headings in small letters, without marks, dashes for spaces."""
    headings = re.findall(r"^#+ (.*)$", path.read_text(), re.MULTILINE)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def link_problem(path, target):
    if re.match(r"[a-z]+:", target):
        return None
    name, _, anchor = target.partition("#")
    to = path.parent / name if name else path
    if not to.exists():
        return f"there is no {target}"
    if anchor and anchor not in anchors(to):
        return f"there is no heading for {target}"
    return None


def code_problem(root, code):
    """Of a line of commands, or what stands between two backticks: a path of the tree, alone or run."""
    match = PATH.match(re.sub(r"^(?:[A-Z_]+=\S+ )+", "", code))
    if not match or PLACEHOLDER.search(match[2]):
        return None
    rooms = re.findall(r"^room (\S+)$", (root / "cmake/rooms.txt").read_text(), re.MULTILINE)
    # A header is named as it is included.
    if not (root / match[2]).exists() and match[2] not in rooms and not list(root.glob(f"*/include/{match[2]}")):
        return f"there is no {match[2]}"
    is_run = match[3] and not match[1]
    return f"{match[2]} is no command" if is_run and not os.access(root / match[2], os.X_OK) else None


def problems_of(root, path, text, presets):
    is_code = False
    for number, line in enumerate(text.split("\n"), 1):
        where = f"{path.relative_to(root)}:{number}"
        if line.startswith("```"):
            is_code = not is_code
            continue
        if not is_code:
            for target in LINK.findall(re.sub(r"`[^`]*`", "", line)):
                problem = link_problem(path, target)
                if problem:
                    yield f"{where}: {problem}"
        for code in [line] if is_code else re.findall(r"`([^`]+)`", line):
            problem = code_problem(root, code)
            if problem:
                yield f"{where}: {problem}"
        for preset in PRESET.findall(line):
            if preset not in presets:
                yield f"{where}: there is no preset {preset}"


def main(root):
    presets = {preset["name"] for preset in json.loads((root / "CMakePresets.json").read_text())["configurePresets"]}
    documents = sorted([*root.glob("*.md"), *root.glob("docs/*.md"), *root.glob("tests/*/*.md")])
    problems = [problem for path in documents for problem in problems_of(root, path, path.read_text(), presets)]
    found = [int(problem.split(":")[1]) for problem in problems_of(root, root / INDEX, PLANTED, presets)]
    if found != PLANTED_LINES:
        problems.append(f"links.py: of the breaches planted in lines {PLANTED_LINES}, {found} were found")
    listed = set(LINK.findall((root / INDEX).read_text()))
    problems += [f"{INDEX}: does not list {path.name}" for path in sorted(root.glob("docs/*.md"))
                 if path.name != "README.md" and path.name not in listed]
    print("\n".join(problems), end="\n" if problems else "")
    return 1 if problems or len(documents) < 5 else 0


if __name__ == "__main__":
    sys.exit(main(Path(sys.argv[1]).resolve()))
