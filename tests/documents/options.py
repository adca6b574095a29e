#!/usr/bin/env python3
"""Whether docs/building.md has a row for each option of the build, and each row an option.

Usage: options.py ROOT. Prints each breach; exits 1 if there is one, or if a planted one is missed.
"""
import re
import sys
from pathlib import Path

OPTION = re.compile(r"^ *(?:option\((MIRTAL_\w+)|set\((MIRTAL_\w+) .*\bCACHE (?!INTERNAL)|mirtal_part_option\((\w+))",
                    re.MULTILINE)
ROW = re.compile(r"^\| `(MIRTAL_\w+)` \|", re.MULTILINE)


def options_of(text):
    return {option or variable or "MIRTAL_BUILD_" + part for option, variable, part in OPTION.findall(text)}


def problems_of(options, rows):
    return ([f"docs/building.md: has no row for {name}" for name in sorted(options - rows)]
            + [f"docs/building.md: has a row for {name}, which is no option" for name in sorted(rows - options)])


def main(root):
    files = [root / "CMakeLists.txt", *root.glob("cmake/*.cmake"),
             *(path for path in root.glob("*/**/CMakeLists.txt") if path.relative_to(root).parts[0] != "build")]
    options = set().union(*(options_of(path.read_text()) for path in files))
    problems = problems_of(options, set(ROW.findall((root / "docs/building.md").read_text())))
    planted = options_of('option(MIRTAL_A "x" ON)\n    set(MIRTAL_B "x y" CACHE PATH "z")\nmirtal_part_option(C "x")\n'
                         'set(MIRTAL_D x CACHE INTERNAL "y")\nset(MIRTAL_E x)\n')
    if len(problems_of(planted, {"MIRTAL_A", "MIRTAL_F"})) != 3:
        problems.append("options.py: the planted breaches were not found")
    print("\n".join(problems), end="\n" if problems else "")
    return 1 if problems or len(options) < 10 else 0


if __name__ == "__main__":
    sys.exit(main(Path(sys.argv[1]).resolve()))
