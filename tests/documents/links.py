#!/usr/bin/env python3
"""Whether what the documents point to is there: links to files and their headings, commands of the tree, presets. And
whether docs/README.md lists every document of docs/.

Usage: links.py ROOT. Prints each breach as file:line: what; exits 1 if there is one.
"""
import json
import os
import re
import sys
from pathlib import Path

INDEX = "docs/README.md"
LINK = re.compile(r"\[[^\]]*\]\(([^)\s]+)\)")
COMMAND = re.compile(r"^(?:[A-Z_]+=\S+ )*((?:scripts|tests|bench|fuzz|examples)/[\w./-]+)")
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


def problems_of(root, path, presets):
    is_code = False
    for number, line in enumerate(path.read_text().split("\n"), 1):
        where = f"{path.relative_to(root)}:{number}"
        if line.startswith("```"):
            is_code = not is_code
            continue
        if not is_code:
            for target in LINK.findall(re.sub(r"`[^`]*`", "", line)):
                problem = link_problem(path, target)
                if problem:
                    yield f"{where}: {problem}"
        elif (match := COMMAND.match(line)) and not os.access(root / match[1], os.X_OK):
            yield f"{where}: there is no command {match[1]}"
        for preset in PRESET.findall(line):
            if preset not in presets:
                yield f"{where}: there is no preset {preset}"


def main(root):
    presets = {preset["name"] for preset in json.loads((root / "CMakePresets.json").read_text())["configurePresets"]}
    documents = sorted([*root.glob("*.md"), *root.glob("docs/*.md"), *root.glob("tests/*/*.md")])
    problems = [problem for path in documents for problem in problems_of(root, path, presets)]
    listed = set(LINK.findall((root / INDEX).read_text()))
    problems += [f"{INDEX}: does not list {path.name}" for path in sorted(root.glob("docs/*.md"))
                 if path.name != "README.md" and path.name not in listed]
    print("\n".join(problems), end="\n" if problems else "")
    return 1 if problems or len(documents) < 5 else 0


if __name__ == "__main__":
    sys.exit(main(Path(sys.argv[1]).resolve()))
