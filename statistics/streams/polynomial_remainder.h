// x^e mod P over GF(2): how far-off states of generators that are linear over GF(2) are reached.
//
// Polynomials are arrays of 32-bit words, the coefficient of x^i in bit i mod 32 of word i / 32.
#pragma once

#include "core_interface/core.h"

#include <cstdint>

namespace qor::bex {

// A block of memory for the length of a scope, aligned to 128 bytes. `data` is null when there was none to be
// had.
struct ScratchBlock {
    void *const data;

    explicit ScratchBlock(std::uint64_t bytes) : data(qor_serv_allocate(bytes, 128)) {}
    ~ScratchBlock() { release(data); }
    ScratchBlock(const ScratchBlock &) = delete;
    ScratchBlock &operator=(const ScratchBlock &) = delete;
};

// __bexPolyRem with or without the processor's carry-less multiplication.
std::int32_t polynomial_remainder(std::uint64_t e, std::int32_t degree, const std::uint32_t *polynomial,
                                  std::int32_t words, std::uint32_t *out, bool carryless_multiply);

} // namespace qor::bex

// Stores x^e mod P into out[0 .. words - 1], for P of the given degree. Of the polynomial the coefficients
// below the degree are read, from at most `words` words; the leading one is taken to be 1. `count`, the
// number of P's terms in the generators' parameters, is not needed: the work does not depend on it.
// Returns 0, or -4 when there is no memory for the scratch (out is then as it was).
extern "C" std::int32_t __bexPolyRem(std::uint64_t e, std::int32_t degree, std::int32_t count,
                                     const std::uint32_t *polynomial, std::int32_t words, std::uint32_t *out);
