// The double-precision exponential.
//
// e^x = 2^M * 2^(j/64) * e^r with x = (64 M + j) ln2/64 + r, |r| <= ln2/128 (P. T. P. Tang, "Table-driven
// implementation of the exponential function in IEEE floating-point arithmetic", ACM TOMS 15, 1989).
// ln2/64 stands in two parts, the leading one short enough for an exact product with 64 M + j.
//
// Lanes: degree 5, its approximation error below 2^-59 of the result. The linear term takes the reduced
// argument before its tail rounds it, and the table's tail is multiplied too, so that besides the polynomial
// only two roundings of the linear term (2^-8 ulp each) and the last one count. Arguments from 708.3955 in
// magnitude on are special.
// Special: degree 6, the result scaled in one rounding where it is subnormal.
//
// Largest errors measured by tools/measure_exponential.cpp, in ulp (docs/accuracy.md): lanes 0.519300 at
// 0x1.0e4b7f2dd2d8ap+7; special path, normal results 0.514412 at 0x1.6286c09f1eb9ep+9, subnormal results
// 0.503859 at -0x1.6243f40428cacp+9.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/frame/lanes.h"
#include "vector_math/kernels/exponential_tables.h"

#include <bit>
#include <cstdint>
#include <limits>

namespace qor::fyn {

// x = n step + r with r = reduced - excess: a sum of two numbers, or one. Step names the step's two parts,
// the leading one short enough for an exact product with n, and its inverse.
template <class V, class Step> struct ExponentSteps {
    static constexpr double shifter = 0x1.8p+52; // rounds to an integer by addition

    IntegersOf<V> n; // in the low bits
    V reduced, excess, r;

    ExponentSteps() = default;
    template <class... Tail> explicit ExponentSteps(V head, Tail... tail) {
        const V shifted = (head + ... + tail) * Step::inv_step + shifter;
        const V whole = shifted - shifter;
        n = bits_of(shifted);
        reduced = head - whole * Step::step_hi; // exact
        excess = ((whole * Step::step_lo) - ... - tail);
        r = reduced - excess;
    }
};

// v * 2^M where n = 64 M + j: the bits of n above the low six, moved to the exponent's place. What a shifter
// adds above them falls off the word.
template <class V> V scaled_by_64ths(V v, IntegersOf<V> n) {
    return from_bits<V>(wrapping_sum(bits_of(v), (n & ~63) << 46));
}

// Negative where the upper word of |x| exceeds the limit.
inline std::int64_t negative_beyond(std::int32_t limit, double x) {
    const auto magnitude = static_cast<std::int64_t>(std::bit_cast<std::uint64_t>(x) >> 32 & 0x7FFFFFFF);
    return limit - magnitude;
}

struct ExpDouble {
    static constexpr int pass = 16;
    static constexpr double padding = 0.0;

    static constexpr double inv_step = 0x1.71547652b82fep+6;      // 64 / ln 2
    static constexpr double shifter = 0x1.8p+52;                  // rounds to an integer by addition
    static constexpr double step_hi = 0x1.62e42fefap-7;           // ln2 / 64, its last 17 bits zero
    static constexpr double step_lo = 0x1.cf79abc9e3b3ap-46;      // ln2 / 64 - step_hi
    static constexpr std::int32_t fast_limit_hi = 0x4086232A;     // upper word of 708.3955078125
    static constexpr double overflow_limit = 709.782712893384;    // largest argument with a finite result
    static constexpr double underflow_limit = -745.1332191019411; // smallest with a non-zero result
    static constexpr double normal_limit = -708.3964185322641;    // below it results are subnormal
    static constexpr double two_1023 = 0x1p+1023;
    static constexpr double split = 0x1.8p+32;
    static constexpr double two_m60 = 0x1p-60;

    static std::int64_t special_bits(double x) { return negative_beyond(fast_limit_hi, x); }

    // x = n ln2/64 + r; e^r - 1 = r + curved = reduced + rest, with nothing of r lost.
    template <class V> struct Reduced : ExponentSteps<V, ExpDouble> {
        using Steps = ExponentSteps<V, ExpDouble>;
        using Steps::excess, Steps::n, Steps::r, Steps::reduced;
        V curved, rest;

        Reduced() = default;
        template <class... Tail> explicit Reduced(V head, Tail... tail) : Steps(head, tail...) {
            const V square = r * r;
            curved = square * ((0.4999999999994775 + r * 0.1666666666667797) +
                               square * (0.04166672368662385 + r * 0.00833333416441411));
            rest = curved - excess;
        }

        V exponential() const {
            V hi, lo;
            look_up_modulo(exponential_absolute, n, hi, lo);
            // hi + (hi p + lo (1 + p)) with the large part of p by itself: two roundings at its last place,
            // then the result's
            return scaled(hi + (hi * reduced + (hi * rest + (lo + lo * reduced))));
        }

        V scaled(V mantissa) const { return scaled_by_64ths(mantissa, n); }
    };

    template <class V> [[gnu::always_inline]] static auto start(V x) { return Reduced<V>(x); }
    template <class V> [[gnu::always_inline]] static V finish(const Reduced<V> &at, V) {
        return at.exponential();
    }
    template <class V> static V value(V x) { return finish(start(x), x); }

    [[gnu::noinline, gnu::cold]] static Status eval(double x, double &result) noexcept {
        const auto exponent = static_cast<unsigned>(std::bit_cast<std::uint64_t>(x) >> 52) & 0x7FF;
        if (exponent == 0x7FF) {
            result = x == -std::numeric_limits<double>::infinity() ? 0.0 : x * x;
            return status_ok;
        }
        if (exponent < 971) {
            result = x + 1.0;
            return status_ok;
        }
        if (!(x <= overflow_limit)) {
            result = std::numeric_limits<double>::infinity();
            return status_overflow;
        }
        if (!(x >= underflow_limit)) {
            result = 0.0;
            return status_underflow;
        }
        const double shifted = x * inv_step + shifter;
        const double whole = shifted - shifter;
        const double r = whole * -step_hi + x + whole * -step_lo;
        const double q =
            ((((0.0013888870459233254 * r + 0.008333341995140497) * r + 0.04166666666677052) * r +
              0.1666666666665788) *
                 r +
             0.5) *
                r * r +
            r;
        const auto n = static_cast<std::uint32_t>(std::bit_cast<std::uint64_t>(shifted));
        const ExponentialPair &entry = exponential_relative[n & 63];
        const double hi = entry.hi, t = (q + entry.lo) * hi;
        const std::uint32_t power = n >> 6;
        if (x >= normal_limit) {
            const std::uint32_t biased = (power + 1023) & 0x7FF;
            result = biased < 2047 ? (hi + t) * with_exponent(biased) : 2 * ((hi + t) * two_1023);
            return status_ok;
        }
        // Subnormal: 2^60 too large first; where digits will be lost, split at the last one that stays, so
        // that the scaling rounds once.
        const std::uint32_t biased = (power + 1083) & 0x7FF;
        const double scale = with_exponent(biased);
        const double tail = t * scale, head = hi * scale, sum = head + tail;
        if (biased > 50) {
            const double w = sum * split;
            const double upper = sum + w - w;
            const double lower = tail + (head - sum) + (sum - upper);
            result = upper * two_m60 + two_m60 * lower;
        } else {
            result = sum * two_m60;
        }
        return status_underflow;
    }

  private:
    static double with_exponent(std::uint32_t biased) {
        return std::bit_cast<double>(static_cast<std::uint64_t>(biased) << 52);
    }
};

} // namespace qor::fyn
