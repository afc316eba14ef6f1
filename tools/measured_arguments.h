// The arguments that measure_functions tries: for every function, the ranges and places of interest.
#pragma once

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <random>
#include <vector>

namespace measuring {

struct Random {
    std::mt19937_64 bits;
    double unit() { return static_cast<double>(bits() >> 11) * 0x1p-53; }
    double sign() { return bits() & 1 ? -1 : 1; }
};

// One real number. Those of a range wider than the type's are of the type's.
struct Stratum {
    enum { uniform, exponents, around_multiples } kind;
    double low, high; // of multiples: the step, and how many steps away from zero
    bool either_sign = false;

    template <class T> T draw(Random &random) const {
        using Limits = std::numeric_limits<T>;
        constexpr double least = static_cast<double>(Limits::denorm_min()),
                         most = static_cast<double>(Limits::max());
        double x;
        if (kind == uniform) {
            x = low + (high - low) * random.unit();
        } else if (kind == exponents) {
            const double first = std::log2(std::fmax(low, least)), last = std::log2(std::fmin(high, most));
            x = std::fmin(std::exp2(first + (last - first) * random.unit()), most);
        } else {
            x = low * std::ceil(high * random.unit());
            x *= 1 + random.sign() * std::exp2(-1 - (Limits::digits + 1) * random.unit());
        }
        return static_cast<T>(either_sign ? random.sign() * x : x);
    }
};

constexpr double all = std::numeric_limits<double>::infinity(), pi = 0x1.921fb54442d18p+1;

constexpr Stratum between(double low, double high) { return {Stratum::uniform, low, high}; }
constexpr Stratum binades(double low, double high) { return {Stratum::exponents, low, high, true}; }
constexpr Stratum positive_binades(double low, double high) { return {Stratum::exponents, low, high}; }
// At distances from half of the place itself down to less than a last place.
constexpr Stratum near(double place) { return {Stratum::around_multiples, place, 1}; }
constexpr Stratum multiples(double step, double count) {
    return {Stratum::around_multiples, step, count, true};
}

// An argument, or a pair: real numbers of which each has its stratum; `join` then makes them depend on each
// other.
struct Plan {
    using Join = void (*)(double *parts, bool single);
    std::vector<Stratum> parts;
    Join join = nullptr;
    Plan(Stratum one) : parts{one} {}
    Plan(std::initializer_list<Stratum> several, Join joined = nullptr) : parts(several), join(joined) {}
};

// The exponent goes from -1 to 1; makes it cover every result from the smallest to the largest.
inline void every_power(double *xy, bool single) {
    const double end = xy[1] < 0 ? (single ? 104 : 745) : (single ? 88.7 : 709.7);
    const double logarithm = std::log(std::fabs(xy[0]));
    const double limit = single ? 0x1p+100 : 0x1p+1000;
    xy[1] = logarithm == 0 ? xy[1] : std::fmin(std::fmax(xy[1] * end / logarithm, -limit), limit);
}

inline void whole_exponent(double *xy, bool single) {
    every_power(xy, single);
    xy[1] = std::nearbyint(xy[1]);
}

// From an angle and a distance.
inline void from_polar(double *z, bool) {
    const double angle = z[0], distance = z[1];
    z[0] = distance * std::cos(angle);
    z[1] = distance * std::sin(angle);
}

// Of two complex numbers the second's parts are factors of the first's: in one part of the product with the
// number, or with its conjugate, the terms nearly cancel.
inline void factors_of_conjugate(double *zw, bool) {
    const double re = zw[1] * zw[2], im = zw[0] * zw[3];
    zw[2] = re;
    zw[3] = im;
}
inline void factors(double *zw, bool) {
    zw[2] *= zw[0];
    zw[3] *= zw[1];
}

struct Scalar {
    double re, im = 0;
};

struct Arguments {
    bool complex;
    std::vector<const char *> functions;
    std::vector<Plan> plans;
    std::vector<Scalar> scalars = {}; // for functions of a vector and a scalar
};

inline const std::vector<Arguments> &all_arguments() {
    const Stratum tiny_to_one = binades(0, 1), any = binades(0, all), positive = positive_binades(0, all);
    const Stratum fair = binades(0x1p-4, 0x1p+4), fine = binades(0x1p-60, 1),
                  wide = binades(0x1p-60, 0x1p+60);
    const std::vector<Plan> powers = {{{positive_binades(0x1p-20, 0x1p+20), between(-3, 3)}},
                                      {{positive, between(-1, 1)}, every_power},
                                      {{between(0.5, 2), between(-1, 1)}, every_power},
                                      {{between(0.99, 1.01), between(-1, 1)}, every_power},
                                      {{near(1), between(-1, 1)}, every_power}};
    std::vector<Plan> powers_of_any_sign = powers;
    powers_of_any_sign.push_back({{binades(0x1p-40, 0x1p+40), between(-1, 1)}, whole_exponent});
    const std::vector<Plan> inverse_trigonometric = {{{binades(0x1p-8, 0x1p+8), binades(0x1p-8, 0x1p+8)}},
                                                     {{binades(0.5, 2), fine}},
                                                     {{fine, binades(0.5, 2)}},
                                                     {{between(-pi, pi), near(1)}, from_polar},
                                                     {{near(1), fine}},
                                                     {{near(-1), fine}},
                                                     {{fine, near(1)}},
                                                     {{wide, wide}}};
    // the part in which a function grows, then the one in which it turns
    const Stratum growth[] = {between(-104, 89), between(-746, 710), tiny_to_one, binades(0x1p-6, 0x1p+6)};
    const Stratum turn[] = {between(-10, 10), between(-1e5, 1e5), tiny_to_one, multiples(pi / 4, 1000)};
    std::vector<Plan> growing, turning;
    for (std::size_t i = 0; i < 4; ++i) {
        growing.push_back({{growth[i], turn[i]}});
        turning.push_back({{turn[i], growth[i]}});
    }
    const std::vector<Plan> products = {{{fair, fair, fair, fair}},
                                        {{wide, wide, wide, wide}},
                                        {{binades(0.5, 2), binades(0.5, 2), near(1), near(1)}, factors},
                                        {{binades(0.5, 2), binades(0.5, 2), near(1), near(-1)}, factors},
                                        {{fair, fair, near(1), near(1)}, factors_of_conjugate}};
    static const std::vector<Arguments> list = {
        {false,
         {"Exp"},
         {between(-1, 1), between(-104, 89), between(-746, 710), tiny_to_one, near(88.7228), near(-87.3365),
          near(709.7827), near(-708.3964)}},
        {false, {"Exp2"}, {between(-1, 1), between(-150, 128), between(-1075, 1024), tiny_to_one}},
        {false, {"Exp10"}, {between(-1, 1), between(-46, 39), between(-324, 308.3), tiny_to_one}},
        {false,
         {"Expm1"},
         {between(-1, 1), between(-40, 89), between(-40, 710), tiny_to_one, near(88.7228), near(709.7827)}},
        {false, {"Ln", "Log2", "Log10"}, {between(0.5, 2), near(1), positive}},
        {false, {"Log1p"}, {between(-1, 1), near(-1), tiny_to_one, positive}},
        {false,
         {"Sinh", "Cosh"},
         {between(-1, 1), between(-90, 90), between(-711, 711), tiny_to_one, near(89.41598), near(710.4758)}},
        {false, {"Tanh"}, {between(-1, 1), between(-22, 22), tiny_to_one}},
        {false, {"Cbrt", "InvCbrt", "Pow2o3"}, {between(-8, 8), any}},
        {false, {"InvSqrt", "Pow3o2"}, {between(0, 8), positive}},
        {false,
         {"Sin", "Cos", "Tan", "SinCos"},
         {between(-4, 4), between(-1e3, 1e3), between(-1e7, 1e7), multiples(pi / 4, 20),
          multiples(pi / 4, 0x1p+22), any}},
        {false,
         {"Sinpi", "Cospi", "Tanpi", "SinCospi"},
         {between(-2, 2), between(-1e3, 1e3), multiples(0.25, 20), multiples(0.25, 0x1p+22), any}},
        {false,
         {"Sind", "Cosd", "Tand"},
         {between(-360, 360), between(-1e6, 1e6), multiples(15, 48), multiples(15, 0x1p+20), any}},
        {false,
         {"Asin", "Acos", "Atanh", "Asinpi", "Acospi"},
         {between(-1, 1), near(1), near(-1), near(0.5), tiny_to_one}},
        {false, {"Atan", "Atanpi", "Asinh"}, {between(-1, 1), between(-20, 20), any}},
        {false, {"Acosh"}, {between(1, 10), near(1), positive_binades(1, all)}},
        {false, {"Erf"}, {between(-1, 1), between(-6, 6), tiny_to_one}},
        {false, {"Erfc"}, {between(-1, 1), between(-6, 10), between(5, 27.3), tiny_to_one}},
        {false,
         {"Erfcx"},
         {between(-1, 1), between(-26.7, 0), between(0, 30), tiny_to_one, positive_binades(1, all)}},
        {false, {"ErfInv"}, {between(-1, 1), near(1), near(-1), tiny_to_one}},
        {false, {"ErfcInv"}, {between(0, 2), near(1), near(2), positive_binades(0, 1)}},
        {false, {"CdfNorm"}, {between(-1, 1), between(-14, 9), between(-38.5, 0), tiny_to_one}},
        {false, {"CdfNormInv"}, {between(0, 1), near(0.5), near(1), positive_binades(0, 1)}},
        {false,
         {"LGamma"},
         {between(0, 3), between(0, 15), between(-20, 0), between(10, 200), near(1), near(2),
          multiples(1, 20), tiny_to_one, positive_binades(1, all)}},
        {false,
         {"TGamma"},
         {between(0, 3), between(0, 36), between(30, 171.7), between(-10, 0), between(-185, -10),
          multiples(1, 20), tiny_to_one}},
        {false,
         {"ExpInt1"},
         {between(0, 1), between(0.4, 5), between(4, 100), between(50, 740), positive_binades(0, 1)}},
        {false, {"J0", "J1"}, {between(-9, 9), between(0, 70), between(60, 1000), any}},
        {false, {"Y0", "Y1"}, {between(0, 9), between(0, 70), between(60, 1000), positive}},
        {false,
         {"Jn", "Yn"},
         {between(-10, 10), between(0, 70), between(50, 300), binades(0x1p-30, 0x1p+8)},
         {{0}, {1}, {2}, {3}, {7}, {20}, {57}, {200}, {-1}, {-4}, {-9}}},
        {false,
         {"I0", "I1"},
         {between(-5, 5), between(0, 35), between(0, 92), between(30, 714), tiny_to_one}},
        {false,
         {"Hypot", "Atan2", "Atan2pi"},
         {{{fair, fair}}, {{wide, wide}}, {{any, any}}, {{fine, between(-2, 2)}}}},
        {false, {"Pow"}, powers_of_any_sign},
        {false, {"Powr"}, powers},
        {false,
         {"Powx"},
         {between(0, 100), near(1), positive, positive_binades(0x1p-20, 0x1p+20), between(-8, 8)},
         {{-30.25}, {-3.7}, {-2},  {-1.5}, {-1}, {-0.5}, {-1.0 / 3}, {0.1},   {1.0 / 3}, {0.5},
          {1.7},    {2},    {2.5}, {3},    {5},  {10},   {30.25},    {100.1}, {1000.5},  {123456}}},

        {true, {"Exp", "Sinh", "Cosh"}, growing},
        {true, {"Sin", "Cos"}, turning},
        {true,
         {"Tan"},
         {{{binades(0x1p-6, 0x1p+5), binades(0x1p-6, 0x1p+5)}},
          {{multiples(pi / 2, 20), fine}},
          {{fine, fine}},
          {{between(-1e5, 1e5), between(-50, 50)}}}},
        {true,
         {"Tanh"},
         {{{binades(0x1p-6, 0x1p+5), binades(0x1p-6, 0x1p+5)}},
          {{fine, multiples(pi / 2, 20)}},
          {{fine, fine}},
          {{between(-50, 50), between(-1e5, 1e5)}}}},
        {true,
         {"Ln", "Log10"},
         {{{binades(0x1p-10, 0x1p+10), binades(0x1p-10, 0x1p+10)}},
          {{between(-pi, pi), near(1)}, from_polar},
          {{near(1), fine}},
          {{any, any}}}},
        {true,
         {"Sqrt", "Abs", "Arg"},
         {{{fair, fair}}, {{wide, wide}}, {{any, any}}, {{fine, between(-2, 2)}}}},
        {true, {"Asin", "Acos", "Atan", "Asinh", "Acosh", "Atanh"}, inverse_trigonometric},
        {true,
         {"CIS"},
         {between(-4, 4), between(-1e3, 1e3), between(-1e7, 1e7), multiples(pi / 4, 0x1p+22), any}},
        {true, {"Mul", "MulByConj", "Div"}, products},
        {true,
         {"Pow"},
         {{{fair, fair, fair, binades(0x1p-4, 4)}},
          {{wide, wide, binades(0x1p-4, 1), binades(0x1p-4, 1)}},
          {{between(-pi, pi), near(1), fair, fair}, from_polar},
          {{near(1), fine, binades(1, 100), binades(1, 100)}}}},
        {true,
         {"Powx"},
         {{{fair, fair}}, {{wide, wide}}, {{between(-pi, pi), near(1)}, from_polar}, {{near(1), fine}}},
         {{2}, {3}, {-1}, {0.5}, {-2.5}, {10}, {1, 1}, {0.3, -2}, {0, 1}}},
    };
    return list;
}

inline const Arguments &arguments_of(const char *function, bool complex) {
    for (const Arguments &a : all_arguments())
        for (const char *name : a.functions)
            if (a.complex == complex && !std::strcmp(name, function))
                return a;
    std::fprintf(stderr, "%s has no arguments\n", function);
    std::exit(1);
}

} // namespace measuring
