// Numbers of about 106 bits as unevaluated sums of two doubles, and the few tools that kernels of
// extended working precision share.
//
// Error-free sums: Knuth, The Art of Computer Programming 2, 4.2.2. Splitting and error-free product:
// T. J. Dekker, "A floating-point technique for extending the available precision", Numer. Math. 18
// (1971). No fused multiply-add is used, so every system gives the same bits. Relative error of + and *:
// below 2^-102; of / and square_root: below 2^-100. Products need operands below 2^996 and results above
// 2^-960 (the low parts underflow further down): callers scale.
//
// Kernels are written once over Real<Bits>: double where 53 bits of working precision serve (float
// functions, cheaper accuracies), DoubleDouble where more is needed.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "vector_math/frame/element.h"

namespace qor::fyn {

struct DoubleDouble {
    double hi, lo;
    constexpr DoubleDouble(double high = 0, double low = 0) noexcept : hi(high), lo(low) {}
};

// a + b exactly, for |a| >= |b| or a = 0.
constexpr DoubleDouble fast_two_sum(double a, double b) noexcept {
    double sum = a + b;
    return {sum, b - (sum - a)};
}

constexpr DoubleDouble two_sum(double a, double b) noexcept {
    double sum = a + b;
    double b_part = sum - a;
    return {sum, (a - (sum - b_part)) + (b - b_part)};
}

constexpr DoubleDouble two_prod(double a, double b) noexcept {
    constexpr double splitter = 0x1p27 + 1;
    double ca = splitter * a, cb = splitter * b;
    double a_hi = ca - (ca - a), b_hi = cb - (cb - b);
    double a_lo = a - a_hi, b_lo = b - b_hi;
    double product = a * b;
    return {product, ((a_hi * b_hi - product) + a_hi * b_lo + a_lo * b_hi) + a_lo * b_lo};
}

constexpr DoubleDouble operator-(DoubleDouble a) noexcept { return {-a.hi, -a.lo}; }

constexpr DoubleDouble operator+(DoubleDouble a, DoubleDouble b) noexcept {
    DoubleDouble high = two_sum(a.hi, b.hi), low = two_sum(a.lo, b.lo);
    high = fast_two_sum(high.hi, high.lo + low.hi);
    return fast_two_sum(high.hi, high.lo + low.lo);
}

constexpr DoubleDouble operator+(DoubleDouble a, double b) noexcept {
    DoubleDouble high = two_sum(a.hi, b);
    return fast_two_sum(high.hi, high.lo + a.lo);
}

constexpr DoubleDouble operator+(double a, DoubleDouble b) noexcept { return b + a; }
constexpr DoubleDouble operator-(DoubleDouble a, DoubleDouble b) noexcept { return a + (-b); }
constexpr DoubleDouble operator-(DoubleDouble a, double b) noexcept { return a + (-b); }
constexpr DoubleDouble operator-(double a, DoubleDouble b) noexcept { return (-b) + a; }

constexpr DoubleDouble operator*(DoubleDouble a, DoubleDouble b) noexcept {
    DoubleDouble product = two_prod(a.hi, b.hi);
    return fast_two_sum(product.hi, product.lo + (a.hi * b.lo + a.lo * b.hi));
}

constexpr DoubleDouble operator*(DoubleDouble a, double b) noexcept {
    DoubleDouble product = two_prod(a.hi, b);
    return fast_two_sum(product.hi, product.lo + a.lo * b);
}

constexpr DoubleDouble operator*(double a, DoubleDouble b) noexcept { return b * a; }

constexpr DoubleDouble operator/(DoubleDouble a, DoubleDouble b) noexcept {
    double first = a.hi / b.hi;
    DoubleDouble rest = a - b * first;
    double second = rest.hi / b.hi;
    rest = rest - b * second;
    return fast_two_sum(first, second) + rest.hi / b.hi;
}

inline double square_root(double a) noexcept { return std::sqrt(a); }

inline DoubleDouble square_root(DoubleDouble a) noexcept {
    double root = std::sqrt(a.hi);
    if (root == 0)
        return root;
    DoubleDouble rest = a - two_prod(root, root);
    return fast_two_sum(root, rest.hi / (root + root));
}

// The working type that carries `Bits` bits.
template <int Bits> using Real = std::conditional_t<(Bits > 54), DoubleDouble, double>;

// Working precision of a function of T at an accuracy: rounding to T is then nearly all of the error of
// the high one; the others stay inside 4 ulp, and inside half the digits.
template <class T, Accuracy A = Accuracy::high>
inline constexpr int working_bits = std::is_same_v<T, float> ? (A == Accuracy::high  ? 54
                                                                : A == Accuracy::low ? 26
                                                                                     : 15)
                                                             : (A == Accuracy::high  ? 72
                                                                : A == Accuracy::low ? 54
                                                                                     : 30);

constexpr double to_double(double a) noexcept { return a; }
constexpr double to_double(DoubleDouble a) noexcept { return a.hi + a.lo; }

// A constant, or a value already computed, in the working type wanted.
template <class R> constexpr R narrowed(double a) noexcept { return R(a); }
template <class R> constexpr R narrowed(DoubleDouble a) noexcept {
    if constexpr (std::is_same_v<R, double>)
        return a.hi;
    else
        return a;
}

// Nearest integer, ties to even, for |x| < 2^51.
constexpr double nearest_integer(double x) noexcept { return (x + 0x1.8p52) - 0x1.8p52; }

// 2^k for -1022 <= k <= 1023.
constexpr double power_of_two(int k) noexcept {
    return std::bit_cast<double>(static_cast<std::uint64_t>(k + 1023) << 52);
}

// v * 2^k where nothing leaves the range.
constexpr double by_power_of_two(double v, int k) noexcept { return v * power_of_two(k); }
constexpr DoubleDouble by_power_of_two(DoubleDouble v, int k) noexcept {
    return {v.hi * power_of_two(k), v.lo * power_of_two(k)};
}

// v * 2^k rounded once, for |v| in [2^-60, 2^60]; overflows to infinity, underflows gradually.
inline double scaled(double v, int k) noexcept {
    if (k > 2000 || k < -2000)
        k = k > 0 ? 2000 : -2000;
    int third = k / 3;
    return v * power_of_two(third) * power_of_two(third) * power_of_two(k - 2 * third);
}

inline double scaled(DoubleDouble v, int k) noexcept {
    double rounded = v.hi + v.lo;
    if (k > -960 || rounded == 0)
        return scaled(rounded, k);
    if (k < -1140 - 60)
        return scaled(rounded, -2000);
    // Where the result may be subnormal: make the addition round at its last place, 2^-1074. The anchor
    // has its last place there, seen from before the scaling, and is larger than any such v.
    double anchor = std::copysign(power_of_two(-1022 - k), rounded);
    if (std::fabs(rounded) >= std::fabs(anchor))
        return scaled(rounded, k);
    DoubleDouble sum = fast_two_sum(anchor, v.hi);
    double last_place = sum.hi + (sum.lo + v.lo);
    return std::copysign(scaled(last_place - anchor, k), rounded);
}

// x = mantissa * 2^exponent, 1 <= |mantissa| < 2, for finite x other than 0.
struct Split {
    double mantissa;
    int exponent;
};

constexpr Split split_exponent(double x) noexcept {
    int extra = 0;
    if (x < 0x1p-1022 && x > -0x1p-1022) {
        x *= 0x1p54;
        extra = 54;
    }
    std::uint64_t bits = std::bit_cast<std::uint64_t>(x);
    int exponent = static_cast<int>(bits >> 52 & 0x7ff) - 1023;
    bits = (bits & 0x800fffffffffffffu) | 0x3ff0000000000000u;
    return {std::bit_cast<double>(bits), exponent - extra};
}

// Power series. A Series names its coefficients and the largest argument it is meant for:
//   static constexpr double bound;
//   static constexpr DoubleDouble coefficient(int i);     of u^i; coefficient(0) is about 1
// As many terms are taken as bring the first one left out below 2^-Bits (the terms fall at least by a
// factor of 0.35 each, so the rest of the series is of that order); terms below 2^-(Bits-52) are summed
// in double even where the working type is wider.
inline constexpr int series_capacity = 32;

template <class Series> constexpr int series_terms(int bits) noexcept {
    double limit = 1, power = 1;
    for (int i = 0; i < bits; ++i)
        limit /= 2;
    for (int i = 0; i < series_capacity; ++i) {
        double c = Series::coefficient(i).hi;
        if (power * (c < 0 ? -c : c) < limit)
            return i;
        power *= Series::bound;
    }
    return series_capacity + 1; // refused where used
}

template <class Series> struct SeriesTable {
    DoubleDouble c[series_capacity];
    constexpr SeriesTable() noexcept {
        for (int i = 0; i < series_capacity; ++i)
            c[i] = Series::coefficient(i);
    }
};

template <class Series> inline constexpr SeriesTable<Series> series_table{};

template <class Series, int Bits> inline Real<Bits> power_series(Real<Bits> u) noexcept {
    constexpr const SeriesTable<Series> &table = series_table<Series>;
    constexpr int terms = series_terms<Series>(Bits + 2);
    static_assert(terms <= series_capacity);
    constexpr int wide = Bits > 54 ? series_terms<Series>(Bits - 52) : 0;
    double narrow_u = narrowed<double>(u), tail = table.c[terms - 1].hi;
    for (int i = terms - 2; i >= wide; --i)
        tail = tail * narrow_u + table.c[i].hi;
    Real<Bits> sum = tail;
    for (int i = wide - 1; i >= 0; --i)
        sum = sum * u + narrowed<Real<Bits>>(table.c[i]);
    return sum;
}

constexpr DoubleDouble reciprocal_of_integer(double n) noexcept { return DoubleDouble(1) / DoubleDouble(n); }

constexpr DoubleDouble reciprocal_factorial(int n) noexcept {
    DoubleDouble result = 1;
    for (int i = 2; i <= n; ++i)
        result = result / DoubleDouble(i);
    return result;
}

// Constants: the nearest double and the nearest double to what is left (computed with MPFR).
inline constexpr DoubleDouble pi{0x1.921fb54442d18p+1, 0x1.1a62633145c07p-53};
inline constexpr DoubleDouble ln_2{0x1.62e42fefa39efp-1, 0x1.abc9e3b39803fp-56};

// A result in range of double, rounded to T, with the statuses of a result too large or too small.
template <class T> inline Status checked_result(double v, T &r) noexcept {
    r = static_cast<T>(v);
    T size = std::fabs(r);
    if (size > std::numeric_limits<T>::max())
        return status_overflow;
    return size < std::numeric_limits<T>::min() ? status_underflow : status_ok;
}

// A result that cannot leave the range, or whose leaving it is no event.
template <class T> inline Status plain_result(double v, T &r) noexcept {
    r = static_cast<T>(v);
    return status_ok;
}

template <class T> inline Status domain_error(T &r) noexcept {
    r = std::numeric_limits<T>::quiet_NaN();
    return status_domain;
}

template <class T> inline Status pole(T &r, bool negative = false) noexcept {
    r = negative ? -std::numeric_limits<T>::infinity() : std::numeric_limits<T>::infinity();
    return status_singularity;
}

} // namespace qor::fyn
