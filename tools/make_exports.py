#!/usr/bin/env python3
"""Makes the linker's export script (elf: version script, pe: module definition) from lists of names.

usage: make_exports.py elf|pe LIBRARY OUTPUT LIST...
"""

import pathlib
import sys


def main():
    system, library, output, *lists = sys.argv[1:]
    lines = [line for file in lists for line in pathlib.Path(file).read_text().splitlines()]
    names = [line.split() for line in lines if line.strip() and not line.startswith("#")]
    if system == "elf":
        text = "{\nglobal:\n" + "".join(f"  {name[0]};\n" for name in names) + "local:\n  *;\n};\n"
    else:
        text = f"LIBRARY {library}.dll\nEXPORTS\n" + "".join(f"  {' '.join(name)}\n" for name in names)
    pathlib.Path(output).write_text(text)


if __name__ == "__main__":
    main()
