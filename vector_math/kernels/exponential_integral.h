// Exponential integral E1(x), the integral of e^-t/t from x to infinity.
//
// x < 1/2: -gamma - log x + x + x^2 p(x); x < 16: e^-x times pieces for e^x E1(x); beyond: e^-x/x times a
// polynomial in 1/x for x e^x E1(x).
#pragma once

#include "vector_math/kernels/special_pieces.h"

namespace qor::fyn {

template <Accuracy A> struct ExpInt1 {
    template <class T> static Status eval(T x, T &r) noexcept {
        if (x != x) {
            r = x + x;
            return status_ok;
        }
        if (x < 0)
            return domain_error(r);
        if (x == 0)
            return pole(r);
        double v = static_cast<double>(x);
        if (v == special::infinity)
            return plain_result(0, r);
        v = v < 800 ? v : 800;
        if constexpr (A == Accuracy::high && std::is_same_v<T, double>)
            return high(v, r);
        else
            return brief(v, r);
    }

  private:
    template <class T> static Status high(double x, T &r) noexcept {
        if (x < 0.5) {
            double series = to_double(special::evaluate(tables::e1_series[0], x - 0.25));
            double rest = x < 0x1p-100 ? 0 : x * x * series;
            DoubleDouble result = fast_two_sum(x, rest) - special::euler_gamma;
            result = result - logarithm<72>(DoubleDouble(x));
            return plain_result(to_double(result), r);
        }
        special::Scaled e = exponential<72>(DoubleDouble(-x));
        if (x < 16) {
            special::Place at = special::octave_place(x, 0, -1);
            e.value = e.value * special::evaluate(tables::e1_pieces[at.row], at.t);
        } else {
            e.value = e.value * special::evaluate(tables::e1_tail[0], 1 / x - 0x1p-5) / DoubleDouble(x);
        }
        return special::checked_result(e, r);
    }

    // The same in doubles, with polynomials and elementary functions as long as the accuracy asks for.
    template <class T> static Status brief(double x, T &r) noexcept {
        constexpr bool full = std::is_same_v<T, double> ? A == Accuracy::low : A == Accuracy::high;
        constexpr int bits = full ? 54 : std::is_same_v<T, double> || A == Accuracy::low ? 30 : 15;
        constexpr int degree = full ? 12 : bits == 30 ? 6 : 3;
        if (x < 0.5) {
            double p;
            if constexpr (full)
                p = special::evaluate_short<10>(tables::e1_series[0], x - 0.25);
            else
                p = special::evaluate_short<degree>(tables::e1_series_short[0], x - 0.25);
            double rest = x + x * x * p - special::euler_gamma.hi;
            return plain_result(rest - logarithm<bits>(x), r);
        }
        auto e = exponential<bits>(-x);
        if (x < 16) {
            special::Place at = special::octave_place(x, 0, -1);
            e.value *= special::evaluate_short<degree>(tables::e1_pieces[at.row], at.t);
        } else {
            double u = 1 / x - 0x1p-5;
            if constexpr (full)
                e.value = e.value * special::evaluate_short<17>(tables::e1_tail[0], u) / x;
            else
                e.value = e.value * special::evaluate_short<17>(tables::e1_tail_short[0], u) / x;
        }
        return qor::fyn::checked_result(scaled(e.value, e.exponent), r);
    }
};

} // namespace qor::fyn
