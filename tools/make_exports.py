#!/usr/bin/env python3
"""Makes the linker's export script (elf: version script, pe: module definition) from a list of names.

usage: make_exports.py elf|pe LIBRARY LIST OUTPUT
"""

import pathlib
import sys


def main():
    system, library, list_file, output = sys.argv[1:]
    lines = pathlib.Path(list_file).read_text().splitlines()
    names = [line.split() for line in lines if line.strip() and not line.startswith("#")]
    if system == "elf":
        text = "{\nglobal:\n" + "".join(f"  {name[0]};\n" for name in names) + "local:\n  *;\n};\n"
    else:
        text = f"LIBRARY {library}.dll\nEXPORTS\n" + "".join(f"  {' '.join(name)}\n" for name in names)
    pathlib.Path(output).write_text(text)


if __name__ == "__main__":
    main()
