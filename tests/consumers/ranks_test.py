#!/usr/bin/env python3
"""Runs a program on 1, 2 and 3 processes; all must succeed and print the same: ranks_test.py MPIEXEC PROGRAM"""

import subprocess
import sys


def main():
    mpiexec, program = sys.argv[1:]
    outputs = {n: subprocess.run([mpiexec, "-n", str(n), program], check=True, capture_output=True, text=True).stdout
               for n in (1, 2, 3)}
    print(outputs[1])
    assert outputs[1] and outputs[1] == outputs[2] == outputs[3], outputs


if __name__ == "__main__":
    main()
