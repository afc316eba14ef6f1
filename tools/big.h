// A number of many bits.
#pragma once

#include <mpfr.h>

namespace reference {

inline mpfr_prec_t precision = 400; // of every Big made from now on

struct Big {
    mpfr_t value;
    Big() { mpfr_init2(value, precision); }
    explicit Big(double x) : Big() { mpfr_set_d(value, x, MPFR_RNDN); }
    Big(const Big &other) : Big() { mpfr_set(value, other.value, MPFR_RNDN); }
    Big &operator=(const Big &other) {
        mpfr_set(value, other.value, MPFR_RNDN);
        return *this;
    }
    ~Big() { mpfr_clear(value); }
    operator mpfr_ptr() { return value; }
    operator mpfr_srcptr() const { return value; }
};

} // namespace reference
