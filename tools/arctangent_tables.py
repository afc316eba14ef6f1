#!/usr/bin/env python3
"""Makes vector_math/kernels/arctangent_tables.h: arctangents of a number in each of many intervals.

    python3 tools/arctangent_tables.py > vector_math/kernels/arctangent_tables.h

Needs mpmath. The octaves from 1/32 to 32 are cut into sixteen intervals each. The number of an interval is the
first of 22 bits, going out from the middle, whose arctangent (in the unit of the table) lies within 2^-10 of its
last place of a double, so that a row does without a tail of the angle (S. Gal and B. Bachelis, "An accurate
elementary mathematical library for the IEEE floating point standard", ACM TOMS 17, 1991). Row 0 serves what is
below the intervals; the number of the last row, for what is above, is so large that its angle is the double
nearest to the right angle.
"""
from mpmath import mp, mpf

mp.prec = 200

OCTAVES = range(-5, 5)
INTERVALS = 16
BITS = 22
NEAR = mpf(2) ** -10


def distance_from_double(angle):
    """of an angle from the nearest double, in units of that double's last place"""
    nearest = mpf(float(angle))
    place = mpf(2) ** (int(mp.floor(mp.log(nearest, 2))) - 52)
    return abs(angle - nearest) / place


def number_of(octave, interval, unit):
    unit_of_number = mpf(2) ** (octave + 1 - BITS)
    middle = (mpf(2) ** octave) * (1 + (interval + mpf(1) / 2) / INTERVALS)
    for k in range(2 ** (BITS - 9)):
        for number in (middle - k * unit_of_number, middle + k * unit_of_number):
            if distance_from_double(mp.atan(number) / unit) < NEAR:
                return number
    raise ValueError("none near the middle")


def row(number, angle):
    return "    {%s, %s}," % (short_hex(number), short_hex(angle))


def short_hex(value):
    mantissa, exponent = float(value).hex().split("p")
    return (mantissa.rstrip("0").rstrip(".") if "." in mantissa else mantissa) + "p" + exponent


def table(name, unit):
    size = len(OCTAVES) * INTERVALS + 2
    print("\nalignas(64) inline constexpr ArctangentPair %s[%d] = {" % (name, size))
    print(row(0, 0))
    for octave in OCTAVES:
        for interval in range(INTERVALS):
            number = number_of(octave, interval, unit)
            print(row(number, mp.atan(number) / unit))
    right_angle = mp.pi / 2 / unit
    lack = right_angle - mpf(float(right_angle))
    with mp.workprec(BITS):
        number = 1 / (lack * unit) if lack > 0 else mpf(2) ** 70
    assert distance_from_double(mp.atan(number) / unit) < NEAR
    print(row(number, mp.atan(number) / unit))
    print("};")


print("""\
// Made by tools/arctangent_tables.py: arctangents, in radians and in half turns, of a number in each
// of 160 intervals between 1/32 and 32, of 0 and of a large one. They are within 2^-10 of their last places.
#pragma once

namespace qor::fyn {

struct ArctangentPair {
    double tangent, angle;
};""")
table("arctangents_in_radians", mpf(1))
table("arctangents_in_half_turns", mp.pi)
print("\n} // namespace qor::fyn")
