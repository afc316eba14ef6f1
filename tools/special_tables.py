#!/usr/bin/env python3
"""Makes vector_math/kernels/special_tables.h: polynomials for the special functions.

    python3 tools/special_tables.py > vector_math/kernels/special_tables.h

Needs mpmath. Every row is the interpolant in Chebyshev points of one piece, rewritten in powers of the
distance t from the middle of the piece. A row holds the constant term as a sum of two doubles, then the
other terms. The degree is the lowest that keeps the error of every row below the bound, relative to the
largest value in the row.
"""
import sys
from mpmath import mp, mpf

mp.prec = 200


def polynomial(f, middle, half, degree):
    """Coefficients in t of the interpolant of f(middle + t) on [-half, half]."""
    n = degree + 1
    nodes = [mp.cos(mp.pi * (2 * i + 1) / (2 * n)) for i in range(n)]
    values = [f(middle + half * z) for z in nodes]
    cheb = [mp.fsum(v * mp.cos(mp.pi * k * (2 * i + 1) / (2 * n)) for i, v in enumerate(values)) * 2 / n
            for k in range(n)]
    cheb[0] /= 2
    power = [mpf(0)] * n
    previous, current = [mpf(1)], [mpf(0), mpf(1)]
    for k in range(n):
        t_k = previous if k == 0 else current
        if k >= 2:
            t_k = [mpf(0)] + [2 * a for a in current]
            for i, a in enumerate(previous):
                t_k[i] -= a
            previous, current = current, t_k
        for i, a in enumerate(t_k):
            power[i] += cheb[k] * a
    return [a / half ** i for i, a in enumerate(power)], max(abs(v) for v in values)


def error(f, middle, half, coefficients, largest):
    worst = mpf(0)
    for i in range(9):
        t = half * (mpf(2 * i) / 8 - 1) * mpf('0.99')
        worst = max(worst, abs(mp.polyval(coefficients[::-1], t) - f(middle + t)))
    return worst / largest


def rows(f, pieces, bound):
    """Rows of the lowest common degree that meets the bound: first a guess from the hardest pieces."""
    degree = 3
    trial = [pieces[0], pieces[len(pieces) // 2], pieces[-1]]
    while True:
        if all(error(f, m, h, *polynomial(f, m, h, degree)) < bound for m, h in trial):
            break
        degree += 1
    while True:
        fits = [polynomial(f, m, h, degree) for m, h in pieces]
        worst = max(error(f, m, h, *fit) for (m, h), fit in zip(pieces, fits))
        if worst < bound:
            return [fit[0] for fit in fits], worst
        degree += 1


def octaves(first, last, shift, parts=8):
    """Pieces of x + shift in [2^first, 2^last), `parts` to the octave."""
    return [(mpf(2) ** e * (1 + (j + mpf(1) / 2) / parts) - shift, mpf(2) ** e / (2 * parts))
            for e in range(first, last) for j in range(parts)]


def uniform(first, last, width):
    count = int((mpf(last) - mpf(first)) / mpf(width))
    return [(mpf(first) + (i + mpf(1) / 2) * mpf(width), mpf(width) / 2) for i in range(count)]




def hexadecimal(x):
    return float(x).hex() if float(x) != 0 else '0.0'


def table(name, what, f, pieces, bound=mpf(2) ** -62):
    coefficients, worst = rows(f, pieces, bound)
    out = [f'// {what}; error 2^{float(mp.log(worst, 2)):.1f}.',
           f'inline constexpr double {name}[{len(pieces)}][{len(coefficients[0]) + 1}] = {{']
    for row in coefficients:
        hi = mpf(float(row[0]))
        numbers = [hi, row[0] - hi] + row[1:]
        line = '    {'
        for i, number in enumerate(numbers):
            text = hexadecimal(number) + (', ' if i + 1 < len(numbers) else '},')
            if len(line) + len(text.rstrip()) > 108:
                out.append(line.rstrip())
                line = '     '
            line += text
        out.append(line)
    out.append('};')
    print('\n'.join(out) + '\n')
    print(name, len(pieces), len(coefficients[0]) - 1, float(mp.log(worst, 2)), file=sys.stderr)


def turn_limbs(count=42):
    """1/(2 pi) after 64 zero bits, in words of 32 bits."""
    with mp.workprec(32 * count + 64):
        bits = int(mp.floor(mp.ldexp(1 / (2 * mp.pi), 32 * (count - 2))))
    print(f'// 1/(2 pi) in words of 32 bits, the first of weight 2^-32, behind two words of zeros.')
    print(f'inline constexpr std::uint32_t turn_limbs[{count}] = {{')
    words = [(bits >> (32 * (count - 1 - i))) & 0xffffffff for i in range(count)]
    for i in range(0, count, 8):
        print('    ' + ' '.join(f'0x{w:08x}u,' for w in words[i:i + 8]))
    print('};\n')


def erfcx(x):
    return mp.exp(x * x) * mp.erfc(x)


def erfc_inverse_of_exponential(s):
    """y with erfc y = exp(-s^2), by Newton's method on log erfc."""
    y = s
    if s > 1:
        y = mp.sqrt(s * s - mp.log(s * mp.sqrt(mp.pi)))
    for _ in range(60):
        g = mp.log(mp.erfc(y)) + s * s
        slope = -2 / mp.sqrt(mp.pi) / erfcx(y)
        step = g / slope
        y -= step
        if abs(step) < mpf(2) ** -150 * abs(y):
            break
    return y


def erf_inverse_ratio(u):
    """erfinv(x) / x for u = x^2; even in x, so u < 0 never arises."""
    if u == 0:
        return mp.sqrt(mp.pi) / 2
    x = mp.sqrt(u)
    y = mp.erfinv(x)
    for _ in range(3):
        y -= (mp.erf(y) - x) * mp.sqrt(mp.pi) / 2 * mp.exp(y * y)
    return y / x


def modulus(order):
    return lambda x: mp.sqrt((mp.besselj(order, x) ** 2 + mp.bessely(order, x) ** 2) * mp.pi * x / 2)


def phase(order):
    """x times the phase of J + iY less its limit x - (2 order + 1) pi/4."""
    def f(x):
        angle = mp.atan2(mp.bessely(order, x), mp.besselj(order, x)) - (x - (2 * order + 1) * mp.pi / 4)
        return x * (angle - 2 * mp.pi * mp.nint(angle / (2 * mp.pi)))
    return f


def of_inverse_square(f):
    return lambda u: f(1 / mp.sqrt(u))


def of_inverse(f):
    return lambda u: f(1 / u)


print('''// Polynomials and tables of the special functions, made by tools/special_tables.py. Do not edit.
//
// Each row of a polynomial table is one piece: the constant term as a sum of two doubles, then the
// coefficients of t, t^2, ..., where t is the distance from the middle of the piece.
#pragma once

#include <cstdint>

namespace qor::fyn::tables {
''')
turn_limbs()
table('erf_ratio', 'erf(x)/x in u = x^2 on [0, 1/4]', lambda u: mp.erf(mp.sqrt(u)) / mp.sqrt(u),
      uniform(0, '0.25', '0.25'))
table('erfcx_pieces', 'exp(x^2) erfc x, x + 1 in [1, 16), eight pieces to the octave', erfcx, octaves(0, 4, 1))
table('erfcx_tail', 'x exp(x^2) erfc x in u = 1/x^2 on [0, 1/225]', of_inverse_square(lambda x: x * erfcx(x)),
      uniform(0, mpf(1) / 225, mpf(1) / 225))
table('erf_inverse_middle', 'erfinv(x)/x in u = x^2 on [0, 1/4]', erf_inverse_ratio, uniform(0, '0.25', '0.25'),
      mpf(2) ** -60)
table('erf_inverse_tail', 'erfcinv(exp(-s^2)), s in [1/2, 32), eight pieces to the octave',
      erfc_inverse_of_exponential, octaves(-1, 5, 0), mpf(2) ** -57)
table('erf_inverse_middle_short', 'the same, short', erf_inverse_ratio, uniform(0, '0.25', '0.25'), mpf(2) ** -31)
table('e1_series', '(E1(x) + log x + gamma - x)/x^2 on [0, 1/2]',
      lambda x: (mp.e1(x) + mp.log(x) + mp.euler - x) / x ** 2, uniform(0, '0.5', '0.5'))
table('e1_pieces', 'exp(x) E1(x), x in [1/2, 16), eight pieces to the octave', lambda x: mp.exp(x) * mp.e1(x),
      octaves(-1, 4, 0))
table('e1_tail', 'x exp(x) E1(x) in u = 1/x on [0, 1/16]', of_inverse(lambda x: x * mp.exp(x) * mp.e1(x)),
      uniform(0, mpf(1) / 16, mpf(1) / 16))
table('e1_series_short', 'the series on [0, 1/2], short',
      lambda x: (mp.e1(x) + mp.log(x) + mp.euler - x) / x ** 2, uniform(0, '0.5', '0.5'), mpf(2) ** -31)
table('e1_tail_short', 'the tail on [0, 1/16], short', of_inverse(lambda x: x * mp.exp(x) * mp.e1(x)),
      uniform(0, mpf(1) / 16, mpf(1) / 16), mpf(2) ** -31)
table('gamma_pieces', 'gamma(x) on [1, 2], pieces of 1/8', mp.gamma, uniform(1, 2, '0.125'))
table('log_gamma_one', 'log gamma(x)/(x-1) on [3/4, 3/2], pieces of 1/8',
      lambda x: mp.loggamma(x) / (x - 1), uniform('0.75', '1.5', '0.125'))
table('log_gamma_two', 'log gamma(x)/(x-2) on [3/2, 5/2], pieces of 1/8',
      lambda x: mp.loggamma(x) / (x - 2), uniform('1.5', '2.5', '0.125'))
table('sine_ratio', 'sin(pi f)/f on [0, 1/2], pieces of 1/16', lambda f: mp.sin(mp.pi * f) / f,
      uniform(0, '0.5', '0.0625'))
table('i0_pieces', 'exp(-x) I0(x), x + 1 in [1, 32), eight pieces to the octave',
      lambda x: mp.exp(-x) * mp.besseli(0, x), octaves(0, 5, 1))
table('i1_pieces', 'exp(-x) I1(x)/x, x + 1 in [1, 32), eight pieces to the octave',
      lambda x: mp.exp(-x) * mp.besseli(1, x) / x, octaves(0, 5, 1))
for k in 0, 1:
    table(f'i{k}_tail', f'sqrt(x) exp(-x) I{k}(x) in u = 1/x on [0, 1/31]',
          of_inverse(lambda x: mp.sqrt(x) * mp.exp(-x) * mp.besseli(k, x)), uniform(0, mpf(1) / 31, mpf(1) / 31))
table('j0_pieces', 'J0(x) on [0, 8], pieces of 1/2', lambda x: mp.besselj(0, x), uniform(0, 8, '0.5'))
table('j1_pieces', 'J1(x)/x on [0, 8], pieces of 1/2', lambda x: mp.besselj(1, x) / x, uniform(0, 8, '0.5'))
table('y0_pieces', 'Y0(x) - 2/pi log x J0(x) on [0, 8], pieces of 1/2',
      lambda x: mp.bessely(0, x) - 2 / mp.pi * mp.log(x) * mp.besselj(0, x), uniform(0, 8, '0.5'))
table('y1_pieces', '(Y1(x) - 2/pi (log x J1(x) - 1/x))/x on [0, 8], pieces of 1/2',
      lambda x: (mp.bessely(1, x) - 2 / mp.pi * (mp.log(x) * mp.besselj(1, x) - 1 / x)) / x, uniform(0, 8, '0.5'))
for k in 0, 1:
    table(f'modulus{k}_pieces', f'sqrt(pi x/2 (J{k}^2 + Y{k}^2)), x in [8, 64), eight pieces to the octave',
          modulus(k), octaves(3, 6, 0))
    table(f'phase{k}_pieces', f'x times the phase of J{k} + i Y{k} less its limit, x in [8, 64), eight pieces to '
          'the octave', phase(k), octaves(3, 6, 0), mpf(2) ** -58)
    table(f'modulus{k}_tail', f'the modulus in u = 1/x^2 on [0, 1/4096]', of_inverse_square(modulus(k)),
          uniform(0, mpf(1) / 4096, mpf(1) / 4096))
    table(f'phase{k}_tail', f'the phase in u = 1/x^2 on [0, 1/4096]', of_inverse_square(phase(k)),
          uniform(0, mpf(1) / 4096, mpf(1) / 4096), mpf(2) ** -58)
print('} // namespace qor::fyn::tables')
