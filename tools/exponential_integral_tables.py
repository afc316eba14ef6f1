#!/usr/bin/env python3
"""Makes vector_math/kernels/exponential_integral_tables.h: the logarithm of E1(x) in pieces.

    python3 tools/exponential_integral_tables.py | clang-format \\
        > vector_math/kernels/exponential_integral_tables.h

Needs mpmath; rows and errors as in gamma_tables.py.
"""
from mpmath import mp

from gamma_tables import first_octave, print_pieces, two_parts

end_octave = 10


def log_integral(x):
    return mp.log(mp.e1(x))


if __name__ == "__main__":
    print(f"""\
// Made by tools/exponential_integral_tables.py: log E1(x) in powers of x less the middle of a piece, a row each,
// from 2^{first_octave} to 2^{end_octave}; the middles cut octaves into equal parts.
#pragma once

#include "vector_math/kernels/polynomial_rows.h"

namespace qor::fyn {{""")
    for name, comment, per_octave, degree, split in (
            ("exponential_integral_double", "The first two terms in two parts, the leading one of the second of 26 bits.",
             16, 9, lambda c: two_parts(c[0]) + two_parts(c[1], 26) + c[2:]),
            ("exponential_integral_medium", "For single precision.", 8, 7, lambda c: c),
            ("exponential_integral_short", "For enhanced performance, double precision.", 8, 5, lambda c: c),
            ("exponential_integral_shorter", "The same, single precision.", 8, 3, lambda c: c)):
        print_pieces(name, comment, log_integral, per_octave, first_octave, end_octave, degree, split)
    print("\n} // namespace qor::fyn")
