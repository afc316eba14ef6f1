// Makes vector_math/kernels/logarithm_tables.h. For double precision: for each of 256 intervals of the
// mantissa z a reciprocal 1/c of 36 bits, c near the interval's middle, and ln c as a multiple of 2^-43. For
// single precision: 1024 intervals, scale/c and ln c rounded to double.
//   g++ -O2 tools/logarithm_tables.cpp -lmpfr -lgmp && ./a.out | clang-format >
//   vector_math/kernels/logarithm_tables.h
// With an argument, vector_math/kernels/logarithm_bases_tables.h: scale/c and log c of the logarithms to base
// 2 and 10, in double precision; the scale is 1/ln(base) in 17 bits.
//   ./a.out bases | clang-format > vector_math/kernels/logarithm_bases_tables.h
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

constexpr int entries = 256, reciprocal_bits = 36;
constexpr std::uint64_t one = 0x3FF0000000000000, half_interval = std::uint64_t{1} << 43;
constexpr std::uint64_t below_one = 309; // half intervals from the first one's start to 1

// A logarithm to a base, in units of 2^-grid_bits; the largest exponents' multiples of log 2 stay exact.
struct Base {
    unsigned long base; // 0: natural
    double scale;
    int grid_bits;

    double log(double x) const { return base == 0 ? std::log(x) : std::log(x) / std::log(base); }
};
constexpr Base natural = {0, 1, 43}, binary = {2, 0x1.7154p+0, 43}, decimal = {10, 0x1.bcb8p-2, 44};

// Single precision: the cube root of the polynomial's last coefficient, in 28 bits, so that scale z is exact.
constexpr int single_entries = 1024;
constexpr double single_scale = 0x1.6300408000000p-1;
constexpr std::uint64_t single_below_one = 1237; // half intervals

double interval_end(int i, int count = entries, std::uint64_t below = below_one) { // i = 0: the first's start
    const std::uint64_t half = half_interval / static_cast<std::uint64_t>(count / entries);
    const std::uint64_t bits = one - below * half + 2 * half * static_cast<std::uint64_t>(i);
    double z;
    std::memcpy(&z, &bits, sizeof z);
    return z;
}

// log(scale / reciprocal) in units of the grid, to about 2^-100 of a unit
void logarithm_units(const Base &of, double reciprocal, mpfr_t result) {
    mpfr_set_d(result, of.scale, MPFR_RNDN);
    mpfr_div_d(result, result, reciprocal, MPFR_RNDN);
    mpfr_log(result, result, MPFR_RNDN);
    if (of.base != 0) {
        mpfr_t log_of_base;
        mpfr_init2(log_of_base, 200);
        mpfr_log_ui(log_of_base, of.base, MPFR_RNDN);
        mpfr_div(result, result, log_of_base, MPFR_RNDN);
        mpfr_clear(log_of_base);
    }
    mpfr_mul_2si(result, result, of.grid_bits, MPFR_RNDN);
}

struct Entry {
    double reciprocal, logarithm;
};

template <const Base &of> Entry entry(int i) {
    const double from = interval_end(i), to = interval_end(i + 1);
    if (from < 1 && to > 1)
        return {of.scale, 0}; // log 1 is exact, and so are the parts of scale (z - 1)
    const double middle = 2 / (from + to) * of.scale;
    const double unit = std::ldexp(1, std::ilogb(middle) + 1 - reciprocal_bits);
    const double first = std::nearbyint(middle / unit) * unit;
    const double smallest = std::fmin(std::fabs(of.log(from)), std::fabs(of.log(to)));
    const double limit = std::ldexp(smallest, of.grid_bits - 59);
    mpfr_t units;
    mpfr_init2(units, 200);
    logarithm_units(of, first, units);
    mpfr_frac(units, units, MPFR_RNDN);
    const long double start = mpfr_get_ld(units, MPFR_RNDN);
    const long double per_natural = of.base == 0 ? 1 : 1 / std::log(static_cast<long double>(of.base));
    Entry found{};
    for (long n = 0; found.reciprocal == 0; n = n > 0 ? -n : 1 - n) {
        const long double step = static_cast<long double>(n) * unit / first;
        const long double at = start - std::ldexp(std::log1p(step) * per_natural, of.grid_bits);
        if (std::fabs(at - std::nearbyint(at)) > limit)
            continue;
        const double reciprocal = first + static_cast<double>(n) * unit;
        logarithm_units(of, reciprocal, units);
        found = {reciprocal, std::ldexp(std::nearbyint(mpfr_get_d(units, MPFR_RNDN)), -of.grid_bits)};
        std::fprintf(stderr, "%3d: %ld tried\n", i, 2 * std::labs(n));
    }
    mpfr_clear(units);
    return found;
}

Entry single_entry(int i) {
    const double from = interval_end(i, single_entries, single_below_one);
    const double to = interval_end(i + 1, single_entries, single_below_one);
    if (from < 1 && to > 1)
        return {single_scale, 0};
    const double reciprocal = 2 / (from + to) * single_scale;
    mpfr_t logarithm;
    mpfr_init2(logarithm, 200);
    mpfr_set_d(logarithm, single_scale, MPFR_RNDN);
    mpfr_div_d(logarithm, logarithm, reciprocal, MPFR_RNDN);
    mpfr_log(logarithm, logarithm, MPFR_RNDN);
    const Entry found = {reciprocal, mpfr_get_d(logarithm, MPFR_RNDN)};
    mpfr_clear(logarithm);
    return found;
}

void print_table(const char *name, int count, Entry (*make)(int)) {
    std::printf("alignas(64) inline constexpr LogarithmPair %s[%d] = {\n", name, count);
    for (int i = 0; i < count; ++i) {
        const Entry e = make(i);
        std::printf("    {%a, %a},\n", e.reciprocal, e.logarithm);
    }
    std::printf("};\n");
}

void print_natural() {
    std::printf("// Made by tools/logarithm_tables.cpp: 1/c and ln c for intervals of the mantissa.\n"
                "#pragma once\n\n"
                "namespace qor::fyn {\n\n"
                "struct LogarithmPair {\n"
                "    double reciprocal, logarithm;\n"
                "};\n\n");
    print_table("logarithm_pairs", entries, entry<natural>);
    std::printf("\n// Single precision: the reciprocals times `logarithm_scale`, a number of 28 bits.\n"
                "inline constexpr double logarithm_scale = %a;\n",
                single_scale);
    print_table("logarithm_single", single_entries, single_entry);
}

void print_bases() {
    std::printf("// Made by tools/logarithm_tables.cpp: scale/c and log c for intervals of the mantissa.\n"
                "#pragma once\n\n"
                "#include \"vector_math/kernels/logarithm_tables.h\"\n\n"
                "namespace qor::fyn {\n\n"
                "inline constexpr double logarithm_scale_2 = %a, logarithm_scale_10 = %a;\n\n",
                binary.scale, decimal.scale);
    print_table("logarithm_pairs_2", entries, entry<binary>);
    print_table("logarithm_pairs_10", entries, entry<decimal>);
}

} // namespace

int main(int argc, char **) {
    if (argc > 1)
        print_bases();
    else
        print_natural();
    std::printf("\n} // namespace qor::fyn\n");
}
