#!/usr/bin/env python3
"""Records how late a sleeping program wakes: 400 naps of 1 ms, the delay of each in microseconds.

usage: record_naps.py > naps.txt
"""

import platform
import time

NAPS, NAP = 400, 0.001


def main():
    started = time.strftime("%Y-%m-%d %H:%M UTC", time.gmtime())
    delays = []
    for _ in range(NAPS):
        before = time.perf_counter_ns()
        time.sleep(NAP)
        delays.append((time.perf_counter_ns() - before) / 1000 - NAP * 1e6)
    print(f"# How late {NAPS} successive naps of {NAP * 1000:g} ms ended, in microseconds.")
    print(f"# Recorded by record_naps.py on {started}, {platform.system()} {platform.machine()}, Python "
          f"{platform.python_version()}.")
    print("# The naps were taken one after the other; the machine was shared with other work.")
    for delay in delays:
        print(f"{delay:.1f}")


if __name__ == "__main__":
    main()
