// Makes vector_math/kernels/trigonometric_tables.h: sines, cosines and tangents of the multiples of pi/64,
// pi/64 in parts, and the bits of 1/(2 pi).
//   g++ -O2 tools/trigonometric_tables.cpp -lmpfr -lgmp && ./a.out >
//   vector_math/kernels/trigonometric_tables.h
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <mpfr.h>

namespace {

constexpr int steps = 64, quarter = steps / 2,
              entries = 160;   // steps of a half turn; entries for a turn and a quarter
constexpr int turn_words = 19; // all that the largest double needs

// sin(j pi / 64); the zeros have the sign of their half turn, so that opposite angles have opposite bits.
void sine(mpfr_t value, int j) {
    mpfr_const_pi(value, MPFR_RNDN);
    mpfr_mul_ui(value, value, static_cast<unsigned long>(j), MPFR_RNDN);
    mpfr_div_ui(value, value, steps, MPFR_RNDN);
    mpfr_sin(value, value, MPFR_RNDN);
    if (j % steps == 0)
        mpfr_set_zero(value, j / steps % 2 == 0 ? 1 : -1);
}

// The multiple of 2^-grid nearest to `value`, or the nearest double, taken away from it.
double take_part(mpfr_t value, int grid) {
    mpfr_t part;
    mpfr_init2(part, 300);
    mpfr_set(part, value, MPFR_RNDN);
    if (grid != 0) {
        mpfr_mul_2si(part, part, grid, MPFR_RNDN);
        mpfr_rint(part, part, MPFR_RNDN);
        mpfr_mul_2si(part, part, -grid, MPFR_RNDN);
    }
    const double taken = mpfr_get_d(part, MPFR_RNDN);
    mpfr_sub_d(value, value, taken, MPFR_RNDN);
    mpfr_clear(part);
    return taken;
}

} // namespace

int main() {
    mpfr_t s, c;
    mpfr_inits2(300, s, c, nullptr);
    std::printf(
        "// Made by tools/trigonometric_tables.cpp: sines and tangents of the multiples of pi/64.\n"
        "#pragma once\n\n#include <cstdint>\n\n"
        "namespace qor::fyn {\n\n"
        "// pi/64 in four parts: multiples of 2^-31, 2^-58, 2^-85, and the nearest double to the rest.\n");
    mpfr_const_pi(s, MPFR_RNDN);
    mpfr_div_ui(s, s, steps, MPFR_RNDN);
    const int grids[] = {31, 58, 85, 0};
    for (int i = 0; i < 4; ++i) {
        if (i == 1)
            mpfr_set(c, s, MPFR_RNDN);
        std::printf("inline constexpr double angle_step_%d = %a;\n", i + 1, take_part(s, grids[i]));
    }
    std::printf("inline constexpr double angle_step_rest = %a; // all but the first, rounded to nearest\n",
                mpfr_get_d(c, MPFR_RNDN));
    std::printf("\nalignas(64) inline constexpr double angle_sines[%d] = {\n", entries + quarter);
    for (int j = 0; j < entries + quarter; ++j) {
        sine(s, j);
        std::printf("    %a,\n", mpfr_get_d(s, MPFR_RNDN));
    }
    std::printf("};\n\n// What the sines above are too large by.\n"
                "alignas(64) inline constexpr double angle_excesses[%d] = {\n",
                entries);
    for (int j = 0; j < entries; ++j) {
        sine(s, j);
        mpfr_d_sub(s, mpfr_get_d(s, MPFR_RNDN), s, MPFR_RNDN);
        std::printf("    %a,\n", mpfr_get_d(s, MPFR_RNDN));
    }
    std::printf("};\n\n// What the cosines lack to 1 or -1, whichever has their sign.\n"
                "alignas(64) inline constexpr double angle_lacks[%d] = {\n",
                entries);
    for (int j = 0; j < entries; ++j) {
        sine(c, j + quarter);
        mpfr_d_sub(c, std::copysign(1.0, mpfr_get_d(c, MPFR_RNDN)), c, MPFR_RNDN);
        std::printf("    %a,\n", mpfr_get_d(c, MPFR_RNDN));
    }
    std::printf("};\n\n"
                "struct TangentPair {\n    double leading, rest;\n};\n\n"
                "// Tangents of j pi/64 for j < %d, and of (j - %d) pi/64 from there on.\n"
                "alignas(64) inline constexpr TangentPair angle_tangents[%d] = {\n",
                quarter / 2, quarter, quarter);
    for (int j = 0; j < quarter; ++j) {
        mpfr_const_pi(s, MPFR_RNDN);
        mpfr_mul_si(s, s, j < quarter / 2 ? j : j - quarter, MPFR_RNDN);
        mpfr_div_ui(s, s, steps, MPFR_RNDN);
        mpfr_tan(s, s, MPFR_RNDN);
        if (j == quarter / 2)
            mpfr_set_si(s, -1, MPFR_RNDN);
        const double leading = take_part(s, 0);
        std::printf("    {%a, %a},\n", leading, mpfr_get_d(s, MPFR_RNDN));
    }
    std::printf("};\n\n"
                "// 64 zeros, then the bits of 1/(2 pi) from the one of weight 2^-1 on.\n"
                "inline constexpr std::uint64_t turn_bits[%d] = {\n    0,\n",
                turn_words + 1);
    mpfr_t turns, word;
    mpfr_inits2(64 * (turn_words + 2), turns, word, nullptr);
    mpfr_const_pi(turns, MPFR_RNDN);
    mpfr_ui_div(turns, 1, turns, MPFR_RNDN);
    mpfr_div_ui(turns, turns, 2, MPFR_RNDN);
    for (int i = 0; i < turn_words; ++i) {
        mpfr_mul_2si(turns, turns, 64, MPFR_RNDN);
        mpfr_floor(word, turns);
        mpfr_sub(turns, turns, word, MPFR_RNDN);
        std::printf("    0x%016jx,\n", mpfr_get_uj(word, MPFR_RNDN));
    }
    mpfr_clears(turns, word, nullptr);
    std::printf("};\n\n} // namespace qor::fyn\n");
    mpfr_clears(s, c, nullptr);
}
