// The true values of the complex functions of vector math, by MPC, to reference::precision bits a part.
#pragma once

#include "true_values.h"

#include <mpc.h>

namespace reference {

struct BigComplex {
    mpc_t value;
    BigComplex() { mpc_init2(value, precision); }
    BigComplex(double re, double im) : BigComplex() { mpc_set_d_d(value, re, im, MPC_RNDNN); }
    BigComplex(const BigComplex &) = delete;
    ~BigComplex() { mpc_clear(value); }
    operator mpc_ptr() { return value; }
    operator mpc_srcptr() const { return value; }
};

using ComplexUnary = int (*)(mpc_ptr, mpc_srcptr, mpc_rnd_t);
using ComplexBinary = int (*)(mpc_ptr, mpc_srcptr, mpc_srcptr, mpc_rnd_t);

template <int (*function)(mpfr_ptr, mpc_srcptr, mpfr_rnd_t)> // a real number
int real_part_only(mpc_ptr r, mpc_srcptr z, mpc_rnd_t) {
    mpfr_set_zero(mpc_imagref(r), 1);
    return function(mpc_realref(r), z, MPFR_RNDN);
}

inline int on_unit_circle(mpc_ptr r, mpc_srcptr z, mpc_rnd_t) { // at the angle that is z's real part
    return mpfr_sin_cos(mpc_imagref(r), mpc_realref(r), mpc_realref(z), MPFR_RNDN);
}

inline int mul_by_conj(mpc_ptr r, mpc_srcptr a, mpc_srcptr b, mpc_rnd_t rounding) {
    BigComplex c;
    mpc_conj(c, b, rounding);
    return mpc_mul(r, a, c, rounding);
}

// Of one or of two arguments.
struct ComplexFunction {
    const char *name;
    ComplexUnary value;
    ComplexBinary value_of_two = nullptr;
};

inline constexpr ComplexFunction of_two(const char *name, ComplexBinary value) {
    return {name, nullptr, value};
}

inline constexpr ComplexFunction complex_functions[] = {
    {"Exp", mpc_exp},
    {"Ln", mpc_log},
    {"Log10", mpc_log10},
    {"Sqrt", mpc_sqrt},
    {"Sin", mpc_sin},
    {"Cos", mpc_cos},
    {"Tan", mpc_tan},
    {"Sinh", mpc_sinh},
    {"Cosh", mpc_cosh},
    {"Tanh", mpc_tanh},
    {"Asin", mpc_asin},
    {"Acos", mpc_acos},
    {"Atan", mpc_atan},
    {"Asinh", mpc_asinh},
    {"Acosh", mpc_acosh},
    {"Atanh", mpc_atanh},
    {"Abs", real_part_only<mpc_abs>},
    {"Arg", real_part_only<mpc_arg>},
    {"Conj", mpc_conj},
    {"CIS", on_unit_circle},
    of_two("Add", mpc_add),
    of_two("Sub", mpc_sub),
    of_two("Mul", mpc_mul),
    of_two("MulByConj", mul_by_conj),
    of_two("Div", mpc_div),
    of_two("Pow", mpc_pow),
    of_two("Powx", mpc_pow),
};

inline const ComplexFunction &complex_function(const char *name) {
    return function_named(name, complex_functions);
}

} // namespace reference
