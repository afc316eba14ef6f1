#!/usr/bin/env python3
"""Compiles each public header alone in every language it promises: headers_test.py CC CXX INCLUDE_DIRECTORY"""

import pathlib
import subprocess
import sys

COMMON = "-Wall -Wextra -pedantic -Wconversion -Wsign-conversion -Wshadow -Wundef -Werror -fsyntax-only".split()
STANDARDS = {"c": ["c99", "c11"], "c++": ["c++17", "c++20"]}
WARNINGS = {"c": ["-Wstrict-prototypes", "-Wmissing-prototypes"], "c++": ["-Wold-style-cast"]}


def main():
    compilers, include = dict(zip(STANDARDS, sys.argv[1:3])), pathlib.Path(sys.argv[3])
    headers = sorted(include.glob("*.h"))
    assert len(headers) >= 6, headers
    failures = 0
    for header in headers:
        for language, standards in STANDARDS.items():
            for standard in standards:
                command = [compilers[language], f"-std={standard}", *COMMON, *WARNINGS[language], f"-I{include}",
                           "-include", header.name, "-x", language, "-"]
                text = "int main(void) { return 0; }\n" if language == "c" else "int main() { return 0; }\n"
                result = subprocess.run(command, input=text, capture_output=True, text=True)
                if result.returncode:
                    failures += 1
                    print(f"{header.name} as {standard}:\n{result.stderr[:1000]}")
    print(f"{len(headers)} headers, {failures} failures")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
