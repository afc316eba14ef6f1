// The arithmetic members: plain operations, division, comparisons of magnitude, remainders.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/frame/lanes.h"

#include <bit>
#include <cmath>
#include <limits>

namespace qor::fyn {

struct Add {
    static constexpr SseGuard sse_guard = SseGuard::masks_only;
    template <class T> static Status eval(T x, T y, T &r) noexcept {
        r = x + y;
        return status_ok;
    }
};
// Single precision flushes denormals as the mode says.
struct Sub : Add {
    template <class T> static Status eval(T x, T y, T &r) noexcept {
        r = x - y;
        return status_ok;
    }
};
struct Mul : Add {
    template <class T> static Status eval(T x, T y, T &r) noexcept {
        r = x * y;
        return status_ok;
    }
};
struct Sqr {
    static constexpr SseGuard sse_guard = SseGuard::masks_only;
    template <class T> static Status eval(T x, T &r) noexcept {
        r = x * x;
        return status_ok;
    }
};

// Bit patterns only: a NaN keeps its payload.
template <class T> T with_sign(T magnitude, IntegerOf<T> sign) {
    const auto bits = std::bit_cast<IntegerOf<T>>(magnitude);
    return std::bit_cast<T>(static_cast<IntegerOf<T>>((bits & ~sign_bit<T>) | (sign & sign_bit<T>)));
}
struct Abs {
    static constexpr SseGuard sse_guard = SseGuard::masks_only;
    template <class T> static Status eval(T x, T &r) noexcept {
        r = with_sign(x, 0);
        return status_ok;
    }
};
struct CopySign {
    static constexpr SseGuard sse_guard = SseGuard::masks_only;
    template <class T> static Status eval(T x, T y, T &r) noexcept {
        r = with_sign(x, std::bit_cast<IntegerOf<T>>(y));
        return status_ok;
    }
};

// A zero divisor of a finite dividend is a pole, also under a zero.
struct Div {
    static constexpr X87Guard x87_guard = X87Guard::double_precision;
    static constexpr SseGuard sse_guard = SseGuard::masks_only;
    template <class T> static Status eval(T x, T y, T &r) noexcept {
        r = x / y;
        return y == 0 && std::isfinite(x) && is_zero(y) ? status_singularity : status_ok;
    }
    // By the bits: with denormals taken as zero a comparison would call a denormal zero.
    template <class T> static bool is_zero(T x) {
        return (std::bit_cast<IntegerOf<T>>(x) & ~sign_bit<T>) == 0;
    }
};
struct Inv {
    static constexpr X87Guard x87_guard = X87Guard::double_precision;
    static constexpr SseGuard sse_guard = SseGuard::masks_only;
    template <class T> static Status eval(T x, T &r) noexcept { return Div::eval(T(1), x, r); }
};

// The processor's root: correctly rounded.
struct Sqrt {
    template <class T> static Status eval(T x, T &r) noexcept {
        r = std::sqrt(x);
        return x < 0 ? status_domain : status_ok;
    }
};

// A NaN loses to a number; of two NaNs the second stays, quiet.
struct Fmax {
    template <class T> static Status eval(T x, T y, T &r) noexcept {
        r = pick(x > y, x, y);
        return status_ok;
    }
    template <class T> static T pick(bool first, T x, T y) {
        if (y != y)
            return x != x ? y + y : x; // the sum of a NaN with itself is the NaN made quiet
        return x != x || !first ? y : x;
    }
};
struct Fmin {
    template <class T> static Status eval(T x, T y, T &r) noexcept {
        r = Fmax::pick(x < y, x, y);
        return status_ok;
    }
};
struct MaxMag {
    template <class T> static Status eval(T x, T y, T &r) noexcept {
        const T ax = with_sign(x, 0), ay = with_sign(y, 0);
        r = Fmax::pick(ax > ay || (ax == ay && x > y), x, y);
        return status_ok;
    }
};
struct MinMag {
    template <class T> static Status eval(T x, T y, T &r) noexcept {
        const T ax = with_sign(x, 0), ay = with_sign(y, 0);
        r = Fmax::pick(ax < ay || (ax == ay && x < y), x, y);
        return status_ok;
    }
};
struct Fdim {
    template <class T> static Status eval(T x, T y, T &r) noexcept {
        r = x <= y ? T(0) : x - y;
        return status_ok;
    }
};

// Remainders are exact. Their domain ends at a zero divisor and at an infinite dividend.
template <class T> Status remainder_status(T x, T y, T r) {
    return r != r && x == x && y == y ? status_domain : status_ok;
}
struct Fmod {
    template <class T> static Status eval(T x, T y, T &r) noexcept {
        r = x != x || y != y ? x + y : std::fmod(x, y);
        return remainder_status(x, y, r);
    }
};
struct Remainder {
    template <class T> static Status eval(T x, T y, T &r) noexcept {
        r = x != x || y != y ? x + y : std::remainder(x, y);
        return remainder_status(x, y, r);
    }
};

// The neighbour of x on the way to y, through the ordering of bit patterns.
struct NextAfter {
    template <class T> static Status eval(T x, T y, T &r) noexcept {
        if (x != x || y != y) {
            r = x + y;
            return status_ok;
        }
        if (x == y) {
            r = y;
            return status_ok;
        }
        using Bits = IntegerOf<T>;
        if (x == 0) {
            r = std::bit_cast<T>(static_cast<Bits>((std::bit_cast<Bits>(y) & sign_bit<T>) | 1));
            return status_underflow;
        }
        const Bits step = (x < y) == (x > 0) ? 1 : -1;
        r = std::bit_cast<T>(static_cast<Bits>(std::bit_cast<Bits>(x) + step));
        if (std::isinf(r))
            return std::isfinite(x) ? status_overflow : status_ok;
        return with_sign(r, 0) < std::numeric_limits<T>::min() ? status_underflow : status_ok;
    }
};

// (scale_a * a + shift_a) / (scale_b * b + shift_b)
template <class T> struct LinearFrac {
    T scale_a, shift_a, scale_b, shift_b;
    Status eval(T a, T b, T &r) const noexcept {
        r = (scale_a * a + shift_a) / (scale_b * b + shift_b);
        return status_ok;
    }
};

} // namespace qor::fyn
