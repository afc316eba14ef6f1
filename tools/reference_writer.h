// Writes the rows of tests/data/*.txt: function, arguments, exact results as unevaluated sums of two
// doubles (106 bits or more), status. All values in hexadecimal floating point.
//
//   dExp 0x1p+0 ; 0x1.5bf0a8b145769p+1 0x1.4d57ee2b1013ap-53 ; 0
//   zMul re im re im ; re_hi re_lo im_hi im_lo ; 0
//
// Arguments are exact in the precision that the type letter names. A result outside the range of that
// precision is written as inf or 0; a result that is not a number as nan. Status is the code that the
// function reports for these arguments, 0 for none.
#pragma once

#include "big.h"

#include <cstdio>
#include <initializer_list>

namespace reference {

inline void write_result(mpfr_srcptr exact) {
    double hi = mpfr_get_d(exact, MPFR_RNDN);
    Big rest;
    mpfr_sub_d(rest, exact, hi, MPFR_RNDN);
    double lo = mpfr_regular_p(exact) && hi - hi == 0 ? mpfr_get_d(rest, MPFR_RNDN) : 0.0;
    std::printf(" %a %a", hi, lo);
}

// `type` is one of s d c z.
inline void write_row(char type, const char *function, std::initializer_list<double> arguments,
                      std::initializer_list<mpfr_srcptr> results, int status) {
    std::printf("%c%s", type, function);
    for (double x : arguments)
        std::printf(" %a", x);
    std::printf(" ;");
    for (mpfr_srcptr r : results)
        write_result(r);
    std::printf(" ; %d\n", status);
}

} // namespace reference
