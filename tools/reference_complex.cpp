// Exact values of the complex functions, from MPC (and MPFR under it) with 400 bits.
//
//   g++ -std=c++20 tools/reference_complex.cpp -lmpc -lmpfr -lgmp -o reference_complex
//   ./reference_complex > tests/data/reference_complex.txt
//
// An optional argument multiplies the number of random rows, a second one changes the seed.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "reference_writer.h"
#include "true_values_complex.h"

using reference::Big;
using reference::BigComplex;
using reference::complex_function;

static std::uint64_t state = 20261121;

static std::uint64_t next_random() { // splitmix64, Steele, Lea and Flood 2014
    std::uint64_t z = state += 0x9e3779b97f4a7c15;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
    z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
    return z ^ (z >> 31);
}

static bool single = false;

// Random sign and mantissa, exponent in [low, high].
static double random_scaled(int low, int high) {
    std::uint64_t bits = next_random();
    int e = low + static_cast<int>((bits >> 8) % static_cast<std::uint64_t>(high - low + 1));
    double x = std::ldexp(1 + static_cast<double>(next_random() >> 11) * 0x1p-53, e);
    x = bits & 1 ? -x : x;
    return single ? static_cast<float>(x) : x;
}

static int highest() { return single ? 127 : 1023; }

static double overflow_limit() { return 0x1.ffffffp+127; } // of single precision

// Rounds beyond the largest number of the type.
static bool overflows(mpfr_srcptr x) {
    if (!single)
        return std::isinf(mpfr_get_d(x, MPFR_RNDN));
    return mpfr_cmpabs(x, Big(overflow_limit())) >= 0;
}

static int status_of(mpc_srcptr r, bool finite_arguments, bool pole) {
    if (pole)
        return 2;
    if (mpfr_nan_p(mpc_realref(r)) && mpfr_nan_p(mpc_imagref(r)))
        return 1;
    return finite_arguments && (overflows(mpc_realref(r)) || overflows(mpc_imagref(r))) ? 3 : 0;
}

static Big clipped(mpfr_srcptr x) {
    Big b;
    mpfr_set(b, x, MPFR_RNDN);
    if (mpfr_regular_p(x) && overflows(x))
        mpfr_set_inf(b, mpfr_sgn(x));
    return b;
}

static void write(const char *name, std::initializer_list<double> arguments, mpc_srcptr r, bool pole) {
    bool finite = true;
    for (double x : arguments)
        finite = finite && std::isfinite(x);
    Big re = clipped(mpc_realref(r)), im = clipped(mpc_imagref(r));
    reference::write_row(single ? 'c' : 'z', name, arguments, {re, im}, status_of(r, finite, pole));
}

static bool is(double x, double y, double re, double im) { return std::fabs(x) == re && std::fabs(y) == im; }

struct UnaryFunction {
    const char *name;
    int low, high;           // exponents of ordinary arguments
    double pole_re, pole_im; // up to signs; NaN where there is none
};

static const double none = NAN;
static const UnaryFunction unary[] = {
    {"Exp", -4, 6, none, none},    {"Ln", -10, 10, 0, 0},        {"Log10", -10, 10, 0, 0},
    {"Sqrt", -10, 10, none, none}, {"Sin", -6, 6, none, none},   {"Cos", -6, 6, none, none},
    {"Tan", -6, 5, none, none},    {"Sinh", -6, 6, none, none},  {"Cosh", -6, 6, none, none},
    {"Tanh", -6, 5, none, none},   {"Asin", -8, 8, none, none},  {"Acos", -8, 8, none, none},
    {"Atan", -8, 8, 0, 1},         {"Asinh", -8, 8, none, none}, {"Acosh", -8, 8, none, none},
    {"Atanh", -8, 8, 1, 0},
};

static void unary_row(const UnaryFunction &f, double x, double y) {
    BigComplex z(x, y), r;
    complex_function(f.name).value(r, z, MPC_RNDNN);
    write(f.name, {x, y}, r, is(x, y, f.pole_re, f.pole_im));
}

static void unary_rows(const UnaryFunction &f, int many) {
    const double one_less = single ? 1 - 0x1p-24 : 1 - 0x1p-53, one_more = single ? 1 + 0x1p-23 : 1 + 0x1p-52;
    const double small = std::ldexp(1, -highest() + 20), large = std::ldexp(1, highest() - 3);
    const double edges[][2] = {
        {0., 0.},          {-0., 0.},      {0., -0.},         {-0., -0.},        {1., 0.},      {1., -0.},
        {-1., 0.},         {-1., -0.},     {0., 1.},          {-0., 1.},         {0., -1.},     {2., 0.},
        {2., -0.},         {-2., 0.},      {-2., -0.},        {0., 2.},          {-0., 2.},     {0., -2.},
        {one_less, 0.},    {one_more, 0.}, {one_less, small}, {one_more, small}, {1., small},   {small, 1.},
        {small, one_more}, {small, small}, {0.5, small},      {small, 0.5},      {0.75, 0.625}, {0.6, 0.8},
        {-0.8, 0.6}};
    for (auto &e : edges)
        unary_row(f, single ? static_cast<float>(e[0]) : e[0], single ? static_cast<float>(e[1]) : e[1]);
    // Functions that grow exponentially: the ends of the range come early; the others go all the way.
    bool exponential = std::strchr("ESCT", f.name[0]) && std::strcmp(f.name, "Sqrt");
    if (exponential) {
        double end = single ? 89 : 710;
        const double pairs[][2] = {{end, 1.},
                                   {1., end},
                                   {end, end},
                                   {-end, 1.},
                                   {1., -end},
                                   {end + 1.5, 1.25},
                                   {1.25, end + 1.5},
                                   {end * 1.0625, small},
                                   {small, end * 1.0625},
                                   {-end - 10, 3.},
                                   {3., -end - 10},
                                   {0.125, large},
                                   {large, 0.125}};
        for (auto &e : pairs) {
            bool far = e[0] == large || e[1] == large;
            if (far && !(e[0] == large ? !std::strcmp(f.name, "Sin") || !std::strcmp(f.name, "Cos")
                                       : !std::strcmp(f.name, "Sinh") || !std::strcmp(f.name, "Cosh") ||
                                             !std::strcmp(f.name, "Exp")))
                continue; // the other way round the result is e to the power of 2^1020
            unary_row(f, single ? static_cast<float>(e[0]) : e[0], single ? static_cast<float>(e[1]) : e[1]);
        }
    } else {
        for (double e : {large, -large})
            for (double g : {large, 1.0, small}) {
                unary_row(f, e, g);
                unary_row(f, g, e);
            }
    }
    for (int i = 0; i < 10 * many; ++i)
        unary_row(f, random_scaled(f.low, f.high), random_scaled(f.low, f.high));
    for (int i = 0; i < 5 * many; ++i)
        unary_row(f, random_scaled(-1, 1), random_scaled(-60, 0));
    for (int i = 0; i < 6 * many; ++i)
        unary_row(f, random_scaled(-60, 0), random_scaled(-1, 1));
    for (int i = 0; i < 6 * many; ++i) { // near the unit circle
        double angle = random_scaled(-3, 1), x = std::cos(angle), y = std::sin(angle);
        unary_row(f, single ? static_cast<float>(x) : x, single ? static_cast<float>(y) : y);
    }
    if (!exponential)
        for (int i = 0; i < 6 * many; ++i)
            unary_row(f, random_scaled(-highest() + 1, highest()), random_scaled(-highest() + 1, highest()));
}

// Special values: the result is an entry of the table, not computed.
struct SpecialRow {
    const char *name;
    double x, y, re, im;
    int status;
};

static const double inf = INFINITY;
static void special_rows() {
    const double nan = NAN;
    static const SpecialRow rows[] = {
        {"Exp", inf, 0, inf, 0, 0},       {"Exp", -inf, 2, -0., 0, 0},      {"Exp", 1, inf, nan, nan, 1},
        {"Exp", -inf, inf, 0, 0, 0},      {"Exp", inf, 2, -inf, inf, 0},    {"Exp", inf, inf, inf, nan, 0},
        {"Exp", inf, nan, inf, nan, 0},   {"Exp", nan, 0, nan, 0, 0},       {"Exp", nan, 1, nan, nan, 0},
        {"Exp", 1, nan, nan, nan, 0},     {"Ln", nan, inf, inf, nan, 0},    {"Ln", inf, 3, inf, 0, 0},
        {"Ln", nan, 1, nan, nan, 0},      {"Ln", -inf, nan, inf, nan, 0},   {"Sqrt", -inf, 1, 0, inf, 0},
        {"Sqrt", inf, -1, inf, -0., 0},   {"Sqrt", nan, inf, inf, inf, 0},  {"Sqrt", nan, 1, nan, nan, 0},
        {"Sqrt", inf, nan, inf, nan, 0},  {"Sinh", inf, 0, inf, 0, 0},      {"Sinh", 1, inf, nan, nan, 1},
        {"Sinh", inf, 2, -inf, inf, 0},   {"Sinh", nan, 0, nan, 0, 0},      {"Sinh", -inf, 2, inf, inf, 0},
        {"Sinh", 1, nan, nan, nan, 0},    {"Cosh", inf, 0, inf, 0, 0},      {"Cosh", 1, inf, nan, nan, 1},
        {"Cosh", -inf, 2, -inf, -inf, 0}, {"Cosh", inf, nan, inf, nan, 0},  {"Cosh", nan, 1, nan, nan, 0},
        {"Tanh", inf, 2, 1, -0., 0},      {"Tanh", -inf, 1, -1, 0, 0},      {"Tanh", 1, inf, nan, nan, 1},
        {"Tanh", nan, 0, nan, 0, 0},      {"Tanh", nan, 1, nan, nan, 0},    {"Sin", inf, 1, nan, nan, 1},
        {"Sin", 0, inf, 0, inf, 0},       {"Sin", 0, nan, 0, nan, 0},       {"Cos", inf, 1, nan, nan, 1},
        {"Cos", 0, inf, inf, -0., 0},     {"Cos", nan, 1, nan, nan, 0},     {"Tan", 2, inf, -0., 1, 0},
        {"Tan", inf, 1, nan, nan, 1},     {"Asin", 0, nan, 0, nan, 0},      {"Asin", 1, nan, nan, nan, 0},
        {"Acos", inf, 1, 0, -inf, 0},     {"Acos", nan, inf, nan, -inf, 0}, {"Acosh", nan, inf, inf, nan, 0},
        {"Acosh", inf, 1, inf, 0, 0},     {"Acosh", inf, nan, inf, nan, 0}, {"Asinh", inf, 1, inf, 0, 0},
        {"Asinh", nan, 0, nan, 0, 0},     {"Asinh", nan, 1, nan, nan, 0},   {"Atanh", 0, nan, 0, nan, 0},
        {"Atanh", inf, nan, 0, nan, 0},   {"Atanh", 1, nan, nan, nan, 0},   {"Atan", nan, 0, nan, 0, 0},
        {"Atan", nan, inf, nan, 0, 0},
    };
    for (auto &row : rows) {
        Big re(row.re), im(row.im);
        reference::write_row(single ? 'c' : 'z', row.name, {row.x, row.y}, {re, im}, row.status);
    }
}

static void binary_row(const char *name, double a, double b, double c, double d) {
    BigComplex x(a, b), y(c, d), r;
    complex_function(name).value_of_two(r, x, y, MPC_RNDNN);
    write(name, {a, b, c, d}, r, false);
}

static void binary_rows(int many) {
    struct {
        const char *name;
        bool sum, power;
    } const functions[] = {{"Add", true, false},        {"Sub", true, false},  {"Mul", false, false},
                           {"MulByConj", false, false}, {"Div", false, false}, {"Pow", false, true},
                           {"Powx", false, true}};
    for (auto &f : functions) {
        int top = highest();
        for (int i = 0; i < 14 * many; ++i)
            binary_row(f.name, random_scaled(-4, 4), random_scaled(-4, 4), random_scaled(-4, f.power ? 2 : 4),
                       random_scaled(-4, f.power ? 2 : 4));
        if (f.power) {
            for (int i = 0; i < 6 * many; ++i) // whole powers
                binary_row(f.name, random_scaled(-1, 1), random_scaled(-3, 1),
                           std::floor(random_scaled(0, 5)), 0);
            for (int i = 0; i < 6 * many; ++i) // positive base, real exponent
                binary_row(f.name, std::fabs(random_scaled(-8, 8)), 0, random_scaled(-4, 3), 0);
            for (int i = 0; i < 6 * many; ++i)
                binary_row(f.name, random_scaled(-90, 90), random_scaled(-90, 90), random_scaled(-6, 4), 0);
            binary_row(f.name, 1, 1, 2, 0);
            binary_row(f.name, 1, 1, -3, 0);
            binary_row(f.name, 3, -4, 5, 0);
            binary_row(f.name, single ? 0x1p+100 : 0x1p+1000, 1, 3, 0.5);
            continue;
        }
        // Cancellation in one component: b = conj(a) (1 + a few ulp), or a itself.
        for (int i = 0; i < 6 * many; ++i) {
            double a = random_scaled(-1, 1), b = random_scaled(-1, 1),
                   nudge = 1 + (i % 4) * (single ? 0x1p-22 : 0x1p-51);
            double c = a * nudge;
            binary_row(f.name, a, b, b, single ? static_cast<float>(c) : c);
            binary_row(f.name, a, b, single ? static_cast<float>(c) : c, i & 1 ? b : -b);
        }
        int wide = f.sum ? top : top / 2;
        for (int i = 0; i < 5 * many; ++i)
            binary_row(f.name, random_scaled(-wide, wide), random_scaled(-wide, wide),
                       random_scaled(-wide, wide), random_scaled(-wide, wide));
        // Both ends of the range at once.
        for (int i = 0; i < 6 * many; ++i) {
            bool quotient = !std::strcmp(f.name, "Div");
            int e = i & 1 ? top - 1 : 4 - top, g = quotient ? e : -e;
            binary_row(f.name, random_scaled(e, e + 1), random_scaled(e - 2, e), random_scaled(g - 2, g),
                       random_scaled(g - 2, g + 1));
        }
    }
    double big = std::ldexp(1, highest());
    binary_row("Mul", big, big, big, 1);
    binary_row("MulByConj", big, big, big, 1);
    binary_row("Div", big, big, 0.25, 0.25);
    struct {
        const char *name;
        double a, b, c, d, re, im;
        int status;
    } const specials[] = {{"Mul", inf, NAN, 1, 1, inf, inf, 0}, {"Mul", inf, inf, 1, 0, inf, inf, 0},
                          {"Mul", NAN, 1, 1, 1, NAN, NAN, 0},   {"Mul", inf, 0, 0, 0, NAN, NAN, 1},
                          {"Div", 0, 0, 0, 0, NAN, NAN, 1},     {"Div", 1, 1, 0, 0, inf, inf, 2},
                          {"Div", -1, 1, -0., 0, inf, -inf, 2}, {"Div", inf, 1, 1, 1, inf, -inf, 0},
                          {"Div", 1, 1, inf, 1, 0, 0, 0},       {"Div", NAN, 1, 1, 1, NAN, NAN, 0},
                          {"Pow", NAN, 1, 0, 0, 1, 0, 0},       {"Pow", 0, 0, 2, 1, 0, 0, 0},
                          {"Pow", 0, 0, -1, 0, inf, 0, 2},      {"Pow", 0, 0, 0, 1, NAN, NAN, 1},
                          {"Powx", 0, 0, -2, 0, inf, 0, 2},     {"Powx", 5, NAN, 0, 0, 1, 0, 0},
                          {"Pow", NAN, 1, 2, 1, NAN, NAN, 0},   {"Powx", 3, 1, NAN, 1, NAN, NAN, 0}};
    for (auto &row : specials) {
        Big re(row.re), im(row.im);
        reference::write_row(single ? 'c' : 'z', row.name, {row.a, row.b, row.c, row.d}, {re, im},
                             row.status);
    }
}

static void other_rows(int many) {
    char type = single ? 'c' : 'z';
    auto plane = [type](double x, double y) {
        BigComplex z(x, y), abs, arg, conj;
        complex_function("Abs").value(abs, z, MPC_RNDNN);
        complex_function("Arg").value(arg, z, MPC_RNDNN);
        complex_function("Conj").value(conj, z, MPC_RNDNN);
        Big clip = clipped(mpc_realref(abs.value));
        bool finite = std::isfinite(x) && std::isfinite(y);
        reference::write_row(type, "Abs", {x, y}, {clip}, finite && mpfr_inf_p(clip) ? 3 : 0);
        reference::write_row(type, "Arg", {x, y}, {mpc_realref(arg.value)}, 0);
        reference::write_row(type, "Conj", {x, y}, {mpc_realref(conj.value), mpc_imagref(conj.value)}, 0);
    };
    int top = highest();
    const double values[] = {0., -0., 1, -1, inf, -inf, std::ldexp(1.5, top), std::ldexp(1, 1 - top)};
    for (double x : values)
        for (double y : {0., -0., -1., inf, std::ldexp(1.5, top), std::ldexp(1, 1 - top)})
            plane(x, y);
    for (int i = 0; i < 10 * many; ++i) {
        plane(random_scaled(-5, 5), random_scaled(-5, 5));
        plane(random_scaled(1 - top, top), random_scaled(1 - top, top));
        plane(random_scaled(-40, 0), random_scaled(0, 3));
    }
    for (double y : {inf, static_cast<double>(NAN)}) {
        Big n(NAN);
        reference::write_row(type, "CIS", {y}, {n, n}, std::isinf(y) ? 1 : 0);
    }
    auto circle = [type](double y) {
        BigComplex r;
        complex_function("CIS").value(r, BigComplex(y, 0), MPC_RNDNN);
        reference::write_row(type, "CIS", {y}, {mpc_realref(r.value), mpc_imagref(r.value)}, 0);
    };
    for (double y : {0., -0., 0x1.921fb6p+0, 0x1.921fb6p+1, -0x1.921fb6p+19, std::ldexp(1.5, top),
                     std::ldexp(1, 3 - top)})
        circle(y);
    if (!single) // nearest of all doubles to a multiple of pi/2 (Muller, Elementary Functions, 2006)
        circle(0x1.6ac5b262ca1ffp+849);
    for (int i = 0; i < 20 * many; ++i)
        circle(random_scaled(-20, 20));
    for (int i = 0; i < 10 * many; ++i)
        circle(random_scaled(20, top));
}

int main(int count, char **arguments) {
    int many = count > 1 ? std::atoi(arguments[1]) : 1;
    if (count > 2)
        state = std::strtoull(arguments[2], nullptr, 10);
    std::puts("# Exact values of complex functions. Made by tools/reference_complex.cpp (MPC, 400 bits):\n"
              "#   ./reference_complex > tests/data/reference_complex.txt");
    for (bool type : {true, false}) {
        single = type;
        for (auto &f : unary)
            unary_rows(f, many);
        special_rows();
        binary_rows(many);
        other_rows(many);
    }
}
