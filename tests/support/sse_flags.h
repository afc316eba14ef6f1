// The exception flags of the vector units, and equality of results down to the sign of zero.
#pragma once

#include <cmath>

namespace test {

inline constexpr unsigned flag_bits = 0x3F, underflow_flag = 0x10;
inline constexpr unsigned error_flags = 0x1D; // all but inexact and denormal operand

inline unsigned sse_flags() {
    unsigned control;
    asm volatile("stmxcsr %0" : "=m"(control));
    return control & flag_bits;
}

inline void clear_sse_flags() {
    unsigned control;
    asm volatile("stmxcsr %0" : "=m"(control));
    control &= ~flag_bits;
    asm volatile("ldmxcsr %0" : : "m"(control));
}

// Those of the error flags that stand since the last call.
inline unsigned raised() {
    const unsigned flags = sse_flags() & error_flags;
    clear_sse_flags();
    return flags;
}

template <class T> bool same(T a, T b) {
    return a == b ? std::signbit(a) == std::signbit(b) : a != a && b != b;
}

} // namespace test
