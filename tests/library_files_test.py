#!/usr/bin/env python3
"""Checks what a built library exports, what it needs at run time, and the version it says it has.

usage: library_files_test.py LIBRARY VERSION EXPORT_LIST... -- NEEDED_LIBRARY...
VERSION: the soname, or the file version of the Windows resource.
"""

import pathlib
import re
import subprocess
import sys


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def windows(library):
    text = run("x86_64-w64-mingw32-objdump", "-p", library)
    names = text.split("[Ordinal/Name Pointer] Table")[1].split("\n\n")[0]
    resource = run("x86_64-w64-mingw32-windres", "-J", "coff", "-O", "rc", "-i", library)
    version = re.search(r"FILEVERSION ([\d, ]+)", resource)
    return (set(re.findall(r"\[ *\d+\] (\S+)", names)), set(re.findall(r"DLL Name: (\S+)", text)),
            version and version[1].strip().replace(", ", "."))


def linux(library):
    names = {line.split()[-1] for line in run("nm", "-D", "--defined-only", library).splitlines()}
    text = run("readelf", "-d", library)
    return names, set(re.findall(r"\(NEEDED\).*\[(.*)\]", text)), re.search(r"\(SONAME\).*\[(.*)\]", text)[1]


def main():
    library, expected_version, *rest = sys.argv[1:]
    lists, needed = rest[:rest.index("--")], rest[rest.index("--") + 1:]
    lines = [line for file in lists for line in pathlib.Path(file).read_text().splitlines()]
    listed = {line.split()[0] for line in lines if line.strip() and not line.startswith("#")}
    exported, imported, version = (windows if library.endswith(".dll") else linux)(library)
    print(f"{version}: {len(exported)} exports, needs {sorted(imported)}")
    problems = [f"exported but not listed: {name}" for name in sorted(exported - listed)]
    problems += [f"listed but not exported: {name}" for name in sorted(listed - exported)]
    problems += [f"needs {name}" for name in sorted(imported - set(needed))]
    problems += [f"version is not {expected_version}"] if version != expected_version else []
    print("\n".join(problems[:20]))
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
