// Makes vector_math/kernels/power_tables.h: for each of the 256 intervals of the mantissa z a reciprocal 1/c
// with 11 binary places, c near the interval's middle, and ln c; then with 24 places, and log2 c.
//   g++ -O2 -std=c++20 tools/power_tables.cpp -lmpfr -lgmp && ./a.out > vector_math/kernels/power_tables.h
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <mpfr.h>

namespace {

constexpr int entries = 256, short_places = 11, long_places = 24, grid_places = 42;
constexpr std::uint64_t one = 0x3FF0000000000000, half_interval = std::uint64_t{1} << 43;
constexpr std::uint64_t below_one = 309; // half intervals from the first one's start to 1

double interval_end(int i) { // i = 0: the start of the first
    return std::bit_cast<double>(one - below_one * half_interval +
                                 2 * half_interval * static_cast<std::uint64_t>(i));
}

double reciprocal(int i, int places) {
    const double from = interval_end(i), to = interval_end(i + 1);
    if (from < 1 && to > 1)
        return 1; // z - 1 is exact, and ln 1 is nothing
    return std::ldexp(std::nearbyint(std::ldexp(2 / (from + to), places)), -places);
}

} // namespace

int main() {
    std::printf(
        "// Made by tools/power_tables.cpp: 1/c and logarithms of c for %d intervals of the mantissa.\n"
        "#pragma once\n\n"
        "namespace qor::fyn {\n\n"
        "struct PowerPair {\n"
        "    double reciprocal, logarithm;\n"
        "};\n",
        entries);
    mpfr_t value;
    mpfr_init2(value, 300);
    const auto set_minus_log = [&](int i, int places, auto log) {
        mpfr_set_d(value, reciprocal(i, places), MPFR_RNDN);
        log(value, value, MPFR_RNDN);
        mpfr_neg(value, value, MPFR_RNDN);
    };
    const auto grid_part = [&] {
        mpfr_t part;
        mpfr_init2(part, 300);
        mpfr_mul_2si(part, value, grid_places, MPFR_RNDN);
        mpfr_rint(part, part, MPFR_RNDN);
        const double head = std::ldexp(mpfr_get_d(part, MPFR_RNDN), -grid_places);
        mpfr_clear(part);
        return head + 0.0; // no -0
    };
    std::printf(
        "\n// ln c as a multiple of 2^-%d.\nalignas(64) inline constexpr PowerPair power_pairs[%d] = {\n",
        grid_places, entries);
    for (int i = 0; i < entries; ++i) {
        set_minus_log(i, short_places, mpfr_log);
        std::printf("    {%a, %a},\n", reciprocal(i, short_places), grid_part());
    }
    std::printf(
        "};\n\n// What that leaves of ln c.\nalignas(64) inline constexpr double power_rests[%d] = {\n",
        entries);
    for (int i = 0; i < entries; ++i) {
        set_minus_log(i, short_places, mpfr_log);
        mpfr_sub_d(value, value, grid_part(), MPFR_RNDN);
        std::printf("    %a,\n", mpfr_get_d(value, MPFR_RNDN) + 0.0);
    }
    std::printf("};\n\n// Reciprocals of more places, and 2^23 log2 c, rounded to nearest.\n"
                "alignas(64) inline constexpr PowerPair power_binary_pairs[%d] = {\n",
                entries);
    for (int i = 0; i < entries; ++i) {
        set_minus_log(i, long_places, mpfr_log2);
        std::printf("    {%a, %a},\n", reciprocal(i, long_places), 0x1p23 * mpfr_get_d(value, MPFR_RNDN) + 0.0);
    }
    std::printf("};\n\n} // namespace qor::fyn\n");
    mpfr_clear(value);
}
