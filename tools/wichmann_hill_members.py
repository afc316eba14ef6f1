#!/usr/bin/env python3
"""Makes statistics/streams/wichmann_hill_members.h, the constants of the 273 Wichmann-Hill generators.

    python3 tools/wichmann_hill_members.py > statistics/streams/wichmann_hill_members.h
    python3 tools/wichmann_hill_members.py check statistics/streams/wichmann_hill_members.h

Rows 0 and 272 and the multipliers of row 1 are given. A component is a pair of a prime m, from the least to the
greatest of the given ones, and a primitive root a of m in 112 .. 127, so that its period is m - 1.
  - No pair is used twice in the table, and no two rows have more than one modulus in common.
  - The four moduli of a row are distinct. The loss of a row, the product of its (m - 1)/2 over their least common
    multiple, is 1 or 2: the row's period is the product of its m - 1 over 8 or over 16.
  - As few rows as possible lose the 2. The primes in the range are too few to do without: a row that loses nothing
    has at least two m with (m - 1)/2 divisible neither by 2 nor by 3, one that loses a 2 at least one, and there
    are 447 such pairs. So 447 - 5 - 271 of rows 1 .. 271 can have two, rows 0 and 272 having five between them.
The four components of a row together are one congruential generator modulo M = m1 m2 m3 m4. Its figure in t dimensions
is the length of the shortest vector of the dual lattice over the largest length any lattice of that density can have;
the figure of a row is the least over t = 2 .. 6.

Row 1 is the best of CANDIDATES drawn at random. The others are dealt from the shuffled pairs, and then exchange
components, drawn at random, with each other and with the pairs left over: first the rows that break a rule, until none
does, then EXCHANGES times the worst of DRAWN rows, wherever this raises the lower of the two rows' figures. Rows
2 .. 271 are in the order of their figures. Takes a few minutes. `check` works out the figures of an existing table
again, and fails unless they are those noted there, and in order.

D. E. Knuth, The Art of Computer Programming, vol. 2, 3.3.4 (spectral test); H. Cohen, A Course in Computational
Algebraic Number Theory, algorithms 2.6.7 (integral LLL) and 2.7.7 (shortest vector).
"""
import random
import re
import sys
from collections import Counter
from itertools import combinations
from math import ceil, floor, lcm, prod, sqrt

FIRST = ((16770647, 125), (16770643, 117), (16770623, 127), (16770617, 126))
LAST = ((16766363, 126), (16766359, 127), (16766327, 125), (16766231, 124))
SECOND_MULTIPLIERS = (127, 126, 125, 123)
MEMBERS = 273
CANDIDATES = 256
EXCHANGES = 1000000
DRAWN = 16
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


def spectral_figure(row, enough=0.0):
    """stops early, with what it has, where the figure is below `enough`"""
    product = prod(m for m, _ in row)
    a = sum(ai * (product // m) * pow(product // m, -1, m) for m, ai in row) % product
    basis, least = [[product]], 1.0
    for t in range(2, 7):
        basis = [v + [0] for v in basis] + [[-pow(a, t - 1, product)] + [0] * (t - 2) + [1]]
        reduce_basis(basis)
        least = min(least, sqrt(shortest_norm(basis)) / (HERMITE[t] * float(product) ** 2) ** (1 / (2 * t)))
        if least < enough:
            break
    return least


def is_prime(n):
    return n % 2 != 0 and all(n % divisor for divisor in range(3, int(sqrt(n)) + 1, 2))


def loss(row):
    halves = [(m - 1) // 2 for m, _ in row]
    return prod(halves) // lcm(*halves)


def kind(pair):
    """whether 2 and 3 divide (m - 1)/2"""
    half = (pair[0] - 1) // 2
    return half % 2 == 0, half % 3 == 0


NEITHER, TWO, THREE = (False, False), (True, False), (False, True)
LOSING_NOTHING, LOSING_TWO = (NEITHER, NEITHER, TWO, THREE), (NEITHER, TWO, TWO, THREE)


def shared_moduli(row):
    return combinations(sorted(m for m, _ in row), 2)


def pairs_by_kind(rng):
    """of the pairs not given, those a row of either sort is made of, shuffled"""
    pairs = {NEITHER: [], TWO: [], THREE: []}
    for m in range(LAST[-1][0], FIRST[0][0] + 1):
        if is_prime(m):
            for pair in [(m, a) for a in primitive_roots(m)]:
                if pair not in FIRST + LAST and kind(pair) in pairs:
                    pairs[kind(pair)].append(pair)
    for pool in pairs.values():
        rng.shuffle(pool)
    return pairs


def second_row(rng, pairs):
    candidates = []
    with_multiplier = [[p for pool in pairs.values() for p in pool if p[1] == a] for a in SECOND_MULTIPLIERS]
    while len(candidates) < CANDIDATES:
        row = [rng.choice(pool) for pool in with_multiplier]
        if row == sorted(row, reverse=True) and sorted(map(kind, row)) == sorted(LOSING_NOTHING) and loss(row) == 1:
            candidates.append(row)
    best = max(candidates, key=spectral_figure)
    for pair in best:
        pairs[kind(pair)].remove(pair)
    return best


class Deal:
    """rows 2 .. 271, and what is left over"""

    def __init__(self, pairs, count, given):
        self.count = count
        losing_nothing = len(pairs[NEITHER]) - count
        self.rows = [[pairs[k].pop() for k in (LOSING_NOTHING if i < losing_nothing else LOSING_TWO)]
                     for i in range(count)]
        self.rows += pairs[TWO], pairs[THREE]
        self.places = {k: [(i, j) for i, row in enumerate(self.rows) for j, p in enumerate(row) if kind(p) == k]
                       for k in pairs}
        self.shared = Counter(s for row in given + self.rows[:count] for s in shared_moduli(row))

    def broken(self, i):
        """how many times row i breaks a rule"""
        if i >= self.count:
            return 0
        row = self.rows[i]
        allowed = 2 if kind(row[1]) == TWO else 1
        return (loss(row) > allowed) + sum(self.shared[s] > 1 or s[0] == s[1] for s in shared_moduli(row))

    def figure(self, i, enough=0.0):
        return spectral_figure(self.rows[i], enough) if i < self.count else 1.0

    def draw(self, rng, i):
        """an exchange of row i"""
        j = rng.randrange(4)
        return i, j, *rng.choice(self.places[kind(self.rows[i][j])])

    def swap(self, i, j, other, k):
        changed = [self.rows[r] for r in {i, other} if r < self.count]
        for row in changed:
            self.shared.subtract(shared_moduli(row))
        a, b = self.rows[i], self.rows[other]
        a[j], b[k] = b[k], a[j]
        for row in changed:
            self.shared.update(shared_moduli(row))

    def repair(self, rng):
        """sweeps of exchanges that do not break more, until no rule is broken"""
        while bad := [i for i in range(self.count) if self.broken(i)]:
            for i in bad:
                exchange = self.draw(rng, i)
                pair = {i, exchange[2]}
                before = sum(map(self.broken, pair))
                self.swap(*exchange)
                if sum(map(self.broken, pair)) > before:
                    self.swap(*exchange)

    def better(self, rng):
        """exchanges that raise the lower of two figures; returns the figures"""
        figures = [self.figure(i) for i in range(len(self.rows))]
        for _ in range(EXCHANGES):
            i = min(rng.sample(range(self.count), DRAWN), key=figures.__getitem__)
            exchange = self.draw(rng, i)
            other = exchange[2]
            least = min(figures[i], figures[other])
            self.swap(*exchange)
            if not self.broken(i) and not self.broken(other) and (figure := self.figure(i, least)) > least and (
                    figure_of_other := self.figure(other, least)) > least:
                figures[i], figures[other] = figure, figure_of_other
            else:
                self.swap(*exchange)
        return figures[:self.count]


def make():
    rng = random.Random(1982)
    pairs = pairs_by_kind(rng)
    second = second_row(rng, pairs)
    deal = Deal(pairs, MEMBERS - 3, [FIRST, second, LAST])
    deal.repair(rng)
    figures = deal.better(rng)
    others = sorted(zip(figures, (sorted(row, reverse=True) for row in deal.rows)), reverse=True)
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
    for row in [FIRST, second, *(row for _, row in others), LAST]:
        moduli, multipliers = (", ".join(map(str, numbers)) for numbers in zip(*row))
        print(f"    {{{{{moduli}}}, {{{multipliers}}}}}, // {spectral_figure(row):.3f}")
    print("};\n\n} // namespace qor::bex")


def check(path):
    with open(path, encoding="ascii") as header:
        lines = re.findall(r"\{\{(.*)\}, \{(.*)\}\}, // (.*)", header.read())
    rows = [list(zip(*(map(int, numbers.split(",")) for numbers in line[:2]))) for line in lines]
    figures = [spectral_figure(row) for row in rows]
    if len(rows) != MEMBERS or [f"{figure:.3f}" for figure in figures] != [noted for *_, noted in lines]:
        sys.exit("figures differ from those noted")
    if figures[2:-1] != sorted(figures[2:-1], reverse=True):
        sys.exit("rows are not in the order of their figures")


if __name__ == "__main__":
    if sys.argv[1:2] == ["check"]:
        check(sys.argv[2])
    else:
        make()
