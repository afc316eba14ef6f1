// Normal distribution: its function P(x) = erfc(-x/sqrt 2)/2 and the inverse of that.
//
// P(-z) = e^(-z^2/2) erfcx(z/sqrt 2)/2 for z >= 0, and P(z) = 1 - P(-z). The high accuracy carries the
// exponent and the argument of erfcx in two doubles; the low one only splits the square; enhanced
// performance squares in double and cuts every polynomial short.
#pragma once

#include "vector_math/kernels/error_function.h"
#include "vector_math/kernels/inverse_error_function.h"

namespace qor::fyn {

template <Accuracy A> struct CdfNorm {
    template <class T> static Status eval(T x, T &r) noexcept {
        if (x != x) {
            r = x + x;
            return status_ok;
        }
        double v = static_cast<double>(x), z = std::fabs(v);
        if (z == special::infinity)
            return plain_result(v < 0 ? 0.0 : 1.0, r);
        z = z < 40 ? z : 40;
        if constexpr (A == Accuracy::high && std::is_same_v<T, double>) {
            DoubleDouble square = two_prod(z, z), argument = special::inverse_sqrt_2 * z;
            special::Scaled e = exponential<72>(DoubleDouble(-0.5 * square.hi, -0.5 * square.lo));
            e.value = e.value * special::erfcx_positive(argument.hi, argument.lo);
            --e.exponent;
            if (v < 0)
                return special::checked_result(e, r);
            return plain_result(z > 9 ? 1.0 : to_double(1.0 - special::to_pair(e)), r);
        } else {
            constexpr bool full = std::is_same_v<T, double> ? A == Accuracy::low : A == Accuracy::high;
            constexpr int bits = full ? 54 : std::is_same_v<T, double> || A == Accuracy::low ? 30 : 15;
            constexpr int degree = full ? 12 : bits == 30 ? 7 : 3;
            // full: the square split at 24 bits of z, so that its head is exact
            double head = full ? static_cast<double>(static_cast<float>(z)) : z;
            Real<full ? 72 : 54> power = -0.5 * head * head;
            if constexpr (full)
                power = fast_two_sum(power.hi, -0.5 * (z - head) * (z + head));
            auto e = exponential<bits>(power);
            double tail = e.value * special::erfcx_short<degree>(z * special::inverse_sqrt_2.hi);
            if (v < 0)
                return qor::fyn::checked_result(scaled(0.5 * tail, e.exponent), r);
            return plain_result(1.0 - scaled(0.5 * tail, e.exponent), r);
        }
    }
};

struct CdfNormInv {
    template <class T> static Status eval(T p, T &r) noexcept {
        if (p != p) {
            r = p + p;
            return status_ok;
        }
        if (p < 0 || p > 1)
            return domain_error(r);
        if (p == 0 || p == 1)
            return pole(r, p == 0);
        // P(x) = p means erfc(-x/sqrt 2) = 2p; 1 - 2p and 2 - 2p are exact where they are used
        double v = static_cast<double>(p);
        DoubleDouble y = v < 0.25   ? -special::erfc_inverse_tail(2 * v)
                         : v > 0.75 ? special::erfc_inverse_tail(2 * (1 - v))
                                    : special::erf_inverse_middle(2 * (v - 0.5));
        return plain_result(to_double(special::sqrt_2 * y), r);
    }
};

} // namespace qor::fyn
