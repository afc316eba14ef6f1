// Makes vector_math/kernels/exponential_tables.h: 2^(j/64) for j = 0 .. 63 as pairs of doubles, and
// 2^(j/1024) for j = 0 .. 1023 times a polynomial's leading coefficient.
//   g++ -O2 tools/exponential_tables.cpp -lmpfr -lgmp && ./a.out > vector_math/kernels/exponential_tables.h
#include <cstdio>
#include <initializer_list>
#include <mpfr.h>

int main() {
    std::printf(
        "// Made by tools/exponential_tables.cpp: 2^(j/64) = hi + lo, j = 0 .. 63, hi rounded to nearest.\n"
        "#pragma once\n\n"
        "namespace qor::fyn {\n\n"
        "struct ExponentialPair {\n"
        "    double hi, lo;\n"
        "};\n");
    mpfr_t power, hi, rest;
    mpfr_inits2(300, power, hi, rest, nullptr);
    for (bool relative : {false, true}) {
        std::printf("\n// lo is the %s.\n",
                    relative ? "remainder divided by hi: the sum is hi + hi * lo" : "remainder");
        std::printf("alignas(64) inline constexpr ExponentialPair exponential_%s[64] = {\n",
                    relative ? "relative" : "absolute");
        for (int j = 0; j < 64; ++j) {
            mpfr_set_si_2exp(power, j, -6, MPFR_RNDN);
            mpfr_exp2(power, power, MPFR_RNDN);
            mpfr_set_d(hi, mpfr_get_d(power, MPFR_RNDN), MPFR_RNDN);
            mpfr_sub(rest, power, hi, MPFR_RNDN);
            if (relative)
                mpfr_div(rest, rest, hi, MPFR_RNDN);
            std::printf("    {%a, %a},\n", mpfr_get_d(hi, MPFR_RNDN), mpfr_get_d(rest, MPFR_RNDN));
        }
        std::printf("};\n");
    }
    std::printf("\n// 2^(j/1024) times the leading coefficient of the polynomial of exponential_single.h.\n"
                "alignas(64) inline constexpr double exponential_single[1024] = {\n");
    for (int j = 0; j < 1024; ++j) {
        mpfr_set_si_2exp(power, j, -10, MPFR_RNDN);
        mpfr_exp2(power, power, MPFR_RNDN);
        mpfr_mul_d(power, power, 0x1.ec172413fbe71p-23, MPFR_RNDN);
        std::printf("%s%a,%s", j % 4 == 0 ? "    " : "", mpfr_get_d(power, MPFR_RNDN),
                    j % 4 == 3 ? "\n" : " ");
    }
    std::printf("};\n\n} // namespace qor::fyn\n");
    mpfr_clears(power, hi, rest, nullptr);
}
