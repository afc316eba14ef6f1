#!/usr/bin/env python3
"""Makes vector_math/kernels/error_function_tables.h: the error functions and the normal distribution in pieces.

    python3 tools/error_function_tables.py | clang-format > vector_math/kernels/error_function_tables.h

Needs mpmath. A row has the interpolant of a function in Chebyshev points of one piece, in powers of x less the
piece's middle. The largest error of each table goes to stderr.
"""
import sys
import textwrap
from mpmath import mp, mpf

from inverse_error_function_tables import leading_parts, short_hex

mp.prec = 160


def erf_ratio(x):
    return mp.erf(x) / x if abs(x) > mpf(2) ** -60 else 2 / mp.sqrt(mp.pi)


def erfcx(x):
    return mp.exp(x * x) * mp.erfc(x)


def normal_tail(z):
    """P(-z) e^(z^2/2)"""
    return erfcx(z / mp.sqrt(2)) / 2


def around_multiples(end, pieces):
    """(middle, half width) of pieces around the multiples of 1 / pieces, up to x = end"""
    return [(mpf(k) / pieces, mpf(1) / (2 * pieces)) for k in range(end * pieces + 1)]


def by_octaves(end, pieces):
    """(middle, half width) of pieces: every octave of 1 + x has as many; up to x = end"""
    places = []
    while not places or sum(places[-1]) < end:
        octave, piece = divmod(len(places), pieces)
        half = mpf(2) ** octave / (2 * pieces)
        places.append((half * (2 * (pieces + piece) + 1) - 1, half))
    return places


def print_table(name, comment, function, places_up_to, end, pieces, degree, split=False):
    places = places_up_to(end, pieces)
    worst, lines = 0, []
    for middle, half in places:
        coefficients = mp.chebyfit(lambda d: function(middle + d), [-half, half], degree + 1)[::-1]
        for s in range(-4, 5):
            exact = function(middle + half * s / 4)
            worst = max(worst, abs(mp.polyval(coefficients[::-1], half * s / 4) / exact - 1))
        if split:
            coefficients[:1] = leading_parts(coefficients[0])
        lines.append("{" + ", ".join(short_hex(c, 53) for c in coefficients) + "},")
    print(f"\n// {comment}")
    print(f"inline constexpr PolynomialRows<{pieces}, {len(places)}, {degree + 1 + split}> {name} = {{{{")
    print(textwrap.fill("\n".join(lines), 110, initial_indent="    ", subsequent_indent="    "))
    print("}};")
    print(f"{name}: 2^{float(mp.log(worst, 2)):.1f}", file=sys.stderr)


if __name__ == "__main__":
    print("""\
// Made by tools/error_function_tables.py: polynomials in x less the middle of a piece, a row each.
//
// erf: erf(x) / x; the middle of row k is k / pieces. erfcx: e^(x^2) erfc(x). normal: e^(z^2/2) P(-z), P the
// normal distribution. Rows of the last two cut every octave of 1 + x, from x = 0 on, into equal pieces.
#pragma once

#include "vector_math/kernels/polynomial_rows.h"

namespace qor::fyn {""")
    print_table("erf_double", "The constant term comes as a number of 26 bits and its rest, as in every table of ten terms.",
                erf_ratio, around_multiples, 6, 16, 8, split=True)
    print_table("erf_medium", "For single precision, rounded once.", erf_ratio, around_multiples, 4, 16, 5)
    print_table("erfcx_double", "To x = 127.", erfcx, by_octaves, 127, 32, 8, split=True)
    print_table("erfcx_medium", "For single precision, rounded once.", erfcx, by_octaves, 127, 32, 5)
    print_table("normal_double", "To z = 38.", normal_tail, by_octaves, 38, 32, 8, split=True)
    print_table("normal_medium", "For single precision, rounded once.", normal_tail, by_octaves, 15, 32, 5)
    print_table("normal_short", "Cubics.", normal_tail, by_octaves, 38, 64, 3)
    print("\n} // namespace qor::fyn")
