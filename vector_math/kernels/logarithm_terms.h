// The table-driven logarithm of double lanes: what its kernels share. The method: logarithm_lanes.h.
#pragma once

#include "vector_math/frame/double_double.h"
#include "vector_math/frame/lanes.h"
#include "vector_math/kernels/lane_bits.h"
#include "vector_math/kernels/logarithm_tables.h"

#include <bit>
#include <cstdint>
#include <iterator>

namespace qor::fyn {

// x = 2^exponent * mantissa, and the number of the mantissa's interval in the low bits. Any bits give some
// finite numbers.
struct LogarithmReduction {
    using V = Lanes<double>;
    using Unsigned = Lanes<std::uint64_t>;

    static constexpr std::uint64_t one = 0x3FF0000000000000, fraction = 0x000FFFFFFFFFFFFF;
    static constexpr std::uint64_t below_one = std::uint64_t{309} << 43; // 154.5 intervals of 2^44
    static constexpr std::uint64_t two_52 = 0x4330000000000000;          // its last place is 1

    V exponent, mantissa;
    Lanes<std::int64_t> interval;

    explicit LogarithmReduction(V x) {
        const Unsigned moved = std::bit_cast<Unsigned>(x) + below_one;
        exponent = std::bit_cast<V>((moved >> 52) | two_52) - (0x1p52 + 1023);
        mantissa = std::bit_cast<V>((moved & fraction) + (one - below_one));
        interval = std::bit_cast<Lanes<std::int64_t>>(moved >> 44);
    }
};

// Four positive floats as 2^k z; z begins `below_one` steps of floats from 1 on below it. The number of its
// interval is in the upper bits of a float's fraction, for two elements in either half of `interval`.
template <std::int32_t below_one> struct SinglesReduction {
    Lanes<float> z;
    Lanes<std::int32_t> exponent; // 2^23 k
    IntegerPair interval;

    SinglesReduction() = default;
    explicit SinglesReduction(Lanes<float> x) {
        using Words = Lanes<std::uint32_t>;
        constexpr std::int32_t one = 0x3F800000, fraction = 0x007FFFFF;
        const auto moved = wrapping_sum(bits_of(x), Lanes<std::int32_t>{} - (one - below_one));
        exponent = moved & ~fraction;
        z = std::bit_cast<Lanes<float>>(std::bit_cast<Words>(x) - std::bit_cast<Words>(exponent));
        interval = IntegerPair(moved);
    }
};

// The base of a logarithm: its table, of scale/c and log c, scale, near 1/ln(base), 1/ln(base) and log 2.
struct BaseE {
    static constexpr const auto &pairs = logarithm_pairs;
    static constexpr double scale = 1;
    static constexpr DoubleDouble per_natural{1};
    static constexpr double log2_hi = 0x1.62e42fefa38p-1; // a multiple of 2^-43
    static constexpr double log2_lo = 0x1.ef35793c7673p-45;
};

// log(1 + s/scale) - s = s beyond + s^2 (c[0] + c[1] s + ...) for |s/scale| < 2^-8.8, error 2^-59 of s.
template <class Base> struct LogarithmCurve {
    double beyond, c[5];
    consteval LogarithmCurve() : c() {
        beyond = ((Base::per_natural.hi - Base::scale) + Base::per_natural.lo) / Base::scale;
        constexpr double natural[] = {-0.5, 0.3333333333322741, -0.24999999999907319, 0.2000008698223915,
                                      -0.16666742776134164};
        double factor = (1 + beyond) / Base::scale;
        for (unsigned i = 0; i < std::size(c); ++i, factor /= Base::scale)
            c[i] = natural[i] * factor;
    }
};
template <class Base> inline constexpr LogarithmCurve<Base> logarithm_curve;

// log x, its terms in turn.
template <class Base> struct LogarithmTerms {
    using V = Lanes<double>;
    V exponent, whole, s_hi, s_lo;

    LogarithmTerms() = default;
    explicit LogarithmTerms(V x) { place(LogarithmReduction(x)); }

    [[gnu::always_inline]] V sum() const { return sum_with(); }

  protected:
    V place(const LogarithmReduction &at) {
        V reciprocal, logarithm;
        look_up_modulo(Base::pairs, at.interval, reciprocal, logarithm);
        const V z_hi = shortened<36>(at.mantissa);
        exponent = at.exponent;
        whole = at.exponent * Base::log2_hi + logarithm; // exact
        s_hi = z_hi * reciprocal - Base::scale;          // exact
        s_lo = (at.mantissa - z_hi) * reciprocal;
        return reciprocal;
    }

    // With parts of x that the reduction did not have, divided by c 2^k, the largest first.
    template <class... Tail> [[gnu::always_inline]] V sum_with(Tail... tail) const {
        const V s = s_hi + (s_lo + ... + tail);
        const V leading = whole + s;
        V rest = ((((whole - leading) + s_hi) + s_lo) + ... + tail);
        if (Base::log2_lo != 0)
            rest += exponent * Base::log2_lo;
        const V square = s * s;
        constexpr auto &curve = logarithm_curve<Base>;
        constexpr auto &c = curve.c;
        V small = square * ((c[0] + s * c[1]) + square * ((c[2] + s * c[3]) + square * c[4]));
        if (curve.beyond != 0)
            small += s * curve.beyond;
        return leading + (rest + small);
    }
};

} // namespace qor::fyn
