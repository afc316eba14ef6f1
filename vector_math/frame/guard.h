// The floating-point environment of a kernel: put into working order at entry, given back at exit with
// the flags that the kernel raised.
//
// A compiler may move arithmetic across a write of a control register, so the guarded work stands in a
// function of its own that is never inlined (run_guarded).
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/frame/thread_state.h"

#include <cstdint>

namespace qor::fyn {

// The control word of the x87 unit, saved and restored.
template <X87Guard kind> class X87Environment {
    static constexpr std::uint16_t all_masks = 0x3F;
    static constexpr std::uint16_t precision_bits = kind == X87Guard::extended ? 0x300 : 0x200;

  public:
    X87Environment() {
        asm volatile("fnstcw %0" : "=m"(saved));
        if constexpr (kind == X87Guard::masks_only) {
            if ((saved & all_masks) != all_masks)
                change(saved | all_masks);
        } else {
            // all masks, the kind's precision, round to nearest
            if ((saved & 0xF3F) != (precision_bits | all_masks))
                change((saved & 0xF0C0) | precision_bits | all_masks);
        }
    }
    ~X87Environment() {
        if (changed)
            asm volatile("fldcw %0" : : "m"(saved));
    }
    X87Environment(const X87Environment &) = delete;
    X87Environment &operator=(const X87Environment &) = delete;

  private:
    void change(int control) {
        const auto word = static_cast<std::uint16_t>(control);
        asm volatile("fnclex\n\tfldcw %0" : : "m"(word));
        changed = true;
    }
    std::uint16_t saved;
    bool changed = false;
};

// The control register of the vector units.
class SseEnvironment {
    static constexpr std::uint32_t all_masks = 0x1F80, flags = 0x3F;

  public:
    explicit SseEnvironment(SseGuard kind)
        : keep_flags(kind != SseGuard::silent && kind != SseGuard::quiet), saved(read()) {
        changed = !keep_flags;
        switch (kind) {
        case SseGuard::masks_only:
        case SseGuard::quiet:
            if ((saved & all_masks) != all_masks)
                change(saved | all_masks);
            break;
        case SseGuard::mode_driven:
            aim_at(flushes_denormals(thread_mode(thread_state())) ? 0x9FC0 : 0x1F80);
            break;
        case SseGuard::silent:
            aim_at(0x1F80);
            break;
        }
    }
    ~SseEnvironment() {
        if (!changed)
            return;
        const std::uint32_t now = read();
        const std::uint32_t restored = keep_flags ? saved | (now & flags) : saved;
        if (now != restored)
            write(restored);
    }
    SseEnvironment(const SseEnvironment &) = delete;
    SseEnvironment &operator=(const SseEnvironment &) = delete;

  private:
    static std::uint32_t read() {
        std::uint32_t control;
        asm volatile("stmxcsr %0" : "=m"(control));
        return control;
    }
    static void write(std::uint32_t control) { asm volatile("ldmxcsr %0" : : "m"(control)); }
    void change(std::uint32_t control) {
        write(control);
        changed = true;
    }
    // Masks, rounding and flushing as in `target`.
    void aim_at(std::uint32_t target) {
        if ((saved & 0xFFC0) != target)
            change((saved & 0xFFFF003F) | target);
    }
    bool keep_flags;
    std::uint32_t saved;
    bool changed = false;
};

// The guard kinds that a function asks for, with the usual ones where it does not.
template <class F> consteval X87Guard x87_guard_of() {
    if constexpr (requires { F::x87_guard; })
        return F::x87_guard;
    else
        return X87Guard::masks_only;
}
template <class F, class T> consteval SseGuard sse_guard_of() {
    if constexpr (requires { F::template sse_guard_for<T>; })
        return F::template sse_guard_for<T>;
    else if constexpr (requires { F::sse_guard; })
        return F::sse_guard;
    else
        return SseGuard::mode_driven;
}

// Runs `work`, a function that is never inlined, in the environment of function F over elements of type T.
template <class F, class T, class... Arguments>
void run_guarded(void (*work)(Arguments...), Arguments... arguments) {
    X87Environment<x87_guard_of<F>()> x87;
    SseEnvironment sse(sse_guard_of<F, T>());
    work(arguments...);
}

} // namespace qor::fyn
