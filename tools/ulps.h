// Distances from a true value, in units in the last place of type T.
#pragma once

#include "big.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace reference {

// Of a number of y's size: its last place's exponent, never below that of the subnormal numbers.
template <class T> long ulp_exponent(mpfr_srcptr y) {
    const long least = std::numeric_limits<T>::min_exponent;
    return (mpfr_zero_p(y) ? least : std::max<long>(mpfr_get_exp(y), least)) - std::numeric_limits<T>::digits;
}

template <class T> double in_ulps(mpfr_srcptr distance, mpfr_srcptr unit_of) {
    Big scaled;
    mpfr_mul_2si(scaled, distance, -ulp_exponent<T>(unit_of), MPFR_RNDN);
    return std::fabs(mpfr_get_d(scaled, MPFR_RNDN));
}

// Infinite where r is no number.
template <class T> double error_in_ulps(mpfr_srcptr y, T r, mpfr_srcptr unit_of) {
    if (!std::isfinite(r))
        return std::numeric_limits<double>::infinity();
    Big difference;
    mpfr_sub_d(difference, y, static_cast<double>(r), MPFR_RNDN);
    return in_ulps<T>(difference, unit_of);
}

} // namespace reference
