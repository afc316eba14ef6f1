// Powers modulo the moduli of the congruential generators, by right-to-left binary exponentiation.
#pragma once

#include <cstdint>

namespace qor::bex {

// Modulo 2^31 - 1, a Mersenne prime: p = (p mod 2^31) + (p div 2^31).
struct Modulus2P31M1 {
    using Word = std::uint32_t;
    static constexpr Word value = 0x7FFFFFFF;
    // The product of two words below 2^31, or of any word and 1.
    static constexpr Word multiply(Word a, Word b) {
        const std::uint64_t p = std::uint64_t{a} * b;
        const Word r = static_cast<Word>((p & value) + (p >> 31));
        return r >= value ? r - value : r;
    }
};

// Modulo 2^59.
struct Modulus2P59 {
    using Word = std::uint64_t;
    static constexpr Word mask = (Word{1} << 59) - 1;
    static constexpr Word multiply(Word a, Word b) { return a * b & mask; }
};

template <class Word, class Multiply> constexpr Word power(Word base, std::uint64_t e, Multiply multiply) {
    Word result = 1;
    for (; e != 0; e >>= 1) {
        if (e & 1)
            result = multiply(result, base);
        base = multiply(base, base);
    }
    return result;
}

} // namespace qor::bex

extern "C" {
// base^e; 1 when e is 0.
std::uint32_t __bexiPowMod2P31M1(std::uint32_t base, std::uint64_t e);
std::uint64_t __bexiPowMod2P59(std::uint64_t base, std::uint64_t e);
std::uint32_t __bexiPowMod(std::uint32_t base, std::uint64_t e, std::uint32_t modulus); // modulus > 0
}
