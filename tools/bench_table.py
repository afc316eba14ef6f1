#!/usr/bin/env python3
"""Prints a benchmark program's results as a table of ratios and plots time over length, one picture a function.

usage: bench_table.py RESULTS.json PLOT_DIRECTORY

Benchmarks are named function/contestant/length; contestants whose names begin with "ours" or "single" are the
library's, the others peers. "single" are the library's single-precision entries.
"""

import json
import pathlib
import shutil
import subprocess
import sys


def is_peer(name):
    return not name.startswith(("ours", "single"))


def read(path):
    """{function: {length: {contestant: nanoseconds a call}}}, shortest times."""
    functions = {}
    for row in json.load(open(path))["benchmarks"]:
        if row.get("aggregate_name") != "min":
            continue
        function, contestant, *length = row["run_name"].split("/")
        nanoseconds = row["cpu_time"] * {"ns": 1, "us": 1e3, "ms": 1e6}[row["time_unit"]]
        lengths = functions.setdefault(function, {})
        lengths.setdefault(int(length[0]) if length else 1, {})[contestant] = nanoseconds
    return functions


def show(functions):
    for function, lengths in functions.items():
        print(function)
        for length, times in lengths.items():
            ours = times.get("ours")
            cells = [f"{name} {time:.4g}" + (f" ({ours / time:.2f})" if ours and is_peer(name) else "")
                     for name, time in sorted(times.items(), key=lambda item: (is_peer(item[0]), item[0]))]
            print(f"  n = {length:<8} ns: {'  '.join(cells)}")
    print("\n(in brackets: our time divided by the peer's)")


def plot(functions, directory):
    for function, lengths in functions.items():
        contestants = sorted({name for times in lengths.values() for name in times})
        if len(lengths) < 2:
            continue
        directory.mkdir(parents=True, exist_ok=True)
        data = "".join(
            f"$data{k} << END\n" + "".join(f"{length} {times[name] / length}\n" for length, times in
                                           sorted(lengths.items()) if name in times) + "END\n"
            for k, name in enumerate(contestants))
        lines = ", ".join(f"$data{k} using 1:2 with linespoints title '{name}' noenhanced"
                          for k, name in enumerate(contestants))
        script = (f"set terminal svg size 700,450; set output '{directory / function}.svg'; set logscale xy; "
                  f"set title '{function}' noenhanced; set xlabel 'length'; set ylabel 'ns per element'; "
                  "set key outside right\n" + data + f"plot {lines}\n")
        subprocess.run(["gnuplot"], input=script, text=True, check=True)


def main():
    results, plots = sys.argv[1:]
    functions = read(results)
    show(functions)
    if shutil.which("gnuplot"):
        plot(functions, pathlib.Path(plots))


if __name__ == "__main__":
    main()
