// Skipping ahead in generators whose step T is linear over GF(2): T^N is g(T) with g(x) = x^N mod P(x), P
// being the characteristic polynomial of T.
//
// H. Haramoto, M. Matsumoto, T. Nishimura, F. Panneton, P. L'Ecuyer, "Efficient jump ahead for F2-linear
// random number generators", INFORMS Journal on Computing 20 (2008).
#pragma once

#include <cstdint>

namespace qor::bex {

struct SkipParams {
    std::uint64_t nskip;      // N
    std::int32_t words;       // 32-bit words of the remainder g
    std::int32_t degree;      // of P
    std::int32_t state_bytes; // of a work state
    std::int32_t count;       // handed on to the reduction
    const std::uint32_t
        *polynomial; // P's coefficients below its degree, that of x^i in bit i mod 32 of word i / 32
};

// A work state is a block of state_bytes bytes that only the generator understands; it can be moved and
// copied as bytes.
using AddToWork = void (*)(void *stream, void *work);                        // work += the stream's state
using LoadWork = void (*)(void *stream, void *work);                         // work = the stream's state
using StepWork = void (*)(void *work);                                       // work = T work
using StoreWork = void (*)(void *stream, void *work, std::int32_t position); // the stream's state = work
// Says what position the stream has after the skip, and whether there is anything to do (not 0).
using PrepareSkip = std::int32_t (*)(void *stream, const SkipParams *params, std::int32_t *position);

} // namespace qor::bex

// Both bring the stream's state s to g(T) s and return 0, or -4 when memory is short; the state is then as it
// was, as it is when g is 1. Horner's form adds s once for every term of g. The sliding window takes several
// terms at once from a table of v(T) s; while it runs, the stream's state serves to add the table's entries.
extern "C" {
std::int32_t __bex_SkipAheadHorner(void *stream, qor::bex::AddToWork add, qor::bex::LoadWork load,
                                   qor::bex::StepWork step, qor::bex::StoreWork store,
                                   qor::bex::PrepareSkip prepare, const qor::bex::SkipParams *params);
std::int32_t __bex_SkipAheadSWin(void *stream, qor::bex::AddToWork add, qor::bex::LoadWork load,
                                 qor::bex::StepWork step, qor::bex::StoreWork store,
                                 qor::bex::PrepareSkip prepare, const qor::bex::SkipParams *params);
}
