// Bessel functions J, Y of integral order, modified Bessel functions I of orders 0 and 1.
//
// Orders 0 and 1, x < 8: pieces for J0, J1/x and for what is left of Y0, Y1 when the logarithm is taken out:
//   Y0 = 2/pi log x J0 + ...,  Y1 = 2/pi (log x J1 - 1/x) + ...
// x >= 8: modulus and phase (Abramowitz and Stegun 9.2.17ff), J + iY = M e^(i theta), with
// theta = x - (2n+1) pi/4 + alpha(x)/x taken modulo a turn in two doubles, so that the error near zeros is
// below 2^-53 of the modulus.
// Other orders: the recurrence f(k+1) = 2k/x f(k) - f(k-1) in two doubles, upward where it is stable (Y, and
// J for n <= x), downward and normalised by J0 or J1 otherwise (J. C. P. Miller). The cost grows with the
// order; orders beyond 2^24 near or below x are refused as outside the domain.
#pragma once

#include "vector_math/kernels/special_pieces.h"

namespace qor::fyn {

namespace special {

// x / pi modulo 2 in [-1, 1), for x >= 8: the fraction of the product of the 53-bit integer and the words of
// 1/(2 pi) that matter (M. H. Payne and R. N. Hanek, SIGNUM Newsletter 18, 1983).
inline DoubleDouble half_turns(double x) noexcept {
    Split split = split_exponent(x);
    std::uint64_t m = (std::bit_cast<std::uint64_t>(split.mantissa) & 0xfffffffffffff) | std::uint64_t(1)
                                                                                             << 52;
    // x = m 2^(place - 64): `place` leading bits of the table, two words of zeros before them, give whole
    // turns
    int place = split.exponent - 52 + 64;
    int word = place / 32, shift = place % 32;
    std::uint32_t window[6];
    for (int i = 0; i < 6; ++i) {
        std::uint64_t two =
            static_cast<std::uint64_t>(tables::turn_limbs[word + i]) << 32 | tables::turn_limbs[word + i + 1];
        window[i] = static_cast<std::uint32_t>(two >> (32 - shift));
    }
    std::uint32_t fraction[6] = {};
    std::uint64_t factors[2] = {m & 0xffffffff, m >> 32};
    for (int j = 0; j < 2; ++j) {
        std::uint64_t carry = 0;
        for (int i = 5; i >= j; --i) {
            std::uint64_t t = factors[j] * window[i] + fraction[i - j] + carry;
            fraction[i - j] = static_cast<std::uint32_t>(t);
            carry = t >> 32;
        }
    }
    DoubleDouble turns(static_cast<double>(static_cast<std::int32_t>(fraction[0])) * 0x1p-32);
    double weight = 0x1p-64;
    for (int i = 1; i < 5; ++i, weight *= 0x1p-32)
        turns = turns + static_cast<double>(fraction[i]) * weight;
    return 2.0 * turns;
}

// cos(pi h) for |h| < 4
inline DoubleDouble cosine_of_half_turns(DoubleDouble h) noexcept {
    h = h - 2.0 * nearest_integer(0.5 * h.hi);
    if (h.hi < 0)
        h = -h;
    if (h.hi > 1)
        h = 2.0 - h;
    DoubleDouble f = 0.5 - h; // cos(pi h) = sin(pi (1/2 - h))
    return f.hi < 0 ? -sine_of_half_turns(-f.hi, -f.lo) : sine_of_half_turns(f.hi, f.lo);
}

// modulus sqrt(2/(pi x)) m(x) and the phase in half turns, for x >= 8
template <class Modulus, class Phase, class ModulusTail, class PhaseTail>
inline void modulus_and_phase(double x, int order, const Modulus &modulus_pieces, const Phase &phase_pieces,
                              const ModulusTail &modulus_tail, const PhaseTail &phase_tail,
                              DoubleDouble &modulus, DoubleDouble &phase) noexcept {
    double alpha;
    if (x < 64) {
        Place at = octave_place(x, 0, 3);
        modulus = evaluate(modulus_pieces[at.row], at.t);
        alpha = to_double(evaluate(phase_pieces[at.row], at.t));
    } else {
        double u = (1 / x) * (1 / x) - 0x1p-13;
        modulus = evaluate(modulus_tail[0], u);
        alpha = to_double(evaluate(phase_tail[0], u));
    }
    // sqrt(2 / (pi x)) with x held near 1 by a power of four
    Split split = split_exponent(x);
    int half = split.exponent / 2;
    double mantissa = split.exponent % 2 != 0 ? 2 * split.mantissa : split.mantissa;
    modulus = modulus * square_root(two_over_pi / DoubleDouble(mantissa)) * power_of_two(-half);
    constexpr double inverse_pi = 0x1.45f306dc9c883p-2;
    phase = half_turns(x) + (inverse_pi * alpha / x) - (order == 0 ? 0.25 : 0.75);
}

inline void modulus_and_phase(double x, int order, DoubleDouble &modulus, DoubleDouble &phase) noexcept {
    if (order == 0)
        modulus_and_phase(x, 0, tables::modulus0_pieces, tables::phase0_pieces, tables::modulus0_tail,
                          tables::phase0_tail, modulus, phase);
    else
        modulus_and_phase(x, 1, tables::modulus1_pieces, tables::phase1_pieces, tables::modulus1_tail,
                          tables::phase1_tail, modulus, phase);
}

// J0 or J1 at finite x >= 0, J1 not below 2^-500
inline DoubleDouble bessel_j(int order, double x) noexcept {
    if (x < 8) {
        Place at = uniform_place(x, 0, 0.5, 16);
        return order == 0 ? evaluate(tables::j0_pieces[at.row], at.t)
                          : evaluate(tables::j1_pieces[at.row], at.t) * x;
    }
    DoubleDouble modulus, phase;
    modulus_and_phase(x, order, modulus, phase);
    return modulus * cosine_of_half_turns(phase);
}

// Y0 or Y1 at finite x > 0
inline Scaled bessel_y(int order, double x) noexcept {
    if (x >= 8) {
        DoubleDouble modulus, phase;
        modulus_and_phase(x, order, modulus, phase);
        DoubleDouble y = modulus * cosine_of_half_turns(phase - 0.5);
        int half = split_exponent(x).exponent / 2;
        return {y * power_of_two(half), -half};
    }
    if (order == 1 && x < 0x1p-60) {
        Split split = split_exponent(x);
        return {-two_over_pi / DoubleDouble(split.mantissa), -split.exponent};
    }
    Place at = uniform_place(x, 0, 0.5, 16);
    DoubleDouble log = logarithm<72>(DoubleDouble(x));
    if (order == 0)
        return {two_over_pi * log * bessel_j(0, x) + evaluate(tables::y0_pieces[at.row], at.t), 0};
    DoubleDouble rest = log * bessel_j(1, x) - DoubleDouble(1.0) / DoubleDouble(x);
    return {two_over_pi * rest + evaluate(tables::y1_pieces[at.row], at.t) * x, 0};
}

inline constexpr double largest_order = 0x1p+24;

// (x/2)^n / n! for x < 2^-30, 2 <= n
inline Scaled bessel_j_tiny(double n, double x) noexcept {
    Split split = split_exponent(x);
    DoubleDouble value(1.0);
    int exponent = 0;
    for (double k = 1; k <= n && exponent > -1200; ++k) {
        Split step = split_exponent(k);
        value = value * split.mantissa / DoubleDouble(step.mantissa);
        int shift = split_exponent(value.hi).exponent;
        value = value * power_of_two(-shift);
        exponent += split.exponent - 1 - step.exponent + shift;
    }
    return {value, exponent};
}

// J of order n >= 2 at finite x > 0, n <= largest_order
inline Scaled bessel_j_order(double n, double x) noexcept {
    if (x < 0x1p-30)
        return bessel_j_tiny(n, x);
    DoubleDouble j0 = bessel_j(0, x), j1 = bessel_j(1, x);
    if (n <= x) {
        // held near 1 by the square root of x
        int half = split_exponent(x).exponent / 2;
        DoubleDouble a = j0 * power_of_two(half), b = j1 * power_of_two(half);
        DoubleDouble step = DoubleDouble(2.0) / DoubleDouble(x < 0x1p+500 ? x : 0x1p+500);
        for (double k = 1; k < n; ++k) {
            DoubleDouble c = step * k * b - a;
            a = b;
            b = c;
        }
        return {b, -half};
    }
    // the leading term bounds the size: far below the range nothing need be computed
    if (n * (logarithm<54>(0.5 * x / n) + 1) < -800)
        return {DoubleDouble(1.0), -2000};
    DoubleDouble step = DoubleDouble(2.0) / DoubleDouble(x);
    // upward with doubles until the other solution has grown by 2^80: there J is negligible
    double last = n, before = 0, now = 1;
    for (; std::fabs(now) < 0x1p+80; ++last) {
        double next = step.hi * last * now - before;
        before = now;
        now = next;
    }
    DoubleDouble above(0.0), here(1.0), wanted(1.0);
    int exponent = 0;
    for (double k = last; k >= 1; --k) { // here is at k
        DoubleDouble below = step * k * here - above;
        above = here;
        here = below;
        if (k - 1 == n)
            wanted = here, exponent = 0;
        if (std::fabs(here.hi) > 0x1p+200) {
            above = above * 0x1p-200;
            here = here * 0x1p-200;
            exponent -= 200;
        }
    }
    // here belongs to J0, above to J1
    bool zeroth = std::fabs(j0.hi) > std::fabs(j1.hi);
    DoubleDouble value = wanted / (zeroth ? here : above) * (zeroth ? j0 : j1);
    int size = value.hi == 0 ? 0 : split_exponent(value.hi).exponent;
    return {value * power_of_two(-size), exponent + size};
}

// Y of order n >= 2 at finite x >= 2^-511, n <= largest_order
inline Scaled bessel_y_order(double n, double x) noexcept {
    Scaled y0 = bessel_y(0, x), y1 = bessel_y(1, x);
    int exponent = x >= 8 ? y0.exponent : 0;
    auto aligned = [&](Scaled y) { return y.value * power_of_two(y.exponent - exponent); };
    DoubleDouble a = aligned(y0), b = aligned(y1);
    DoubleDouble step = DoubleDouble(2.0) / DoubleDouble(x < 0x1p+500 ? x : 0x1p+500);
    for (double k = 1; k < n && exponent < 2000; ++k) {
        while (std::fabs(b.hi) > 0x1p+200) {
            a = a * 0x1p-200;
            b = b * 0x1p-200;
            exponent += 200;
        }
        DoubleDouble c = step * k * b - a;
        a = b;
        b = c;
    }
    int size = b.hi == 0 ? 0 : split_exponent(b.hi).exponent;
    return {b * power_of_two(-size), exponent + size};
}

// e^x p(x) for the modified functions, x >= 0
template <class Pieces, class Tail>
inline Scaled bessel_i(double x, const Pieces &pieces, const Tail &tail, bool times_x) noexcept {
    Scaled e = exponential<72>(DoubleDouble(x));
    if (x < 31) {
        Place at = octave_place(x, 1, 0);
        e.value = e.value * evaluate(pieces[at.row], at.t);
        if (times_x)
            e.value = e.value * x;
    } else {
        e.value = e.value * evaluate(tail[0], 1 / x - 0.5 / 31) / square_root(DoubleDouble(x));
    }
    return e;
}

template <class T> constexpr bool is_integral(T order) noexcept {
    return order - order == 0 && (order >= T(0x1p+53) || order <= T(-0x1p+53) ||
                                  order == static_cast<T>(static_cast<std::int64_t>(order)));
}

template <class T> constexpr bool is_odd(T order) noexcept {
    return order < T(0x1p+53) && order > T(-0x1p+53) && (static_cast<std::int64_t>(order) & 1) != 0;
}

// J of any integral order at any x that is a number
template <class T> inline Status bessel_j_any(double order, T x, T &r) noexcept {
    double v = static_cast<double>(x), size = std::fabs(v), n = std::fabs(order);
    bool negative = is_odd(order) && std::signbit(v) != std::signbit(order);
    double sign = negative ? -1.0 : 1.0;
    if (size == infinity)
        return plain_result(sign * 0.0, r);
    if (size == 0)
        return plain_result(n == 0 ? 1.0 : sign * 0.0, r);
    if (n == 0)
        return plain_result(to_double(bessel_j(0, size)), r);
    if (n == 1)
        return plain_result(sign * (size < 0x1p-100 ? 0.5 * size : to_double(bessel_j(1, size))), r);
    Scaled j{DoubleDouble(1.0), -2000};
    if (n <= largest_order)
        j = bessel_j_order(n, size);
    else if (size > 0.99 * n)
        return domain_error(r);
    return checked_result(Scaled{j.value * sign, j.exponent}, r);
}

template <class T> inline Status bessel_y_any(double order, T x, T &r) noexcept {
    double v = static_cast<double>(x), n = std::fabs(order);
    bool negative = is_odd(order) && order < 0;
    double sign = negative ? -1.0 : 1.0;
    if (v < 0)
        return domain_error(r);
    if (v == 0)
        return pole(r, !negative);
    if (v == infinity)
        return plain_result(sign * 0.0, r);
    Scaled y{DoubleDouble(-1.0), 2000};
    if (n < 2)
        y = bessel_y(n == 0 ? 0 : 1, v);
    else if (n > largest_order && v > 0.99 * n)
        return domain_error(r);
    else if (n <= largest_order && v >= 0x1p-511)
        y = bessel_y_order(n, v);
    return checked_result(Scaled{y.value * sign, y.exponent}, r);
}

} // namespace special

struct J0 {
    template <class T> static Status eval(T x, T &r) noexcept {
        r = x + x;
        return x != x ? status_ok : special::bessel_j_any(0, x, r);
    }
};

struct J1 {
    template <class T> static Status eval(T x, T &r) noexcept {
        r = x + x;
        return x != x ? status_ok : special::bessel_j_any(1, x, r);
    }
};

struct Jn {
    template <class T> static Status eval(T x, T order, T &r) noexcept {
        r = x + order;
        if (x != x || order != order)
            return status_ok;
        return special::is_integral(order) ? special::bessel_j_any(order, x, r) : domain_error(r);
    }
};

struct Y0 {
    template <class T> static Status eval(T x, T &r) noexcept {
        r = x + x;
        return x != x ? status_ok : special::bessel_y_any(0, x, r);
    }
};

struct Y1 {
    template <class T> static Status eval(T x, T &r) noexcept {
        r = x + x;
        return x != x ? status_ok : special::bessel_y_any(1, x, r);
    }
};

struct Yn {
    template <class T> static Status eval(T x, T order, T &r) noexcept {
        r = x + order;
        if (x != x || order != order)
            return status_ok;
        return special::is_integral(order) ? special::bessel_y_any(order, x, r) : domain_error(r);
    }
};

struct I0 {
    template <class T> static Status eval(T x, T &r) noexcept {
        double size = std::fabs(static_cast<double>(x));
        r = static_cast<T>(x < 0 ? -x : x);
        if (x != x)
            r = x + x;
        if (!(size < special::infinity))
            return status_ok;
        size = size < 800 ? size : 800;
        return special::checked_result(special::bessel_i(size, tables::i0_pieces, tables::i0_tail, false), r);
    }
};

struct I1 {
    template <class T> static Status eval(T x, T &r) noexcept {
        double v = static_cast<double>(x), size = std::fabs(v);
        r = x + x;
        if (!(size < special::infinity))
            return status_ok;
        if (size < 0x1p-100)
            return plain_result(0.5 * v, r);
        size = size < 800 ? size : 800;
        special::Scaled i = special::bessel_i(size, tables::i1_pieces, tables::i1_tail, true);
        return special::checked_result(special::Scaled{v < 0 ? -i.value : i.value, i.exponent}, r);
    }
};

} // namespace qor::fyn
