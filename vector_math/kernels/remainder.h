// Fmod and Remainder: x - q y with the quotient q rounded towards zero or to the nearest integer, exact.
//
// Lanes, |x / y| below 2^51: q is the rounded quotient rounded again to an integer, at most one from either
// wanted one. q |y| = p + e exactly: in double precision by Dekker's product over halves that are cut off
// (q has at most 51 bits, so the product of the lower halves fits); in single precision p alone is exact in
// double, |x / y| below 2^28. |x| - p is exact because p is 0 or within a factor of two of |x|, and
// (|x| - p) - e because the result is a multiple of the last place of y not larger than y. One correction by
// |y|, exact for the same reason, gives the wanted remainder.
//
// Special: long division of the mantissas in integers, 50 bits a step. A step's quotient, from a product with
// the divisor's reciprocal, is off by at most one: it is below 2^50 and rounded twice.
//
// The domain ends at a zero divisor and at an infinite dividend. No flag is raised.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/kernels/argument_window.h"
#include "vector_math/kernels/lane_bits.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace qor::fyn {

// A finite number m 2^e, its sign aside.
struct Scaled64 {
    std::uint64_t m;
    int e;
};
template <class T> Scaled64 scaled(T x) {
    constexpr int fraction_bits = std::numeric_limits<T>::digits - 1;
    constexpr int exponents = std::numeric_limits<T>::max_exponent * 2;
    const auto bits = static_cast<std::uint64_t>(std::bit_cast<IntegerOf<T>>(x));
    const std::uint64_t fraction = bits & ((std::uint64_t{1} << fraction_bits) - 1);
    const int exponent = static_cast<int>(bits >> fraction_bits) & (exponents - 1);
    const int bias = exponents / 2 - 1 + fraction_bits;
    return exponent == 0 ? Scaled64{fraction, 1 - bias}
                         : Scaled64{fraction | std::uint64_t{1} << fraction_bits, exponent - bias};
}

// m 2^e, which T holds. In two steps, as 2^e alone may be out of range.
template <class T> T unscaled(Scaled64 x) {
    const auto power = [](int e) { return std::bit_cast<double>(static_cast<std::int64_t>(e + 1023) << 52); };
    return static_cast<T>(static_cast<double>(x.m) * power(x.e / 2) * power(x.e - x.e / 2));
}

// m 2^e modulo y, and the quotient's last bit.
struct LongDivision {
    std::uint64_t rest;
    bool odd;
};
inline LongDivision divide(std::uint64_t m, int e, std::uint64_t y) {
    const double reciprocal = 1 / static_cast<double>(y);
    std::uint64_t last = m / y, rest = m % y;
    while (e > 0) {
        const int bits = e < 50 ? e : 50;
        e -= bits;
        const double power = static_cast<double>(std::int64_t{1} << bits);
        const double quotient = static_cast<double>(static_cast<std::int64_t>(rest)) * reciprocal * power;
        last = static_cast<std::uint64_t>(static_cast<std::int64_t>(quotient));
        rest = (rest << bits) - last * y; // modulo 2^64; in (-y, 2y)
        if (static_cast<std::int64_t>(rest) < 0) {
            rest += y;
            --last;
        } else if (rest >= y) {
            rest -= y;
            ++last;
        }
    }
    return {rest, (last & 1) != 0};
}

// The rules: what follows from a remainder r in [-y/2, y/2], or nearly so, and from one in [0, y) in
// integers.
struct TowardsZero {
    template <class V> static V corrected(V r, V y) { return r + where(r < V{}, y); }
    static bool one_more(LongDivision, std::uint64_t) { return false; }
};
struct ToNearest {
    // A quotient within half a unit of its last place of a tie may have been rounded to it, and from there
    // the wrong way; true ties go to the even quotient.
    template <class V> static V corrected(V r, V y) {
        return r - with_sign(where(magnitude(r + r) > y, y), sign_of(r));
    }
    static bool one_more(LongDivision division, std::uint64_t y) {
        const std::uint64_t twice = 2 * division.rest;
        return twice > y || (twice == y && division.odd);
    }
};

template <class Rule> struct RemainderFunction {
    static constexpr int pass = 8;
    static constexpr float padding = 1;
    static constexpr SseGuard sse_guard = SseGuard::silent;
    static constexpr std::int32_t all_but_sign = std::numeric_limits<std::int32_t>::max();

    template <class V> static IntegersOf<V> special(V x, V y) {
        using T = ElementOf<V>;
        // Top words subtract like logarithms, to a tenth of a unit.
        constexpr std::int32_t quotient_limit = sizeof(T) == 8 ? 50 << 20 : 27 << 23;
        // The quotient's limit keeps |x| and p in range too; infinite and NaN x are beyond it.
        constexpr T y_limit = sizeof(T) == 8 ? T(0x1p972) : T(0x1p100);
        const auto x_top = std::bit_cast<Lanes<std::int32_t>>(x) & all_but_sign;
        const auto y_top = std::bit_cast<Lanes<std::int32_t>>(y) & all_but_sign;
        return outside_window(y, top_word(std::numeric_limits<T>::min()), top_word(y_limit), all_but_sign) |
               std::bit_cast<IntegersOf<V>>(x_top - y_top > quotient_limit);
    }

    template <class V> static V value(V x, V y) {
        V r;
        if constexpr (sizeof(ElementOf<V>) == 8) {
            const V ax = magnitude(x), ay = magnitude(y), q = quotient(ax, ay);
            const V q_hi = shortened<27>(q), y_hi = shortened<27>(ay), q_lo = q - q_hi, y_lo = ay - y_hi;
            const V p = q * ay, e = ((q_hi * y_hi - p) + q_hi * y_lo + q_lo * y_hi) + q_lo * y_lo;
            r = Rule::corrected((ax - p) - e, ay);
        } else {
            r = in_double(magnitude(x), magnitude(y));
        }
        return from_bits<V>(bits_of(r) ^ sign_of(x));
    }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T y, T &r) noexcept {
        constexpr T infinity = std::numeric_limits<T>::infinity();
        if (x != x || y != y) {
            r = x + y;
            return status_ok;
        }
        const T ax = std::fabs(x), ay = std::fabs(y);
        if (ax == infinity || ay == 0) {
            r = std::numeric_limits<T>::quiet_NaN();
            return status_domain;
        }
        r = x;
        if (ay == infinity || 2 * ax < ay)
            return status_ok;
        const Scaled64 a = scaled(ax);
        Scaled64 b = scaled(ay);
        if (a.e < b.e) { // by one, in quotients below two
            b.m <<= b.e - a.e;
            b.e = a.e;
        }
        const LongDivision division = divide(a.m, a.e - b.e, b.m);
        const bool one_more = Rule::one_more(division, b.m);
        const T size = unscaled<T>({one_more ? b.m - division.rest : division.rest, b.e});
        r = std::copysign(size, one_more ? -x : x);
        return status_ok;
    }

  private:
    template <class V> static V quotient(V x, V y) {
        constexpr double shifter = 0x1p+52;
        return (x / y + shifter) - shifter;
    }

    static Lanes<float> in_double(Lanes<float> x, Lanes<float> y) {
        const auto a = std::bit_cast<__m128>(x), b = std::bit_cast<__m128>(y);
        const auto half = [](__m128 u, __m128 v) {
            const auto ax = std::bit_cast<Lanes<double>>(_mm_cvtps_pd(u));
            const auto ay = std::bit_cast<Lanes<double>>(_mm_cvtps_pd(v));
            return _mm_cvtpd_ps(std::bit_cast<__m128d>(Rule::corrected(ax - quotient(ax, ay) * ay, ay)));
        };
        const auto upper = [](__m128 v) { return _mm_shuffle_ps(v, v, _MM_SHUFFLE(3, 2, 3, 2)); };
        return std::bit_cast<Lanes<float>>(_mm_movelh_ps(half(a, b), half(upper(a), upper(b))));
    }
};
using Fmod = RemainderFunction<TowardsZero>;
using Remainder = RemainderFunction<ToNearest>;

} // namespace qor::fyn
