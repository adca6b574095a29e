#!/usr/bin/env python3
"""What may not be dropped says so: each function of a header that answers a status, or gives its caller something to
dispose of, is marked ([[nodiscard]], TOOLBOX_MUST_USE), unless may_drop.txt gives a reason why it may be dropped.

Usage: must_use.py ROOT COMPILER. Prints each breach as file:line: what; exits 1 if there is one, if a planted one is
missed, or if a result that is dropped gets past the compiler and scripts/test.
"""
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

sys.dont_write_bytecode = True  # the tree stays as it is
from usage import arguments

ROOMS = ("converter/", "files/", "foundation/", "platform/", "quicktime/", "strings/", "tools/")
STATUSES = {"OSErr", "OSStatus", "ComponentResult"}
VALUES = {"TCFString"}  # a copy that was dropped changed nothing
CREATES = re.compile(r"Create|(?<!For)Copy(?!ing)|New[A-Z]|^(FS)?Open|^Make|^(QT)?Begin")
CALLER_OWNS = re.compile(r"\b[Tt]he caller (disposes|releases|owns|closes|frees|ends)")
MARK = re.compile(r"\[\[nodiscard\]\]|\bTOOLBOX_(FRAMEWORK_)?MUST_USE\b")
SPECIFIERS = re.compile(r"\[\[\w+\]\]|\b(TOOLBOX_\w+|MIRTAL_EXPORT|static|virtual|inline|constexpr|extern|friend)\b|\"C\"")
DECLARATION = re.compile(r"^\s*(?P<before>[\w\[\]:\s*&<>\"]*?[\s*&])(?P<name>\w+)\(")
NO_TYPE = re.compile(r"^\s*(return|else|if|for|while|new|delete|explicit|operator|typedef|using|case|throw)\b")

# A status under each mark: what is included, and the call.
CALLS = {
    "TOOLBOX_MUST_USE": ("toolbox/FileSpecs.h", "FSpMakeFSRef(nullptr, nullptr)"),
    "[[nodiscard]]": ("foundation/ClassicPermissions.h", "SetClassicPermissions(nullptr, 0)"),
}


def declarations(text):
    """(line, type, name, marked, comment) of each function that a header declares with a result."""
    comment, previous_ends = [], True
    for number, line in enumerate(text.split("\n"), 1):
        code, _, remark = line.partition("//")
        if not code.strip():
            comment = comment + [remark] if remark else []
            continue
        match = DECLARATION.match(code) if previous_ends and not NO_TYPE.match(code) else None
        if match and not code.lstrip().startswith("#"):
            result = " ".join(SPECIFIERS.sub(" ", match["before"]).split())
            if result and result != "void":
                yield number, result, match["name"], bool(MARK.search(match["before"])), " ".join(comment + [remark])
        previous_ends = (code.rstrip().endswith((";", "{", "}", ":", "BEGIN", "END"))
                         or code.lstrip().startswith(("#", "template")))
        # One comment may stand above several declarations in a row, but tells of the first.
        comment = []


def must_be_used(result, name, comment):
    return result in STATUSES or result in VALUES or bool(CREATES.search(name)) or bool(CALLER_OWNS.search(comment))


def check(headers, may_drop):
    """The breaches in the headers (name to text), where the functions in may_drop may be dropped."""
    breaches, unmarked = [], set()
    for path, text in headers.items():
        for line, result, name, is_marked, comment in declarations(text):
            if is_marked or not must_be_used(result, name, comment):
                continue
            unmarked.add(name)
            if name not in may_drop:
                breaches.append(f"{path}:{line}: {name} is not marked, and its {result} must be used")
    breaches += [f"may_drop.txt: {name}: no unmarked function has this name" for name in sorted(may_drop - unmarked)]
    return breaches


def missed_when_planted(headers, may_drop):
    """What is planted, one at a time, and not found."""
    first = next(iter(headers))
    plants = {
        "an unmarked status": "TOOLBOX_EXPORT OSErr Planted(void);",
        "an unmarked member": "    static OSStatus Planted();",
        "an unmarked copy": "TOOLBOX_EXPORT CFStringRef CFPlantedCreateCopy(CFStringRef inString);",
        "an unmarked result over two lines": "MIRTAL_EXPORT OSStatus Planted(long inFirst,\n    long inSecond);",
        "an unmarked template": "template <typename Function>\nOSStatus Planted(Function inFunction);",
        "a result that the caller disposes of": "// The caller disposes of it.\nMIRTAL_EXPORT Handle Planted();",
    }
    known = check(headers, may_drop)
    missed = [what for what, text in plants.items()
              if len(check({**headers, first: headers[first] + "\n" + text + "\n"}, may_drop)) != len(known) + 1]
    if len(check(headers, may_drop | {"NobodyDeclaresThis"})) != len(known) + 1:
        missed.append("a stale line in the list")
    return missed


def misjudged(root, compiler):
    """The marks that a compiler does not answer as it should: with the warning that scripts/test makes a failure of."""
    rooms = [f"-I{path}" for path in root.glob("*/include")]
    command = [compiler, "-std=c++17", "-fsyntax-only", "-Werror=unused-result", *rooms, "-x", "c++", "-"]
    for mark, (header, call) in CALLS.items():
        for is_dropped, use in ((True, call), (False, f"return {call}")):
            code = f"#include <{header}>\nint Planted() {{\n{use};\nreturn 0; }}\n"
            run = subprocess.run(command, input=code, capture_output=True, text=True, check=False)
            if (run.returncode != 0) != is_dropped or ("unused-result" in run.stderr) != is_dropped:
                yield f"{compiler}: {mark}: {use}: answered {run.returncode}: {run.stderr}"


def missed_by_the_build(root, compiler):
    """What scripts/test makes of a build whose compiler warned, and of one that had nothing to say."""
    script = f'set -euo pipefail; . "{root.resolve()}/scripts/lib.sh"; refuse_dropped_results "$1/build.log"'
    for is_dropped, use in ((True, "Planted();"), (False, "return Planted();")):
        with tempfile.TemporaryDirectory() as folder:
            source, log = Path(folder, "Planted.cpp"), Path(folder, "build.log")
            source.write_text(f"[[nodiscard]] int Planted();\nint Use() {{\n{use}\nreturn 0; }}\n")
            os.utime(source, (0, 0))
            with log.open("w") as output:
                subprocess.run([compiler, "-std=c++17", "-fsyntax-only", source.name], cwd=folder, stderr=output, check=True)
            run = subprocess.run(["bash", "-c", script, "test", folder], capture_output=True, text=True, check=False)
            is_told = "Planted.cpp:3" in run.stderr and source.stat().st_mtime > 0
            if (run.returncode != 0) != is_dropped or is_told != is_dropped:
                yield f"scripts/test: {use} answered {run.returncode}: {run.stderr}"


def main():
    tree, compiler = arguments(2)
    root = Path(tree)
    names = subprocess.run(["git", "-C", str(root), "ls-files", "*.h"], capture_output=True, text=True,
                           check=True).stdout.split()
    ours = [name for name in names if name.startswith(ROOMS)]
    headers = {name: (root / name).read_text() for name in ours}
    lines = (Path(__file__).parent / "may_drop.txt").read_text().split("\n")
    may_drop = {line.split(":")[0] for line in lines if line and not line.startswith("#")}
    breaches = check(headers, may_drop)
    breaches += [f"not found when planted: {what}" for what in missed_when_planted(headers, may_drop)]
    breaches += [*misjudged(root, compiler), *missed_by_the_build(root, compiler)]
    print("\n".join(breaches))
    print(f"{len(headers)} headers, {len(may_drop)} functions whose result may be dropped")
    return 1 if breaches else 0


sys.exit(main())
