#!/usr/bin/env python3
"""Makes the documentation's pages of vector math, one a family of functions, with plots of time over length.

usage: make_function_pages.py OUTPUT_DIRECTORY

Reads vector_math/functions.txt and, in docs/functions, families.txt (what the functions do), special_values.txt,
accuracy.txt, accuracy_other.txt and speed.txt (measured; without them or a line in them the pages say "not
measured"). Fails when a function stands in no family or in two, or when its row names other statuses than the
special values and the reference values of the tests show.
"""

import html
import pathlib
import re
import shutil
import subprocess
import sys
from dataclasses import dataclass, field

sys.dont_write_bytecode = True  # nothing of ours beside the sources
import make_vector_math as vector_math  # noqa: E402

SLOTS = ("LA", "HA", "EP")
ELEMENT = {"s": "float", "d": "double", "c": "complex float", "z": "complex double"}
COLOUR = {"s": "#1f77b4", "d": "#d62728", "c": "#2ca02c", "z": "#9467bd"}
SHAPES = {"1-1": "one in, one out", "c-r": "complex in, real out", "r-c": "real in, complex out",
          "2-1": "two in, one out", "1-2": "one in, two out", "v-s": "vector and scalar", "lin": "linear fraction",
          "pack": "pack", "unpack": "unpack"}
NOT_MEASURED = "not measured"
STYLE = """<style>
.q { border-collapse: collapse; font-size: 13px; margin: 0.6em 0; }
.q th, .q td { border: 1px solid #c8ccd4; padding: 2px 7px; text-align: left; vertical-align: top; }
.q th { background: #eef1f6; font-weight: 600; }
.q.values { font-size: 12px; } .q.values td { white-space: nowrap; padding: 1px 5px; }
.q.numbers td { text-align: right; white-space: nowrap; } .q.numbers td.name { text-align: left; }
.q sup { color: #b3261e; font-weight: 700; font-size: 85%; padding-left: 2px; }
details { margin: 0.4em 0; } summary { font-weight: 600; cursor: pointer; }
.made { color: #555; font-size: 12px; } .wide { overflow-x: auto; }
</style>"""


def fail(message):
    sys.exit(f"make_function_pages.py: {message}")


@dataclass
class Family:
    page: str
    title: str
    types: str
    introduction: list = field(default_factory=list)
    rows: dict = field(default_factory=dict)  # function: (what, domain, result, reports)


def content(path):
    """(lines of the comment at the head, other lines that are not empty)"""
    if not path.exists():
        return [], []
    lines = [line for line in path.read_text().splitlines() if line.strip()]
    return [line[1:].strip() for line in lines if line.startswith("#")], [x for x in lines if not x.startswith("#")]


def read_families(path):
    families = []
    for line in content(path)[1]:
        if line.startswith("="):
            families.append(Family(*[part.strip() for part in line[1:].split("|")]))
        elif line.count(" | ") == 4:
            name, *row = [part.strip() for part in line.split(" | ")]
            if name in families[-1].rows:
                fail(f"{name} stands twice in {families[-1].page}")
            families[-1].rows[name] = row
        elif families[-1].rows:
            fail(f"not a row: {line}")
        else:
            families[-1].introduction.append(line)
    return families


@dataclass
class SpecialValues:
    columns: dict    # layout: arguments
    directed: set    # (function, type) whose results follow the rounding direction
    blocks: dict     # (function, is complex): (layout, {line: [(label, cells)]})


def read_special_values(path):
    values = SpecialValues({}, set(), {})
    for line in content(path)[1]:
        word, _, rest = line.partition(" ")
        if word == "columns":
            layout, *arguments = rest.split(" ; ")
            values.columns[layout] = arguments
        elif word == "direction":
            values.directed.add(tuple(rest.split()))
        elif word == "function":
            name, layout, label = rest.split(" ", 2)
            lines = values.blocks.setdefault((name, label[0] in "cz"), (layout, {}))[1]
        else:
            argument, *cells = line.split(" ; ")
            lines.setdefault(argument, []).append((label, cells))
    return values


def statuses_seen(root, values):
    """{(function, is complex): statuses} of the special values and of the tests' reference values."""
    seen = {key: set() for key in values.blocks}
    for key, (_, lines) in values.blocks.items():
        for variants in lines.values():
            seen[key] |= {int(code) for _, cells in variants for code in re.findall(r"!(\d)", " ".join(cells))}
    for path in sorted((root / "tests/data").glob("reference_*.txt")):
        for line in content(path)[1]:
            name, status = line.split()[0], int(line.rsplit(";", 1)[1])
            if status:
                seen[name[1:], name[0] in "cz"].add(status)
    return seen


def check(families, functions, seen):
    homes = {}
    for family in families:
        for name in family.rows:
            for letter in family.types:
                if (name, letter) in homes:
                    fail(f"{letter}{name} stands in {homes[name, letter].page} and in {family.page}")
                homes[name, letter] = family
    listed = {(f.name, f.type) for f in functions}
    for name, letter in sorted(listed ^ homes.keys()):
        fail(f"{letter}{name} is in no family" if (name, letter) in listed else f"there is no {letter}{name}")
    for (name, letter), family in homes.items():
        named = {int(code) for code in re.findall(r"(?:^|; )(\d): ", family.rows[name][3])}
        shown = seen.get((name, letter in "cz"), set())
        if named != shown:
            fail(f"{letter}{name} reports {sorted(shown)}, families.txt names {sorted(named)}")


def kernel_groups(function):
    """Slots that share a kernel: [["LA", "HA"], ["EP"]]."""
    groups = {}
    for slot, kernel in zip(SLOTS, function.kernels):
        groups.setdefault(kernel, []).append(slot)
    return list(groups.values())


def bound_of(function, group):
    bounds = function.bound.split(",")
    return bounds[SLOTS.index(group[0]) if len(bounds) > 1 else 0]


def table(header, rows, kind="", names=1, folded=""):
    """A table of HTML; one under a name that is clicked to see it."""
    def cells(row):
        return "".join(f'<td{" class=name" if k < names else ""}>{cell}</td>' for k, cell in enumerate(row))
    opened, closed = (f"<details><summary>{folded}</summary>", "</details>") if folded else ("", "")
    lines = [f'\\htmlonly\n{opened}<div class="wide"><table class="q {kind}">',
             "<tr>" + "".join(f"<th>{cell}</th>" for cell in header) + "</tr>"]
    lines += [f"<tr>{cells(row)}</tr>" for row in rows]
    return lines + [f"</table></div>{closed}\n\\endhtmlonly", ""]


def made(text):
    return [f'\\htmlonly<p class="made">{html.escape(text)}</p>\\endhtmlonly', ""]


def entry_lines(functions, family):
    """How the page's entries are called, by shape; the types that share a form are named by their first."""
    suffixes = [[letter, ELEMENT[letter]] + [", ".join(s or "none" for s in vector_math.SUFFIXES[
        vector_math.REAL[letter]][slot]) for slot in (1, 0, 2)] for letter in family.types]
    lines = ["## Entries", "", "`_fyn`, the letter of the element type, the function, `I` where vectors are strided, "
             "and the suffix of the accuracy: high (HA), low (LA) or enhanced performance (EP).", ""]
    lines += table(["type", "elements", "HA", "LA", "EP"], suffixes)
    shapes = {}
    for f in functions:
        if not f.strided:
            shapes.setdefault((f.shape, f.name[-1] if f.is_pack else ""), []).append(f)
    twins = {(f.name, f.type): f for f in functions if f.strided}
    rows = []
    for (shape, _), members in shapes.items():
        example = next((f for f in members if f.type in "dz"), members[0])
        forms = [f for f in (example, twins.get((example.name, example.type))) if f]
        calls = "<br>".join(html.escape(f"_fyn{f.stem}({', '.join(vector_math.parameters(f))})") for f in forms)
        rows.append([SHAPES[shape], ", ".join(dict.fromkeys(f.name for f in members)), f"<code>{calls}</code>"])
    lines += table(["shape", "functions", "for instance, and strided"], rows, names=3)
    several = {}
    for f in functions:
        if not f.strided and len(kernel_groups(f)) > 1:
            several.setdefault(" | ".join(", ".join(group) for group in kernel_groups(f)), []).append(f.stem)
    one = "One kernel serves all accuracies" + (" of the other functions." if several else ".")
    lines += [" ".join([f"Kernels of their own ({slots}): {', '.join(names)}."
                        for slots, names in several.items()] + [one]), ""]
    return lines


def function_lines(family, values):
    lines = ["## The functions", ""]
    rows = []
    for name, (what, domain, result, reports) in family.rows.items():
        result = "within the promised error" if result == "." else result
        rows.append([f"<b>{name}</b>"] + [html.escape(cell) for cell in (what, domain, result)]
                    + ["<br>".join(html.escape(part) for part in reports.split("; "))])
    where = "branch cut" if family.types == "cz" else "domain"
    lines += table(["function", "value", where, "result", "reports"], rows)
    directed = [letter + name for name in family.rows for letter in family.types if (name, letter) in values.directed]
    if family.page != "pack":
        lines += ["Results are rounded to nearest whatever the caller's rounding direction is" +
                  (f", but for {', '.join(directed)}, which follow it." if directed else ".") +
                  " Codes of reports: 1 domain, 2 pole, 3 overflow, 4 underflow.", ""]
        lines += made("tools/make_function_pages.py compares the codes with those of the special values below and of "
                      "the tests' reference values; the test SpecialValues compares the rounding direction's effect, "
                      "at 40 arguments a function.")
    return lines


def value_cell(cell):
    value, _, status = cell.partition("!")
    return html.escape(value) + (f"<sup>{status}</sup>" if status else "")


def value_lines(family, values):
    if not any((name, family.types[0] in "cz") in values.blocks for name in family.rows):
        return []
    lines = ["## Special values", "",
             "A small red number is the status reported. \"big\" is the largest finite number, \"tiny\" the smallest "
             "subnormal one; four digits are shown. Types and accuracies stand apart where they differ.", ""]
    singles = []
    for name in family.rows:
        layout, block = values.blocks[name, family.types[0] in "cz"]
        all_labels = {label for variants in block.values() for label, _ in variants}
        rows = []
        for argument, variants in block.items():
            merged = {}
            for label, cells in variants:
                merged.setdefault(tuple(cells), []).append(label)
            for cells, labels in merged.items():
                of = "" if len(labels) == len(all_labels) else " ".join(labels)
                rows.append([argument, of, *map(value_cell, cells)])
        if layout == "one":
            singles += [[f"<b>{name}</b>", of, *cells] for _, of, *cells in rows]
            continue
        corner = {"two": "a \\ b", "pairs": "a \\ b", "parts": "real \\ imaginary"}[layout]
        lines += table([corner, "", *values.columns[layout]], rows, "values", folded=name)
    if singles:
        lines[4:4] = table(["a", "", *values.columns["one"]], singles, "values")
    return lines + made("Made by the test SpecialValues, which compares the table with what the library does: "
                        "build/release/bin/vector_math_test --gtest_filter='SpecialValues*' (in tests/).")


def measured(path):
    """(comment, {(function, type): [other fields]})"""
    comment, lines = content(path)
    result = {}
    for line in lines:
        name, letter, *fields = line.split()
        result.setdefault((name, letter), []).append(fields)
    return comment, result


def measured_errors(function, group, accuracy):
    """Cells of what was found for the slots: largest error, argument, arguments tried."""
    for slots, count, ulp, *arguments in accuracy.get((function.name, function.type), []):
        if group[0] in slots.split(","):
            exceeded = arguments[-1] == "!"
            at = [x for x in arguments[:-2 if exceeded else -1] if x != "-"]
            tried = "all 2^32" if int(count) == 2**32 else f"{int(count):,} sampled"
            return [ulp + (" (more than promised)" if exceeded else ""), " and ".join(at), tried]
    return None


def accuracy_lines(functions, files):
    (comment, accuracy), (other_comment, other) = files
    rows, other_rows, exact = [], [], []
    for f in functions:
        if f.bound == "-" and (f.name, f.type) not in accuracy:
            exact.append(f.name)
            continue
        for group in kernel_groups(f):
            bound = bound_of(f, group)
            row = [f"<b>{f.name}</b>", f.type, ", ".join(group)]
            promised = "as named above" if bound == "-" else re.sub("^norm:(.*)", r"\1 of the size", bound)
            rows.append(row + [promised] + (measured_errors(f, group, accuracy) or [NOT_MEASURED, "", ""]))
            found = measured_errors(f, group, other)
            if found:
                other_rows.append(row + found)
    lines = ["## Accuracy", ""]
    if exact:
        lines += [f"The results of {', '.join(dict.fromkeys(exact))} are those that the table of the functions "
                  "names; there is no error to measure.", ""]
    if not rows:
        return lines
    lines += ["Errors in units in the last place of the true result: the largest promised, and the largest found "
              "among the arguments tried. Where kernels were searched harder, \\ref md_docs_accuracy tells.", ""]
    header = ["function", "type", "accuracy", "largest found", "at", "arguments"]
    lines += table(header[:3] + ["promised"] + header[3:], rows, "numbers", 3)
    lines += made(" ".join(comment) or f"docs/functions/accuracy.txt is not there: {NOT_MEASURED}.")
    if other_rows:
        lines += ["Beside the size of the whole, or of the function around:", ""]
        lines += table(header, other_rows, "numbers", 3) + made(" ".join(other_comment))
    return lines


def speed_of(speed, function):
    """[(slots, {length: ns}, [from, to])] of a function's kernels."""
    kernels = {}
    for slots, length, time, *interval in speed.get((function.name, function.type), []):
        kernels.setdefault(slots, ({}, interval))[0][int(length)] = float(time)
    return [(slots, *kernel) for slots, kernel in kernels.items()]


def speed_lines(functions, speed, comment, plots, plotted):
    times = {(f.name, f.type): speed_of(speed, f) for f in functions}
    lengths = sorted({n for kernels in times.values() for _, series, _ in kernels for n in series})
    rows = []
    for f in functions:
        for slots, series, interval in times[f.name, f.type]:
            rows.append([f"<b>{f.name}</b>", f.type, slots.replace(",", ", "), "[" + ", ".join(interval) + "]"]
                        + [f"{series[n]:.3g}" if n in series else "" for n in lengths])
        if not times[f.name, f.type]:
            rows.append([f"<b>{f.name}</b>", f.type, "", "", NOT_MEASURED])
    lines = ["## Speed", "", "Nanoseconds an element over the length of the vectors. A call's fixed cost shows at "
             "the short lengths, the memory's at the long ones. Calls are repeated over the same arguments: "
             "while these are few, the processor learns the branches of kernels that have them.", ""]
    pictures = [plots[key] for key in dict.fromkeys((f.name, f.type in "cz") for f in functions) if key in plotted]
    if pictures:
        lines += ["\\htmlonly<div>" + "".join(f'<img src="plots/{p}" alt="{p}" width="440">' for p in pictures)
                  + "</div>\\endhtmlonly", ""]
    lines += table(["function", "type", "accuracy", "arguments", *[f"{n:,}" for n in lengths]], rows, "numbers", 3)
    return lines + made(" ".join(comment) or f"docs/functions/speed.txt is not there: {NOT_MEASURED}.")


def draw(functions, speed, plots, directory):
    """One picture a function, a line a kernel; returns the keys of those drawn."""
    curves = {}
    for f in functions:
        for slots, series, _ in speed_of(speed, f):
            dash = 1 + SLOTS.index(slots.split(",")[0])
            title = f.type if len(kernel_groups(f)) == 1 else f"{f.type} {slots}"
            curves.setdefault((f.name, f.type in "cz"), []).append((title, COLOUR[f.type], dash, series))
    if not shutil.which("gnuplot"):
        return set()
    directory.mkdir(parents=True, exist_ok=True)
    script = ["set terminal svg size 440,330 font 'Helvetica,12' background 'white'", "set logscale xy",
              "set format x '10^{%T}'", "set xlabel 'length' offset 0,0.5", "set ylabel 'ns per element'",
              "set grid lc rgb '#dddddd'", "set key below"]
    for key, lines in curves.items():
        script += [f"set output '{directory / plots[key]}'", f"set title '{key[0]}'"]
        for k, (_, _, _, series) in enumerate(lines):
            script += [f"$data{k} << END", *[f"{n} {t}" for n, t in sorted(series.items())], "END"]
        script.append("plot " + ", ".join(
            f"$data{k} using 1:2 with linespoints lc rgb '{colour}' dt {dash} lw 2 pt 7 ps 0.4 title '{title}'"
            for k, (title, colour, dash, _) in enumerate(lines)))
    subprocess.run(["gnuplot"], input="\n".join(script) + "\n", text=True, check=True)
    return set(curves)


def main():
    if len(sys.argv) != 2 or sys.argv[1].startswith("-"):
        sys.exit(__doc__)
    root, output = pathlib.Path(__file__).resolve().parent.parent, pathlib.Path(sys.argv[1])
    data = root / "docs/functions"
    everything = vector_math.read_list(root / "vector_math/functions.txt")
    functions = [f for f in everything if not f.strided]
    families = read_families(data / "families.txt")
    values = read_special_values(data / "special_values.txt")
    check(families, functions, statuses_seen(root, values))
    accuracies = [measured(data / name) for name in ("accuracy.txt", "accuracy_other.txt")]
    comment_of_speed, speed = measured(data / "speed.txt")
    names = set(speed).union(*(found for _, found in accuracies))
    for name, letter in sorted(names - {(f.name, f.type) for f in functions}):
        fail(f"{letter}{name} was measured, but is no function")

    plots = {(f.name, f.type in "cz"): f"{'complex_' if f.type in 'cz' else ''}{f.name}.svg" for f in functions}
    output.mkdir(parents=True, exist_ok=True)
    plotted = draw(functions, speed, plots, output / "plots")
    for family in families:
        order = list(family.rows)
        members = sorted((f for f in everything if f.name in family.rows and f.type in family.types),
                         key=lambda f: (order.index(f.name), "sdcz".index(f.type)))
        plain = [f for f in members if not f.strided]
        lines = [f"# {family.title} {{#functions_{family.page}}}", "", f"\\htmlonly{STYLE}\\endhtmlonly", "",
                 *family.introduction, ""]
        lines += function_lines(family, values) + entry_lines(members, family) + value_lines(family, values)
        lines += accuracy_lines(plain, accuracies)
        lines += speed_lines(plain, speed, comment_of_speed, plots, plotted)
        (output / f"functions_{family.page}.md").write_text("\n".join(lines) + "\n")
    index = ["# Functions of vector math {#functions}", "", "One page a family: what its functions compute, how they "
             "are called, what they do with special arguments, their errors and their speed.", ""]
    index += [f"- \\subpage functions_{family.page}: {', '.join(family.rows)}" for family in families]
    (output / "functions.md").write_text("\n".join(index) + "\n")
    unmeasured = [f"{f.type}{f.name}" for f in functions
                  if f.bound != "-" and (f.name, f.type) not in accuracies[0][1]]
    slow = [f"{f.type}{f.name}" for f in functions if (f.name, f.type) not in speed]
    print(f"{len(families)} pages, {len(functions)} functions, {len(plotted)} plots; "
          f"without measured error {len(unmeasured)}, without measured time {len(slow)}")


if __name__ == "__main__":
    main()
