// The vector-math record of a thread: mode word, status, callback, base pointer.
#pragma once

#include "qor_fyn.h"

#include <cstdint>
#include <initializer_list>

namespace qor::fyn {

struct FynThreadState {
    std::uint32_t mode; // 0: not yet taken from the environment
    std::int32_t status;
    FynErrorCallBack callback;
    const void *interf_input_vector;
};

// The calling thread's record, created on its first use. Without memory for it: message 773, exit code 3.
FynThreadState &thread_state();

void take_mode_from_environment(FynThreadState &state);

// The thread's mode word, taken from the environment at its first use.
inline std::uint32_t thread_mode(FynThreadState &state) {
    if (state.mode == 0) [[unlikely]]
        take_mode_from_environment(state);
    return state.mode;
}

// The mode that the value of QOR_FYN_MODE asks for; a malformed value is void as a whole.
std::uint32_t mode_from_text(const char *text);

inline constexpr std::uint32_t accuracy_field = 0xFu;
inline constexpr std::uint32_t error_field = 0xFF00u;
inline constexpr std::uint32_t spare_field = 0x30000u;
inline constexpr std::uint32_t denormal_field = 0x3C0000u;
inline constexpr std::uint32_t trap_field = 0xF000000u;

constexpr bool flushes_denormals(std::uint32_t mode) {
    return (mode & denormal_field) == FYN_DENORM_FLUSH_ON;
}

// A new mode merged into an old one: each field is replaced when it is given.
constexpr std::uint32_t merge_modes(std::uint32_t old_mode, std::uint32_t new_mode) {
    for (std::uint32_t field : {accuracy_field, error_field, denormal_field, trap_field, spare_field})
        if (new_mode & field)
            old_mode = (old_mode & ~field) | (new_mode & field);
    return old_mode;
}

// Merges a mode into the thread's; the one before.
inline std::uint32_t exchange_mode(FynThreadState &state, std::uint32_t mode) {
    const std::uint32_t old = thread_mode(state);
    state.mode = merge_modes(old, mode);
    return old;
}

// Puts a callback in place, or none; the one before. The mode's callback bit follows. A zero error field is
// not given, so the bit stays where it was the only one.
inline FynErrorCallBack exchange_callback(FynThreadState &state, FynErrorCallBack callback) {
    const FynErrorCallBack old = state.callback;
    state.callback = callback;
    exchange_mode(state, (thread_mode(state) & ~FYN_ERRMODE_CALLBACK) |
                             (callback != nullptr ? FYN_ERRMODE_CALLBACK : 0u));
    return old;
}

} // namespace qor::fyn
