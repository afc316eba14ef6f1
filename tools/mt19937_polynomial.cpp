// Makes statistics/streams/mt19937_polynomial.h: the characteristic polynomial of MT19937's step.
//   g++ -O2 -std=c++20 tools/mt19937_polynomial.cpp && ./a.out > statistics/streams/mt19937_polynomial.h
//
// One output bit of the generator, 2 * 19937 times, determines by Berlekamp and Massey's algorithm the
// shortest linear recurrence it obeys. Its polynomial divides the characteristic polynomial of the step,
// whose degree is 19937 as well: they are one. It is then shown to be irreducible: x^(2^19937) = x modulo P,
// and the only proper divisor of the prime 19937 is 1. The period 2^19937 - 1, a prime, follows.
#include <bitset>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

namespace {

constexpr int degree = 19937, length = 2 * degree;

void require(bool holds, const char *what) {
    std::fprintf(stderr, "%s: %s\n", what, holds ? "yes" : "NO");
    if (!holds)
        std::exit(1);
}

// Exponents of the polynomial, descending. `bit` yields the sequence.
template <class Bit> std::vector<int> shortest_recurrence(Bit bit) {
    // s[n] + c[1] s[n - 1] + ... + c[l] s[n - l] = 0; `before` is c before l last grew, moved up by the
    // steps since.
    std::bitset<length> c(1), before(1), latest;
    int l = 0;
    for (int n = 0; n < length; ++n) {
        latest <<= 1;
        latest[0] = bit();
        before <<= 1;
        if ((c & latest).count() % 2 == 0)
            continue;
        const auto old = c;
        c ^= before;
        if (2 * l <= n) {
            before = old;
            l = n + 1 - l;
        }
    }
    std::vector<int> exponents;
    for (int i = 0; i <= l; ++i)
        if (c[static_cast<std::size_t>(i)])
            exponents.push_back(l - i);
    return exponents;
}

using Words = std::vector<std::uint64_t>;

std::uint64_t bit_of(const Words &r, int i) { return r[static_cast<std::size_t>(i / 64)] >> i % 64 & 1; }

void add(Words &r, std::uint64_t bits, int at) {
    const auto i = static_cast<std::size_t>(at / 64);
    r[i] ^= bits << at % 64;
    if (at % 64 != 0)
        r[i + 1] ^= bits >> (64 - at % 64);
}

// r^2 mod P, 64 coefficients at a time from the top: the second exponent lies more than 64 below the first.
Words square(const Words &r, const std::vector<int> &exponents) {
    Words result(r.size());
    for (int i = 0; i < degree; ++i)
        result[static_cast<std::size_t>(i / 32)] |= bit_of(r, i) << 2 * i % 64;
    for (int k = degree / 64; k >= 0; --k) {
        const int at = degree + 64 * k;
        const auto i = static_cast<std::size_t>(at / 64);
        const std::uint64_t top = result[i] >> at % 64 | result[i + 1] << (64 - at % 64);
        for (const int e : exponents)
            add(result, top, e + 64 * k);
    }
    return result;
}

bool irreducible(const std::vector<int> &exponents) {
    Words x(static_cast<std::size_t>(length / 64 + 3));
    x[0] = 2;
    Words power = x;
    for (int i = 0; i < degree; ++i)
        power = square(power, exponents);
    return power == x;
}

} // namespace

int main() {
    std::mt19937 generator(20240229);
    const auto exponents = shortest_recurrence([&] { return (generator() & 1) != 0; });
    require(exponents.front() == degree, "degree 19937");
    require(degree - exponents[1] > 64 && degree % 64 != 0, "can be reduced by words");
    require(irreducible(exponents), "irreducible");
    std::printf("// Made by tools/mt19937_polynomial.cpp.\n"
                "#pragma once\n"
                "\n"
                "#include <cstdint>\n"
                "\n"
                "namespace qor::bex {\n"
                "\n"
                "// The characteristic polynomial of MT19937's step: the exponents of its %zu terms.\n"
                "inline constexpr std::uint16_t mt19937_exponents[] = {",
                exponents.size());
    for (std::size_t i = 0; i < exponents.size(); ++i) {
        const bool starts_line = i % 15 == 0;
        const int padding = starts_line ? 4 : exponents[i - 1] < 10000 ? 2 : 1;
        std::printf("%s%*s%d,", starts_line ? "\n" : "", padding, "", exponents[i]);
    }
    std::printf("\n};\n"
                "\n"
                "} // namespace qor::bex\n");
}
