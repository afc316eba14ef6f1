// The multiplicative congruential generators x -> A x mod m, many steps at a time.
//
// Lane k of a block of L words, in eight registers, holds x A^k; every further block multiplies all lanes by
// A^L. With fewer lanes the loops wait for the multiplications. The current x is handed out before the state
// advances.
// The multiplier lives in the state: a stream that takes every s-th element of the sequence has A^s.
#pragma once

#include "statistics/streams/generator.h"
#include "statistics/streams/power.h"

#include <algorithm>

namespace qor::bex {

// `Lanes` multiplies registers of words: constructed from A, called with a register.
template <class Modulus, class Lanes> struct Congruential {
    using Word = typename Modulus::Word;
    struct State {
        Word x, multiplier;
    };

    static std::int32_t leapfrog(void *stream, std::uint32_t k, std::int32_t streams) {
        State &state = state_of<State>(stream);
        state.x = Modulus::multiply(state.x, power(state.multiplier, k, Modulus::multiply));
        state.multiplier = power(state.multiplier, static_cast<std::uint32_t>(streams), Modulus::multiply);
        return status_ok;
    }

    static std::int32_t skip_ahead(void *stream, std::uint64_t count) {
        State &state = state_of<State>(stream);
        state.x = Modulus::multiply(state.x, power(state.multiplier, count, Modulus::multiply));
        return status_ok;
    }

    template <class Sink> static void generate(State &state, std::size_t n, const Sink sink) {
        constexpr std::size_t registers = 8, per_register = sizeof(__m128i) / sizeof(Word);
        constexpr std::size_t lanes = registers * per_register;
        std::size_t i = 0;
        if (n < 16) { // sooner done than a block of powers
            Word x = state.x;
            for (; i < n; ++i) {
                sink.put_one(i, x);
                x = Modulus::multiply(x, state.multiplier);
            }
            state.x = x;
            return;
        }
        alignas(16) Word block[lanes] = {state.x};
        auto *const block_registers = reinterpret_cast<__m128i *>(block);
        Word multiplier = state.multiplier;
        for (std::size_t filled = 1; filled < per_register; filled *= 2) {
            for (std::size_t k = 0; k < filled; ++k)
                block[filled + k] = Modulus::multiply(block[k], multiplier);
            multiplier = Modulus::multiply(multiplier, multiplier);
        }
        for (std::size_t filled = 1; filled < registers; filled *= 2) {
            const Lanes times_multiplier(multiplier);
            for (std::size_t k = 0; k < filled; ++k)
                block_registers[filled + k] = times_multiplier(block_registers[k]);
            multiplier = Modulus::multiply(multiplier, multiplier);
        }
        const Lanes times_multiplier(multiplier);
        __m128i v[registers];
        std::copy_n(block_registers, registers, v);
        for (; n - i >= lanes; i += lanes)
            for (std::size_t k = 0; k < registers; ++k) {
                sink.put(i + k * per_register, v[k]);
                v[k] = times_multiplier(v[k]);
            }
        for (std::size_t k = 0; k < registers; ++k)
            _mm_store_si128(block_registers + k, v[k]);
        const std::size_t left = n - i;
        std::size_t k = 0;
        for (; left - k >= per_register; k += per_register)
            sink.put(i + k, _mm_load_si128(block_registers + k / per_register));
        for (; k < left; ++k)
            sink.put_one(i + k, block[k]);
        state.x = block[left];
    }
};

} // namespace qor::bex
