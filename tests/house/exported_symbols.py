#!/usr/bin/env python3
"""What the two libraries and QuickTime.framework export: all that their public headers declare, and nothing else; under
plain names what has C linkage, and under the link names that declarations give.

Usage: exported_symbols.py ROOT TOOLBOX_LIBRARY AAC2WAV_LIBRARY FRAMEWORK_EXECUTABLE
"""
import re
import subprocess
import sys
from pathlib import Path

sys.dont_write_bytecode = True  # the tree stays as it is
from usage import arguments

ROOT, TOOLBOX, LIBRARY, FRAMEWORK = map(Path, arguments(4))

# What compilers and their instrumentation export from any shared library.
ALWAYS = re.compile(r"^(_init|_fini|__bss_start|_edata|_end|__asan\w*|__odr_asan[.\w]*|__sancov\w*|__gcov\w*|__llvm\w*)$"
                    # The standard library's own, which builds without optimisation leave out of line.
                    r"|^_Z(GV)?Z*N?[KVR]*(St|S[abisod]|9__gnu_cxx)"
                    r"|^_ZT[ISV]|^_Z(n[wa]|d[la])"
                    # The Java runtime finds these by name; tests/java looks after them.
                    r"|^(Java_com_mirtal_\w+|JNI_On(Load|Unload))$")


def exported(library):
    output = subprocess.run(["nm", "-D", "--defined-only", "-j", library], capture_output=True, text=True,
                            check=True).stdout
    names = "\n".join(name for name in output.split() if not ALWAYS.search(name))
    plain = subprocess.run(["c++filt"], input=names, capture_output=True, text=True, check=True).stdout
    return set(plain.splitlines())


def declared(folder, marker):
    """Names that a marked declaration introduces: functions, objects, classes."""
    functions, classes = set(), set()
    for header in sorted(folder.rglob("*.h")):
        text = re.sub(r"//[^\n]*", "", header.read_text())
        classes.update(re.findall(r"(?:class|struct)\s+" + marker + r"\s+(\w+)", text))
        # Up to the parenthesis or semicolon, the last word before it is the name.
        for tail in re.findall(r"(?<!define )" + marker + r"\s+(?!class|struct)([^;{]*)", text):
            match = re.match(r"(?:extern\s+\"C\"\s+)?[\w\s:*&<>,\"]*?[\s*&](operator\s*[^\s(]+|\w+)\s*(?:\(|$)", " " + tail)
            if match:
                functions.add(match.group(1).replace("operator ", "operator"))
    return functions - classes, classes


def linked_as(folders, marker):
    """The symbols that must be there literally: of declarations with C linkage, and link names spelled out."""
    symbols = set()
    for folder in folders:
        for header in sorted(folder.rglob("*.h")):
            text = re.sub(r"//[^\n]*", "", header.read_text())
            symbols.update(re.findall(r"__asm__\(\"(\w+)\"\)", text))
            blocks = re.findall(r"extern \"C\" \{(.*?)^(?:\}|#ifdef)", text, re.DOTALL | re.MULTILINE)
            blocks += re.findall(r"_EXTERN_C_BEGIN\n(.*?)^\w+_EXTERN_C_END", text, re.DOTALL | re.MULTILINE)
            blocks += re.findall(r"extern \"C\" (?!\{)([^;]*;)", text)
            for block in blocks:
                symbols.update(re.findall(marker + r"\s[^;()]*?(\w+)\s*\(", block))
    return symbols


def base_name(name):
    name = re.sub(r"\(.*", "", name).replace("[abi:cxx11]", "")
    name = re.sub(r"::operator .*", "::operator", name)  # a conversion: the type's name may have blanks
    return re.sub(r"^.*(?:\s|\))(?=\S+$)", "", name) if not name.startswith("operator") else name


def check(label, library, folders, marker):
    functions, classes = set(), set()
    for folder in folders:
        some_functions, some_classes = declared(ROOT / folder, marker)
        functions |= some_functions
        classes |= some_classes
    names = exported(library)
    if "JNI_OnLoad" not in subprocess.run(["nm", "-D", library], capture_output=True, text=True, check=True).stdout:
        functions.discard("putDataCallback")  # a library that was built without a JDK
    shown = {base_name(name) for name in names}
    problems = [f"{label}: {name} is declared for export and is not there" for name in sorted(functions - shown)]
    for name in sorted(names):
        base = base_name(name)
        if base not in functions and base.split("::")[0] not in classes:
            problems.append(f"{label}: {name} is exported and no public header declares it")
    plain = set(subprocess.run(["nm", "-D", "--defined-only", "-j", library], capture_output=True, text=True,
                               check=True).stdout.split())
    literal = linked_as([ROOT / folder for folder in folders], marker)
    for symbol in sorted(literal - plain):
        problems.append(f"{label}: there is no symbol {symbol}, which the declaration asks for")
    if not functions:
        problems.append(f"{label}: no declaration found at all")
    print(f"{label}: {len(names)} exported, {len(functions)} functions and {len(classes)} classes declared, "
          f"{len(literal)} symbols by name")
    return problems


found = check("toolbox", TOOLBOX, ["platform/include"], r"TOOLBOX_(?:EXPORT|MUST_USE)")
found += check("framework", FRAMEWORK, ["platform/include"], r"TOOLBOX_FRAMEWORK_(?:EXPORT|MUST_USE)")
rooms = [f"{room}/include" for room in ("foundation", "strings", "files", "quicktime", "converter") if (ROOT / room / "include").is_dir()]
found += check("aac2wav", LIBRARY, rooms, "MIRTAL_EXPORT")
print("\n".join(found))
sys.exit(1 if found else 0)
