#!/usr/bin/env python3
"""Makes vector_math/kernels/inverse_error_function_tables.h: the inverse error function in pieces.

    python3 tools/inverse_error_function_tables.py | clang-format > vector_math/kernels/inverse_error_function_tables.h

Needs mpmath. Each octave of t = 1 - |x| is cut into equal pieces; a row has the interpolant of erfinv(x) / x in
Chebyshev points of one piece, in powers of |x| less the piece's middle. The largest error of each table goes to
stderr.
"""
import sys
import textwrap
from mpmath import mp, mpf

mp.prec = 160


def ratio(x):
    if abs(x) < mpf(2) ** -100:
        return mp.sqrt(mp.pi) / 2
    return mp.erfinv(x) / x


def short_hex(value, precision):
    """value rounded to `precision` bits, as a C literal"""
    with mp.workprec(precision):
        value = +value
    mantissa, exponent = float(value).hex().split("p")
    return mantissa.rstrip("0").rstrip(".") + "p" + exponent


def leading_parts(value):
    """value as a number of 26 bits and a double"""
    with mp.workprec(26):
        head = +value
    return [head, value - head]


def rows(octaves, pieces, degree):
    """(coefficients, error relative to the smallest value) of each piece, t rising from 2^-octaves to just above 1"""
    for k in range(octaves * pieces + 1):
        octave, piece = divmod(k, pieces)
        half = mpf(2) ** (octave - octaves) / (2 * pieces)
        middle = 1 - half * (2 * (pieces + piece) + 1)
        coefficients = mp.chebyfit(lambda d: ratio(middle + d), [-half, half], degree + 1)[::-1]
        ends = [middle + half * s / 4 for s in range(-4, 5)]
        yield coefficients, max(abs(mp.polyval(coefficients[::-1], x - middle) / ratio(x) - 1) for x in ends)


def print_table(name, comment, element, octaves, pieces, degree, split=False):
    precision, suffix = (24, "f") if element == "float" else (53, "")
    worst, lines = 0, []
    terms = degree + 1 + split
    print(f"\n// {comment}")
    print(f"inline constexpr ErfInverseTable<{element}, {octaves}, {pieces}, {terms}> {name} = {{{{")
    for coefficients, error in rows(octaves, pieces, degree):
        worst = max(worst, error)
        if split:
            coefficients[:1] = leading_parts(coefficients[0])
        lines.append("{" + ", ".join(short_hex(c, precision) + suffix for c in coefficients) + "},")
    print(textwrap.fill("\n".join(lines), 110, initial_indent="    ", subsequent_indent="    "))
    print("}};")
    print(f"{name}: 2^{float(mp.log(worst, 2)):.1f}", file=sys.stderr)


if __name__ == "__main__":
    print("""\
// Made by tools/inverse_error_function_tables.py: erfinv(x) / x in powers of |x| less the middle of a piece.
//
// Row 0 begins at 1 - |x| = 2^-octaves; every octave has `pieces` rows of equal width; the last row serves
// 1 - |x| = 1.
#pragma once

#include <cstdint>

namespace qor::fyn {

template <class T, unsigned octave_count, unsigned piece_count, unsigned term_count> struct ErfInverseTable {
    static constexpr unsigned octaves = octave_count, pieces = piece_count, terms = term_count;
    static constexpr unsigned rows = octaves * pieces + 1;
    alignas(16) T row[rows][(terms + 1) / 2 * 2];
};""")
    print_table("erf_inverse_double", "The constant term comes as a number of 26 bits and its rest.", "double",
                12, 16, 8, split=True)
    print_table("erf_inverse_double_short", "Cubics.", "double", 12, 32, 3)
    print_table("erf_inverse_medium", "For single precision, rounded once.", "double", 12, 16, 5)
    print_table("erf_inverse_single", "Quadratics.", "float", 24, 64, 2)
    print_table("erf_inverse_single_short", "Straight lines.", "float", 24, 32, 1)
    print("\n} // namespace qor::fyn")
