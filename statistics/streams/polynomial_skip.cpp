#include "statistics/streams/polynomial_skip.h"

#include "statistics/streams/polynomial_remainder.h"
#include "statistics/streams/stream.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace qor::bex {
namespace {

struct Remainder {
    const std::uint32_t *words;
    std::int32_t top; // its degree, -1 for the remainder 0

    std::uint32_t bit(std::int32_t i) const { return words[i / 32] >> i % 32 & 1; }
};

std::int32_t degree_of(const std::uint32_t *words, std::int32_t count) {
    while (count > 0 && words[count - 1] == 0)
        --count;
    return count == 0 ? -1 : 32 * count - 1 - std::countl_zero(words[count - 1]);
}

// What the two forms share. `apply(g, works, stride, position)` leaves g(T) s in the first of `states` work
// states, which stand `stride` bytes apart; g's degree is at least 1.
template <class Apply>
std::int32_t skip(void *stream, AddToWork add, LoadWork load, StoreWork store, PrepareSkip prepare,
                  const SkipParams &params, std::int32_t states, Apply apply) {
    std::int32_t position = 0;
    if (prepare(stream, &params, &position) == 0)
        return status_ok;
    const ScratchBlock remainder(8 * static_cast<std::uint64_t>(params.words));
    if (!remainder.data)
        return status_no_memory;
    const std::size_t stride = (static_cast<std::size_t>(params.state_bytes) + 127) / 128 * 128;
    const ScratchBlock works(static_cast<std::uint64_t>(states) * stride);
    if (!works.data)
        return status_no_memory;
    auto *const g = static_cast<std::uint32_t *>(remainder.data);
    if (__bexPolyRem(params.nskip, params.degree, params.count, params.polynomial, params.words, g) !=
        status_ok)
        return status_no_memory;
    auto *const work = static_cast<char *>(works.data);
    const std::int32_t top = degree_of(g, params.words);
    if (top == 0)
        return status_ok;
    if (top > 0) {
        apply(Remainder{g, top}, work, stride, position);
    } else { // the state vanishes
        load(stream, work);
        add(stream, work);
    }
    store(stream, work, position);
    return status_ok;
}

} // namespace
} // namespace qor::bex

using namespace qor::bex;

std::int32_t __bex_SkipAheadHorner(void *stream, AddToWork add, LoadWork load, StepWork step, StoreWork store,
                                   PrepareSkip prepare, const SkipParams *params) {
    const auto apply = [=](const Remainder &g, char *work, std::size_t, std::int32_t) {
        load(stream, work);
        step(work);
        for (std::int32_t i = g.top - 1; i > 0; --i) {
            if (g.bit(i))
                add(stream, work);
            step(work);
        }
        if (g.bit(0))
            add(stream, work);
    };
    return skip(stream, add, load, store, prepare, *params, 1, apply);
}

std::int32_t __bex_SkipAheadSWin(void *stream, AddToWork add, LoadWork load, StepWork step, StoreWork store,
                                 PrepareSkip prepare, const SkipParams *params) {
    // A table of 2^(width - 1) entries against degree / (width + 1) additions.
    const auto degree_bits =
        static_cast<std::int32_t>(std::bit_width(static_cast<std::uint32_t>(std::max(params->degree, 0))));
    const std::int32_t width = degree_bits / 2 + 1, entries = 1 << (width - 1);

    const auto apply = [=](const Remainder &g, char *work, std::size_t stride, std::int32_t position) {
        const auto bytes = static_cast<std::size_t>(params->state_bytes);
        // v(T) s for the odd v = 1, 3, 5, ...: from v = 1 + x^k u, u odd.
        const auto entry = [=](std::uint32_t v) { return work + (1 + v / 2) * stride; };
        load(stream, entry(1));
        for (std::uint32_t v = 3; v < 2 * static_cast<std::uint32_t>(entries); v += 2) {
            const int k = std::countr_zero(v - 1);
            std::memcpy(entry(v), entry(v >> k), bytes);
            for (int i = 0; i < k; ++i)
                step(entry(v));
            add(stream, entry(v));
        }
        // From the top of g: a step for every coefficient, and the table's entry for each run of at most
        // `width` of them that begins and ends with a one.
        for (std::int32_t i = g.top; i >= 0; --i) {
            if (!g.bit(i)) {
                step(work);
                continue;
            }
            std::int32_t last = std::max(i - width + 1, 0);
            while (!g.bit(last))
                ++last;
            const bool first = i == g.top;
            std::uint32_t v = 1;
            for (; i > last; --i)
                v = 2 * v + g.bit(i - 1);
            if (first) {
                std::memcpy(work, entry(v), bytes);
                continue;
            }
            for (auto k = std::bit_width(v); k > 0; --k)
                step(work);
            store(stream, entry(v), position);
            add(stream, work);
        }
    };
    return skip(stream, add, load, store, prepare, *params, 1 + entries, apply);
}
