#!/usr/bin/env python3
"""Makes statistics/streams/wichmann_hill_members.h, the constants of the 273 Wichmann-Hill generators.

    python3 tools/wichmann_hill_members.py > statistics/streams/wichmann_hill_members.h

Rows 0 and 272 and the multipliers of row 1 are given. Of the other rows
  - the moduli are primes below 2^24, taken from the top down, and none is used twice in the table;
  - the multipliers are primitive roots from 112 .. 127, so that a component has the period m - 1;
  - the (m - 1)/2 of a row have no common factor in pairs: its period is the largest possible, the product of the
    m - 1 divided by 8;
  - the row is the best of CANDIDATES drawn at random, by its spectral figure.
The four components together are one congruential generator modulo M = m1 m2 m3 m4. Its figure in t dimensions is the
length of the shortest vector of the dual lattice over the largest length any lattice of that density can have; the
figure of a row is the least over t = 2 .. 6. Rows 2 .. 271 are in the order of their figures. Takes a minute or two.

D. E. Knuth, The Art of Computer Programming, vol. 2, 3.3.4 (spectral test); H. Cohen, A Course in Computational
Algebraic Number Theory, algorithms 2.6.7 (integral LLL) and 2.7.7 (shortest vector).
"""
import random
import sys
from math import ceil, floor, gcd, sqrt

FIRST = ((16770647, 16770643, 16770623, 16770617), (125, 117, 127, 126))
LAST = ((16766363, 16766359, 16766327, 16766231), (126, 127, 125, 124))
SECOND_MULTIPLIERS = (127, 126, 125, 123)
MEMBERS = 273
CANDIDATES = 256
MULTIPLIERS = range(112, 128)
# Hermite's constants, to the power t.
HERMITE = {2: 4 / 3, 3: 2, 4: 4, 5: 8, 6: 64 / 3}


def prime_factors(n):
    factors = set()
    divisor = 2
    while divisor * divisor <= n:
        while n % divisor == 0:
            factors.add(divisor)
            n //= divisor
        divisor += 1
    if n > 1:
        factors.add(n)
    return factors


def primitive_roots(m):
    factors = prime_factors(m - 1)
    return [a for a in MULTIPLIERS if all(pow(a, (m - 1) // q, m) != 1 for q in factors)]


def dot(a, b):
    return sum(x * y for x, y in zip(a, b))


def gram_schmidt(basis):
    """the integers d and lambda of the integral LLL: mu[i][j] = lam[i][j] / d[j + 1], |b*_i|^2 = d[i + 1] / d[i]"""
    n = len(basis)
    d, lam = [1] + [0] * n, [[0] * n for _ in range(n)]
    for i in range(n):
        for j in range(i + 1):
            u = dot(basis[i], basis[j])
            for k in range(j):
                u = (d[k + 1] * u - lam[i][k] * lam[j][k]) // d[k]
            if j < i:
                lam[i][j] = u
            else:
                d[i + 1] = u
    return d, lam


def reduce_basis(b):
    """LLL with factor 0.99, in place"""
    n = len(b)
    d, lam = gram_schmidt(b)

    def size_reduce(k, l):
        q = (2 * lam[k][l] + d[l + 1]) // (2 * d[l + 1])
        if q != 0:
            b[k] = [x - q * y for x, y in zip(b[k], b[l])]
            lam[k][l] -= q * d[l + 1]
            for i in range(l):
                lam[k][i] -= q * lam[l][i]

    k = 1
    while k < n:
        size_reduce(k, k - 1)
        if 100 * (d[k + 1] * d[k - 1] + lam[k][k - 1] ** 2) >= 99 * d[k] ** 2:
            for l in range(k - 2, -1, -1):
                size_reduce(k, l)
            k += 1
            continue
        b[k], b[k - 1] = b[k - 1], b[k]
        for j in range(k - 1):
            lam[k][j], lam[k - 1][j] = lam[k - 1][j], lam[k][j]
        crossing = lam[k][k - 1]
        new_d = (d[k - 1] * d[k + 1] + crossing * crossing) // d[k]
        for i in range(k + 1, n):
            t = lam[i][k]
            lam[i][k] = (d[k + 1] * lam[i][k - 1] - crossing * t) // d[k]
            lam[i][k - 1] = (new_d * t + crossing * lam[i][k]) // d[k + 1]
        d[k] = new_d
        k = max(1, k - 1)
    return b


def shortest_norm(b):
    """squared length of the shortest vector of a reduced basis, by enumeration"""
    n = len(b)
    d, lam = gram_schmidt(b)
    length = [d[i + 1] / d[i] for i in range(n)]
    mu = [[lam[i][j] / d[j + 1] for j in range(i)] for i in range(n)]
    best = min(dot(v, v) for v in b)
    coefficient = [0] * n

    def search(k, used):
        nonlocal best
        centre = -sum(coefficient[i] * mu[i][k] for i in range(k + 1, n))
        radius = sqrt(max(0.0, (best * (1 + 1e-9) - used) / length[k]))
        for c in range(ceil(centre - radius), floor(centre + radius) + 1):
            coefficient[k] = c
            if k > 0:
                search(k - 1, used + (c - centre) ** 2 * length[k])
            elif any(coefficient):
                vector = [sum(coefficient[i] * b[i][j] for i in range(n)) for j in range(n)]
                best = min(best, dot(vector, vector))
        coefficient[k] = 0

    search(n - 1, 0.0)
    return best


def spectral_figure(moduli, multipliers, enough=0.0):
    """stops early, with what it has, where the figure is below `enough`"""
    product = 1
    for m in moduli:
        product *= m
    a = sum(ai * (product // m) * pow(product // m, -1, m) for m, ai in zip(moduli, multipliers)) % product
    basis, least = [[product]], 1.0
    for t in range(2, 7):
        basis = [v + [0] for v in basis] + [[-pow(a, t - 1, product)] + [0] * (t - 2) + [1]]
        reduce_basis(basis)
        least = min(least, sqrt(shortest_norm(basis)) / (HERMITE[t] * float(product) ** 2) ** (1 / (2 * t)))
        if least < enough:
            break
    return least


def coprime(moduli):
    return all(gcd((m - 1) // 2, (other - 1) // 2) == 1 for i, m in enumerate(moduli) for other in moduli[:i])


def is_prime(n):
    return n % 2 != 0 and all(n % divisor for divisor in range(3, int(sqrt(n)) + 1, 2))


def pools():
    """primes from 2^24 down in classes by whether 2 and 3 divide (m - 1)/2: a row has room for one of each"""
    wanted = 2 * MEMBERS + MEMBERS // 5
    classes = {(False, False): {}, (True, False): {}, (False, True): {}, (True, True): {}}
    m = 1 << 24
    while len(classes[False, False]) < wanted:
        m -= 1
        if m not in FIRST[0] + LAST[0] and is_prime(m):
            roots = primitive_roots(m)
            if roots:
                half = (m - 1) // 2
                classes[half % 2 == 0, half % 3 == 0][m] = roots
    return classes[False, False], classes[True, False], classes[False, True]


def draw(rng, pool, multipliers):
    """moduli of one row, two neither's and one each of 2's and 3's, with multipliers; or nothing when they do not fit"""
    neither, twos, threes = pool
    moduli = rng.sample(sorted(neither), 2) + rng.sample(sorted(twos), 1) + rng.sample(sorted(threes), 1)
    if not coprime(moduli):
        return None
    moduli.sort(reverse=True)
    roots = [next(p[m] for p in pool if m in p) for m in moduli]
    if multipliers is None:
        return tuple(moduli), tuple(rng.choice(r) for r in roots)
    if any(a not in r for a, r in zip(multipliers, roots)):
        return None
    return tuple(moduli), multipliers


def best_row(rng, pool, multipliers=None):
    best, row, drawn = 0.0, None, 0
    while drawn < CANDIDATES:
        candidate = draw(rng, pool, multipliers)
        if candidate is None:
            continue
        drawn += 1
        figure = spectral_figure(*candidate, best)
        if figure > best:
            best, row = figure, candidate
    for p in pool:
        for m in row[0]:
            p.pop(m, None)
    return best, row


def main():
    rng = random.Random(1982)
    pool = pools()
    print("// Made by tools/wichmann_hill_members.py: the constants of the Wichmann-Hill generators, each row with its\n"
          "// spectral figure. The tool says how they were chosen.\n"
          "#pragma once\n\n"
          "#include <cstdint>\n\n"
          "namespace qor::bex {\n\n"
          "struct WichmannHillMember {\n"
          "    std::uint32_t moduli[4];\n"
          "    std::uint8_t multipliers[4];\n"
          "};\n\n"
          f"inline constexpr WichmannHillMember wichmann_hill_members[{MEMBERS}] = {{")
    second = best_row(rng, pool, SECOND_MULTIPLIERS)
    others = []
    while len(others) < MEMBERS - 3:
        others.append(best_row(rng, pool))
        print(len(others), others[-1], file=sys.stderr)
    others.sort(reverse=True)
    for figure, (moduli, multipliers) in [(spectral_figure(*FIRST), FIRST), second, *others,
                                          (spectral_figure(*LAST), LAST)]:
        print(f"    {{{{{', '.join(map(str, moduli))}}}, {{{', '.join(map(str, multipliers))}}}}}, // {figure:.3f}")
    print("};\n\n} // namespace qor::bex")


if __name__ == "__main__":
    main()
