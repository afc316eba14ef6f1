// A generator of the test's own: x = 5 x + 7 mod 2^64, of which the upper half is the output.
#pragma once

#include "statistics/streams/stream.h"

namespace test {

struct UserState {
    std::uint64_t x, stride; // a step is `stride` elements
};

constexpr std::int32_t refusing_seed = -77; // as n: initialisation fails with it

inline std::int32_t user_init(std::int32_t method, void *stream, std::int32_t n, const void *params) {
    auto &state = qor::bex::state_of<UserState>(stream);
    const auto *skip = static_cast<const std::uint64_t *>(params);
    std::uint64_t steps = 0;
    switch (method) {
    case qor::bex::initialise:
        state = {n > 0 ? *static_cast<const std::uint32_t *>(params) : 1u, 1};
        return n < 0 ? n : 0;
    case qor::bex::leapfrog:
        steps = *static_cast<const std::uint32_t *>(params);
        break;
    case qor::bex::skip_ahead:
        steps = n == 2 ? *skip : 999;
        break;
    case qor::bex::skip_ahead_extended:
        for (std::int32_t i = 0; i < n; ++i) // a digit sum is enough to see every word arrive
            steps += skip[i];
        break;
    default:
        return qor::bex::status_bad_method;
    }
    for (; steps > 0; --steps)
        state.x = 5 * state.x + 7;
    if (method == qor::bex::leapfrog)
        state.stride = static_cast<std::uint64_t>(n);
    return 0;
}

inline std::uint32_t user_next(UserState &state) {
    const auto result = static_cast<std::uint32_t>(state.x >> 32);
    for (std::uint64_t i = 0; i < state.stride; ++i)
        state.x = 5 * state.x + 7;
    return result;
}

template <class T> std::int32_t user_real(void *stream, std::int32_t n, T *r, T a, T b) {
    const double s = (double{b} - double{a}) * 0x1p-32;
    for (std::int32_t i = 0; i < n; ++i)
        r[i] = static_cast<T>(a + user_next(qor::bex::state_of<UserState>(stream)) * s);
    return 0;
}

inline std::int32_t user_integer(void *stream, std::int32_t n, void *r) {
    for (std::int32_t i = 0; i < n; ++i)
        static_cast<std::uint32_t *>(r)[i] = user_next(qor::bex::state_of<UserState>(stream));
    return 0;
}

inline BexBrngProperties user_row() {
    return {32, 4, 1, 4, 32, user_init, user_real<float>, user_real<double>, user_integer};
}

// Its id, registered once a process.
inline std::uint32_t user_id() {
    static const BexBrngProperties row = user_row();
    static const auto id = static_cast<std::uint32_t>(__bexRegisterBrng(&row));
    return id;
}

} // namespace test
