#!/usr/bin/env python3
"""Makes vector_math/kernels/gamma_tables.h: log gamma in pieces, and around its zeros left of 0.

    python3 tools/gamma_tables.py | clang-format > vector_math/kernels/gamma_tables.h

Needs mpmath. A row has the interpolant of a function in Chebyshev points of one piece, in powers of x less the
row's middle. The largest error of each table, relative to the function, goes to stderr.
"""
import sys
import textwrap
from mpmath import mp, mpf

from inverse_error_function_tables import short_hex

mp.prec = 160
first_octave, end_octave = -12, 16  # of the rows' middles
deepest_pole = 16


def log_gamma(x):
    return mp.log(abs(mp.gamma(x))) if x < 40 else mp.re(mp.loggamma(x))


def two_parts(c, bits=53):
    with mp.workprec(bits):
        upper = +c
    return [upper, c - upper]


def pieces(per_octave, first, end):
    """(middle, from, to): what lies nearest to the numbers that cut octaves into equal pieces"""
    middles = [mpf(2) ** octave * (1 + mpf(k) / per_octave) for octave in range(first - 1, end)
               for k in range(per_octave)] + [mpf(2) ** end * (1 + mpf(k) / per_octave) for k in range(2)]
    at = per_octave
    while at + 1 < len(middles):
        yield middles[at], (middles[at - 1] + middles[at]) / 2, (middles[at] + middles[at + 1]) / 2
        at += 1


def fit(function, middle, low, high, degree):
    """Coefficients in powers of x - middle; where the function has a zero there, of its quotient by that."""
    if function(middle) == 0:
        quotient = mp.chebyfit(lambda d: function(middle + d) / d, [low - middle, high - middle], degree)[::-1]
        coefficients = [mpf(0)] + quotient
    else:
        coefficients = mp.chebyfit(lambda d: function(middle + d), [low - middle, high - middle],
                                   degree + 1)[::-1]
    worst = mpf(0)
    for s in range(8):
        d = low - middle + (high - low) * (s + mpf(3) / 8) / 8
        worst = max(worst, abs(mp.polyval(coefficients[::-1], d) / function(middle + d) - 1))
    return coefficients, worst


def print_rows(rows):
    lines = ["{" + ", ".join(short_hex(c, 53) for c in row) + "}," for row in rows]
    print(textwrap.fill("\n".join(lines), 110, initial_indent="    ", subsequent_indent="    "))
    print("}};")


def print_pieces(name, comment, function, per_octave, first, end, degree, split):
    """split: a row's numbers from its coefficients"""
    rows, worst = [], mpf(0)
    for middle, low, high in pieces(per_octave, first, end):
        c, error = fit(function, middle, low, high, degree)
        worst = max(worst, error)
        rows.append(split(c))
    print(f"\n// {comment}")
    print(f"inline constexpr PolynomialRows<{per_octave}, {len(rows)}, {len(rows[0])}> {name} = {{{{")
    print_rows(rows)
    print(f"{name}: {len(rows)} rows, 2^{float(mp.log(worst, 2)):.1f}", file=sys.stderr)


def zero_near(pole, side):
    """The zero of log |gamma| next to -pole, on that side."""
    offset = side / mp.factorial(pole)
    if pole <= 3:
        offset = {(2, -1): mpf("-0.457"), (3, -1): mpf("-0.143"), (3, 1): mpf("0.2525")}[pole, side]
    x = mpf(-pole) + offset
    for _ in range(40):
        step = log_gamma(x) / mp.digamma(x)
        x -= step
        if abs(step) < mpf(2) ** -150:
            return x
    raise ValueError("no zero found")


def print_zeros(name, degree):
    rows, worst = [], mpf(0)
    with mp.workprec(260):
        for pole in range(2, deepest_pole + 1):
            for side in (1, -1) if pole > 2 else (-1,):
                zero = zero_near(pole, side)
                distance = min(abs(zero + pole), abs(zero + pole - side))
                scale = mpf(2) ** mp.floor(mp.log(distance / 6, 2))
                c = mp.chebyfit(lambda s: log_gamma(zero + scale * s) / s, [-1, 1], degree)[::-1]
                for s in range(-4, 4):
                    s = (s + mpf(3) / 8) / 4
                    worst = max(worst, abs(s * mp.polyval(c[::-1], s) / log_gamma(zero + scale * s) - 1))
                hi, lo = two_parts(zero)
                rows.append([hi, lo, 1 / scale] + c)
    print(f"""
// Zeros of log |gamma(x)| left of 0, in two parts, 1 / scale, then the coefficients of s, s^2, ... with
// s = (x - zero) / scale in (-1, 1).
inline constexpr LogGammaZero log_gamma_zeros[{len(rows)}] = {{""")
    lines = []
    for row in rows:
        text = [short_hex(c, 53) for c in row]
        lines.append("{" + ", ".join(text[:3]) + ", {" + ", ".join(text[3:]) + "}},")
    print(textwrap.fill("\n".join(lines), 110, initial_indent="    ", subsequent_indent="    "))
    print("};")
    print(f"{name}: {len(rows)} zeros, 2^{float(mp.log(worst, 2)):.1f}", file=sys.stderr)


if __name__ == "__main__":
    print(f"""\
// Made by tools/gamma_tables.py: log gamma in powers of x less the middle of a piece, a row each, from
// 2^{first_octave} to 2^{end_octave}; the middles cut octaves into equal parts.
#pragma once

#include "vector_math/kernels/polynomial_rows.h"

namespace qor::fyn {{""")
    print_pieces("log_gamma_double", "The first two terms in two parts, the leading one of the second of 26 bits.",
                 log_gamma, 16, first_octave, end_octave, 9,
                 lambda c: two_parts(c[0]) + two_parts(c[1], 26) + c[2:])
    print_pieces("log_gamma_medium", "For single precision.", log_gamma, 8, first_octave, end_octave, 7,
                 lambda c: c)
    degree = 16
    print(f"""
struct LogGammaZero {{
    double hi, lo, inverse_scale, c[{degree}];
}};""")
    print_zeros("zeros", degree)
    print("\n} // namespace qor::fyn")
