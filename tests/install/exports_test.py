"""Compares the names that a built shared library exports with the list that says what it shall export.

Arguments: nm, objdump, the library, the list. A line "C++ PATTERN" of the list allows C++ names by their
readable form; a list without such lines has mangled ones. Lines that begin with # are comments.
"""

import fnmatch
import re
import subprocess
import sys


def exported_by_elf(nm, library, *options):
    output = subprocess.run([nm, "-D", "--defined-only", *options, library], check=True,
                            capture_output=True, text=True).stdout
    return {line.split(maxsplit=2)[2] for line in output.splitlines()}


def exported_by_dll(objdump, library):
    output = subprocess.run([objdump, "-p", library], check=True, capture_output=True,
                            text=True).stdout
    table = output.split("[Ordinal/Name Pointer] Table", 1)[1]
    return set(re.findall(r"^\s*\[\s*\d+\]\s+(?:\+base\[\s*\d+\]\s+)?(?:[0-9a-f]+\s+)?(\S+)$",
                          table.split("\n\n", 1)[0], re.MULTILINE))


def main():
    nm, objdump, library, list_path = sys.argv[1:]
    with open(list_path, encoding="utf-8") as lines:
        wanted = [line.rstrip("\n") for line in lines if not line.startswith("#")]
    patterns = [line[4:] for line in wanted if line.startswith("C++ ")]
    names = {line for line in wanted if not line.startswith("C++ ")}
    if library.lower().endswith(".dll"):
        exported = exported_by_dll(objdump, library)
    elif patterns:
        exported = exported_by_elf(nm, library, "--demangle")
    else:
        exported = exported_by_elf(nm, library)
    matched = {name for name in exported
               if any(fnmatch.fnmatchcase(name, pattern) for pattern in patterns)}
    unmatched = [pattern for pattern in patterns
                 if not any(fnmatch.fnmatchcase(name, pattern) for name in exported)]
    missing = sorted(names - exported) + unmatched
    surplus = sorted(exported - names - matched)
    if missing or surplus:
        sys.exit(f"not exported: {missing}\nexported but not listed: {surplus}")
    print(f"{len(exported)} names, as listed")


if __name__ == "__main__":
    main()
