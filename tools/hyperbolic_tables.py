#!/usr/bin/env python3
"""Makes vector_math/kernels/hyperbolic_tables.h: tanh(i/32), i = 0 .. 640, as pairs of doubles.

    python3 tools/hyperbolic_tables.py > vector_math/kernels/hyperbolic_tables.h

Needs mpmath. From 19.1 on the hyperbolic tangent rounds to 1; the last rows serve all that is above.
"""
from mpmath import mp, mpf, tanh

mp.prec = 300
STEPS = 32  # to 1
END = 20


def short_hex(value):
    mantissa, exponent = float(value).hex().split("p")
    return (mantissa.rstrip("0").rstrip(".") if "." in mantissa else mantissa) + "p" + exponent


print("""\
// Made by tools/hyperbolic_tables.py: tanh(i/%d) = hi + lo, i = 0 .. %d, hi rounded to nearest.
#pragma once

namespace qor::fyn {

struct TanhPair {
    double hi, lo;
};

inline constexpr int tanh_steps = %d; // to 1

alignas(64) inline constexpr TanhPair tanh_pairs[%d] = {""" % (STEPS, END * STEPS, STEPS, END * STEPS + 1))
for i in range(END * STEPS + 1):
    value = tanh(mpf(i) / STEPS)
    hi = float(value)
    print("    {%s, %s}," % (short_hex(hi), short_hex(value - mpf(hi))))
print("};\n\n} // namespace qor::fyn")
