// Makes vector_math/kernels/logarithm_tables.h: for each of 256 intervals of the mantissa z a reciprocal 1/c
// of 36 bits, c near the interval's middle, and ln c as a multiple of 2^-43.
//   g++ -O2 tools/logarithm_tables.cpp -lmpfr -lgmp && ./a.out | clang-format > vector_math/kernels/logarithm_tables.h
//
// Reciprocals are tried from the middle outwards until ln c lies so near a multiple of 2^-43 that leaving out
// the rest costs less than 1/64 of the last place of the smallest logarithm in the interval.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mpfr.h>

namespace {

constexpr int entries = 256, reciprocal_bits = 36, grid_bits = 43;
constexpr std::uint64_t one = 0x3FF0000000000000, half_interval = std::uint64_t{1} << 43;
constexpr std::uint64_t below_one = 309; // half intervals from the first one's start to 1

double interval_end(int i) { // i = 0: the start of the first
    const std::uint64_t bits =
        one - below_one * half_interval + 2 * half_interval * static_cast<std::uint64_t>(i);
    double z;
    std::memcpy(&z, &bits, sizeof z);
    return z;
}

// -ln(reciprocal) in units of the grid, to about 2^-100 of a unit
void logarithm_units(double reciprocal, mpfr_t result) {
    mpfr_set_d(result, reciprocal, MPFR_RNDN);
    mpfr_log(result, result, MPFR_RNDN);
    mpfr_neg(result, result, MPFR_RNDN);
    mpfr_mul_2si(result, result, grid_bits, MPFR_RNDN);
}

struct Entry {
    double reciprocal, logarithm;
};

Entry entry(int i) {
    const double from = interval_end(i), to = interval_end(i + 1);
    if (from < 1 && to > 1)
        return {1, 0}; // ln 1 is exact, and so is z - 1
    const double middle = 2 / (from + to);
    const double unit = std::ldexp(1, std::ilogb(middle) + 1 - reciprocal_bits);
    const double first = std::nearbyint(middle / unit) * unit;
    const double smallest = std::fmin(std::fabs(std::log(from)), std::fabs(std::log(to)));
    const double limit = std::ldexp(smallest, grid_bits - 59);
    mpfr_t units;
    mpfr_init2(units, 200);
    logarithm_units(first, units);
    mpfr_frac(units, units, MPFR_RNDN);
    const long double start = mpfr_get_ld(units, MPFR_RNDN);
    Entry found{};
    for (long n = 0; found.reciprocal == 0; n = n > 0 ? -n : 1 - n) {
        const long double step = static_cast<long double>(n) * unit / first;
        const long double at = start - std::ldexp(std::log1p(step), grid_bits);
        if (std::fabs(at - std::nearbyint(at)) > limit)
            continue;
        const double reciprocal = first + static_cast<double>(n) * unit;
        logarithm_units(reciprocal, units);
        found = {reciprocal, std::ldexp(std::nearbyint(mpfr_get_d(units, MPFR_RNDN)), -grid_bits)};
        std::fprintf(stderr, "%3d: %ld tried\n", i, 2 * std::labs(n));
    }
    mpfr_clear(units);
    return found;
}

} // namespace

int main() {
    std::printf("// Made by tools/logarithm_tables.cpp: 1/c and ln c for %d intervals of the mantissa.\n"
                "#pragma once\n\n"
                "namespace qor::fyn {\n\n"
                "struct LogarithmPair {\n"
                "    double reciprocal, logarithm;\n"
                "};\n\n"
                "alignas(64) inline constexpr LogarithmPair logarithm_pairs[%d] = {\n",
                entries, entries);
    for (int i = 0; i < entries; ++i) {
        const Entry e = entry(i);
        std::printf("    {%a, %a},\n", e.reciprocal, e.logarithm);
    }
    std::printf("};\n\n} // namespace qor::fyn\n");
}
