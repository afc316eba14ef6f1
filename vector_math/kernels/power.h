// Powers and roots: x^y in its three forms, x^(2/3), x^(3/2), cube root and its inverse, inverse square
// root, length of a two-component vector.
//
// x^y = e^(y ln x). The relative error of ln x is multiplied by up to 745 on its way into the result, so
// the logarithm carries ten bits more than the exponential: see PowerBits.
//
// Largest errors measured against MPFR (tools/reference_elementary.cpp, 2000 to 3000 random arguments a
// function and type under each of four seeds): 0.501 ulp,
// double and float. Powx low: 1.00 ulp in double at
// (0x1.fbab94d2e2e86p-1, -0x1.666f4ddcc3c0ap+5), 0.51 in float; enhanced performance: 2^-36.6 and 2^-18.2.
#pragma once

#include "vector_math/frame/double_double.h"
#include "vector_math/kernels/exponential.h"
#include "vector_math/kernels/logarithm.h"

namespace qor::fyn {

template <class T, Accuracy A> struct PowerBits {
    static constexpr bool single = std::is_same_v<T, float>;
    static constexpr int log = single ? (A == Accuracy::high  ? 54
                                         : A == Accuracy::low ? 36
                                                              : 22)
                                      : (A == Accuracy::high  ? 74
                                         : A == Accuracy::low ? 66
                                                              : 42);
    static constexpr int exp = working_bits<T, A>;
};

// x^y for finite x > 0 and finite y other than 0; the sign is given to the result.
template <Accuracy A, class T> inline Status positive_power(T x, T y, bool negative, T &r) noexcept {
    using Bits = PowerBits<T, A>;
    Real<Bits::log> log_x = logarithm<Bits::log>(static_cast<double>(x));
    double yd = static_cast<double>(y), estimate = yd * to_double(log_x), size = 1;
    if (std::fabs(estimate) > 800) {
        size = estimate > 0 ? std::numeric_limits<double>::infinity() : 0;
    } else if (std::fabs(estimate) > 0x1p-64) {
        ScaledValue<Bits::exp> e = exponential<Bits::exp>(yd * log_x);
        size = scaled(e.value, e.exponent);
    }
    return checked_result(negative ? -size : size, r);
}

// Integers among the floating-point numbers: 0 for none, 1 for odd, 2 for even.
template <class T> inline int integer_kind(T y) noexcept {
    double size = std::fabs(static_cast<double>(y));
    if (size >= 0x1p53)
        return 2;
    std::int64_t whole = static_cast<std::int64_t>(size);
    if (static_cast<double>(whole) != size)
        return 0;
    return whole % 2 != 0 ? 1 : 2;
}

template <Accuracy A, class T> inline Status power(T x, T y, T &r) noexcept {
    constexpr T infinity = std::numeric_limits<T>::infinity();
    if (y == 0 || x == 1) { // whatever the other is
        r = 1;
        return status_ok;
    }
    if (x != x || y != y) {
        r = x + y;
        return status_ok;
    }
    T size = std::fabs(x);
    if (std::fabs(y) == infinity) {
        r = size == 1 ? T(1) : (size > 1) == (y > 0) ? infinity : T(0);
        return status_ok;
    }
    int kind = integer_kind(y);
    bool negative = std::signbit(x) && kind == 1;
    if (size == 0 || size == infinity) {
        bool large = (size == infinity) == (y > 0);
        if (size == 0 && large)
            return pole(r, negative);
        r = std::copysign(large ? infinity : T(0), negative ? T(-1) : T(1));
        return status_ok;
    }
    if (x < 0 && kind == 0)
        return domain_error(r);
    return positive_power<A>(size, y, negative, r);
}

struct Pow {
    template <class T> static Status eval(T x, T y, T &r) noexcept { return power<Accuracy::high>(x, y, r); }
};

template <Accuracy A> struct Powx {
    template <class T> static Status eval(T x, T y, T &r) noexcept { return power<A>(x, y, r); }
};

// The power of IEEE 754 that is e^(y ln x) and nothing else.
struct Powr {
    template <class T> static Status eval(T x, T y, T &r) noexcept {
        constexpr T infinity = std::numeric_limits<T>::infinity();
        if (x != x || y != y) {
            r = x + y;
            return status_ok;
        }
        if (x < 0)
            return domain_error(r);
        if ((y == 0 && (x == 0 || x == infinity)) || (x == 1 && std::fabs(y) == infinity))
            return domain_error(r);
        return power<Accuracy::high>(std::fabs(x), y, r);
    }
};

// x = 2^(3 third) m, 1 <= |m| < 8.
struct CubeSplit {
    double m;
    int third;
};

inline CubeSplit split_for_cube_root(double x) noexcept {
    Split split = split_exponent(x);
    int third = (split.exponent + 1200) / 3 - 400;
    return {split.mantissa * power_of_two(split.exponent - 3 * third), third};
}

// Cube root of m, 1 <= |m| < 8: from a chord, off by less than 0.13 of the root, three steps of Halley's
// iteration (relative error e becomes 2/3 e^3) reach the last bits of a double; one of Newton's in
// double-double squares the rest.
template <int Bits> inline Real<Bits> cube_root(double m) noexcept {
    double size = std::fabs(m), root = 1 + (size - 1) * (1.0 / 7);
    for (int step = 0; step < 3; ++step) {
        double cube = root * root * root;
        root *= (cube + 2 * size) / (2 * cube + size);
    }
    root = std::copysign(root, m);
    if constexpr (Bits <= 54) {
        return root;
    } else {
        DoubleDouble square = two_prod(root, root);
        DoubleDouble rest = m - square * root;
        return fast_two_sum(root, rest.hi / (3 * square.hi));
    }
}

struct Cbrt {
    template <class T> static Status eval(T x, T &r) noexcept {
        if (x == 0 || x - x != 0) {
            r = x + x;
            return status_ok;
        }
        CubeSplit split = split_for_cube_root(static_cast<double>(x));
        return plain_result(scaled(cube_root<working_bits<T>>(split.m), split.third), r);
    }
};

struct InvCbrt {
    template <class T> static Status eval(T x, T &r) noexcept {
        if (x == 0)
            return pole(r, std::signbit(x));
        if (x != x) {
            r = x + x;
            return status_ok;
        }
        if (std::fabs(x) > std::numeric_limits<T>::max()) {
            r = std::copysign(T(0), x);
            return status_ok;
        }
        using R = Real<working_bits<T>>;
        CubeSplit split = split_for_cube_root(static_cast<double>(x));
        return plain_result(scaled(R(1.0) / cube_root<working_bits<T>>(split.m), -split.third), r);
    }
};

struct Pow2o3 {
    template <class T> static Status eval(T x, T &r) noexcept {
        if (x != x) {
            r = x + x;
            return status_ok;
        }
        if (x == 0 || std::fabs(x) > std::numeric_limits<T>::max()) {
            r = std::fabs(x);
            return status_ok;
        }
        CubeSplit split = split_for_cube_root(static_cast<double>(x));
        Real<working_bits<T>> root = cube_root<working_bits<T>>(split.m);
        return plain_result(scaled(root * root, 2 * split.third), r);
    }
};

// x = 4^half m, 1 <= m < 4.
struct SquareSplit {
    double m;
    int half;
};

inline SquareSplit split_for_square_root(double x) noexcept {
    Split split = split_exponent(x);
    int half = (split.exponent + 1200) / 2 - 600;
    return {split.mantissa * power_of_two(split.exponent - 2 * half), half};
}

struct Pow3o2 {
    template <class T> static Status eval(T x, T &r) noexcept {
        if (x < 0)
            return domain_error(r);
        if (x == 0 || x != x || x > std::numeric_limits<T>::max()) {
            r = x == 0 ? T(0) : x + x;
            return status_ok;
        }
        SquareSplit split = split_for_square_root(static_cast<double>(x));
        Real<working_bits<T>> m = split.m;
        return checked_result(scaled(m * square_root(m), 3 * split.half), r);
    }
};

struct InvSqrt {
    template <class T> static Status eval(T x, T &r) noexcept {
        if (x == 0)
            return pole(r, std::signbit(x));
        if (x < 0)
            return domain_error(r);
        if (x != x || x > std::numeric_limits<T>::max()) {
            r = x != x ? x + x : T(0);
            return status_ok;
        }
        SquareSplit split = split_for_square_root(static_cast<double>(x));
        double root = 1 / std::sqrt(split.m);
        if constexpr (std::is_same_v<T, double>) { // one step of Newton's iteration on 1 - m root^2
            DoubleDouble rest = 1.0 - two_prod(root, root) * split.m;
            root += root * rest.hi * 0.5;
        }
        return plain_result(scaled(root, -split.half), r);
    }
};

struct Hypot {
    template <class T> static Status eval(T x, T y, T &r) noexcept {
        constexpr T largest = std::numeric_limits<T>::max();
        T larger = std::fabs(x), smaller = std::fabs(y);
        if (larger > largest || smaller > largest) { // infinite, whatever the other is
            r = std::numeric_limits<T>::infinity();
            return status_ok;
        }
        if (x != x || y != y) {
            r = x + y;
            return status_ok;
        }
        if (larger < smaller) {
            T swap = larger;
            larger = smaller;
            smaller = swap;
        }
        if (smaller == 0 || static_cast<double>(larger) * 0x1p-64 > static_cast<double>(smaller)) {
            r = larger; // the smaller adds less than 2^-128 of the result
            return status_ok;
        }
        using R = Real<working_bits<T>>;
        int exponent = split_exponent(static_cast<double>(larger)).exponent;
        R a = scaled(static_cast<double>(larger), -exponent);
        R b = scaled(static_cast<double>(smaller), -exponent);
        Status status = checked_result(scaled(square_root(a * a + b * b), exponent), r);
        return status == status_overflow ? status : status_ok;
    }
};

} // namespace qor::fyn
