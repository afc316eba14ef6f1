// MT19937: 624 words; w[k + 624] = w[k + 397] ^ A (top bit of w[k], low 31 bits of w[k + 1]).
//
// M. Matsumoto, T. Nishimura, "Mersenne twister: a 623-dimensionally equidistributed uniform pseudo-random
// number generator", ACM TOMACS 8 (1998); the seeding from an array is the authors' of 2002. The period is
// 2^19937 - 1. From the key 0x123, 0x234, 0x345, 0x456 the first word is 1067595299.
#include "statistics/streams/generator.h"
#include "statistics/streams/mt19937_polynomial.h"
#include "statistics/streams/polynomial_skip.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace {

using namespace qor::bex;
using Word = std::uint32_t;

constexpr int length = 624, middle = 397, degree = 19937;
using Block = std::array<Word, length>;

// Behind the header. The block's words from `next` on are still to be tempered; length: none of them.
struct State {
    Word block[length];
    std::int32_t next;
};
constexpr int record_bytes = 2520;
static_assert(sizeof(Stream) + sizeof(State) <= record_bytes);

// The recurrence ---------------------------------------------------------------------------------

__m128i load(const Word *words) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(words)); }
__m128i broadcast(Word word) { return _mm_set1_epi32(static_cast<int>(word)); }

// w[k + 624] from w[k], w[k + 1] and w[k + 397], lane by lane.
__m128i twist(__m128i oldest, __m128i following, __m128i partner) {
    const __m128i joined = _mm_or_si128(_mm_and_si128(oldest, broadcast(0x80000000)),
                                        _mm_and_si128(following, broadcast(0x7FFFFFFF)));
    const __m128i one = broadcast(1), odd = _mm_cmpeq_epi32(_mm_and_si128(following, one), one);
    return _mm_xor_si128(_mm_xor_si128(partner, _mm_srli_epi32(joined, 1)),
                         _mm_and_si128(odd, broadcast(0x9908B0DF)));
}

// Words in several registers. A step is done to all of them before the next one, so that none waits for its
// predecessor's result.
template <std::size_t many> struct Several {
    __m128i v[many];

    template <class Step> [[gnu::always_inline]] Several then(Step step) const {
        Several result;
        for (std::size_t j = 0; j < many; ++j)
            result.v[j] = step(v[j]);
        return result;
    }
};
using One = Several<1>;
constexpr int batch = 4, batch_words = 4 * batch;

template <std::size_t many> [[gnu::always_inline]] inline Several<many> load_several(const Word *words) {
    Several<many> result;
    for (std::size_t j = 0; j < many; ++j)
        result.v[j] = load(words + 4 * j);
    return result;
}

template <std::size_t many> [[gnu::always_inline]] inline Several<many> temper(Several<many> y) {
    return y.then([](__m128i x) { return _mm_xor_si128(x, _mm_srli_epi32(x, 11)); })
        .then([](__m128i x) {
            return _mm_xor_si128(x, _mm_and_si128(_mm_slli_epi32(x, 7), broadcast(0x9D2C5680)));
        })
        .then([](__m128i x) {
            return _mm_xor_si128(x, _mm_and_si128(_mm_slli_epi32(x, 15), broadcast(0xEFC60000)));
        })
        .then([](__m128i x) { return _mm_xor_si128(x, _mm_srli_epi32(x, 18)); });
}

template <std::size_t many, class Sink>
[[gnu::always_inline]] inline void put_tempered(std::size_t i, Several<many> words, const Sink &sink) {
    words = temper(words);
    for (std::size_t j = 0; j < many; ++j)
        sink.put(i + 4 * j, words.v[j]);
}

// The next words in place of w[0], w[1], ...
template <std::size_t many>
[[gnu::always_inline]] inline Several<many> renew(Word *w, Several<many> following, Several<many> partner) {
    Several<many> fresh;
    for (std::size_t j = 0; j < many; ++j)
        fresh.v[j] = twist(load(w + 4 * j), following.v[j], partner.v[j]);
    for (std::size_t j = 0; j < many; ++j)
        _mm_storeu_si128(reinterpret_cast<__m128i *>(w + 4 * j), fresh.v[j]);
    return fresh;
}

// The next 624 words in place of w; take(k, words) is given them as they come, untempered.
template <class Take> void regenerate(Word *w, Take take) {
    constexpr int last_whole = (length - middle) / 4 * 4; // from here on partners are new words
    static_assert(last_whole % batch_words == 0 && last_whole + middle == length - 3);
    for (int k = 0; k < last_whole; k += batch_words)
        take(k, renew(w + k, load_several<batch>(w + k + 1), load_several<batch>(w + k + middle)));
    // Old 621 .. 623 and the new 0: partners of 224 .. 227, and what follows 620 .. 623.
    const One wrapped{_mm_or_si128(_mm_srli_si128(load(w + length - 4), 4),
                                   _mm_slli_si128(_mm_cvtsi32_si128(static_cast<int>(w[0])), 12))};
    int k = last_whole;
    take(k, renew(w + k, load_several<1>(w + k + 1), wrapped));
    for (k += 4; k <= length - 4 - batch_words; k += batch_words)
        take(k, renew(w + k, load_several<batch>(w + k + 1), load_several<batch>(w + k + middle - length)));
    for (; k < length - 4; k += 4)
        take(k, renew(w + k, load_several<1>(w + k + 1), load_several<1>(w + k + middle - length)));
    take(k, renew(w + k, wrapped, load_several<1>(w + middle - 4)));
}

constexpr auto discard = [](int, const auto &) {};

// An image from elsewhere may have brought any `next`.
int position(const State &state) {
    return static_cast<std::uint32_t>(state.next) < length ? state.next : length;
}

// Seeding ----------------------------------------------------------------------------------------

constexpr Word scrambled(Word before) { return before ^ before >> 30; }

constexpr Block seeding_start = [] {
    Block w{19650218};
    for (Word k = 1; k < length; ++k)
        w[k] = 1812433253 * scrambled(w[k - 1]) + k;
    return w;
}();

// Goes round the words 1 .. 623: each is mixed with the one before it and given what `addend` says of it.
class Seeding {
    Word *w_;
    Word before_;
    Word p_ = 1;

  public:
    explicit Seeding(Word *w) : w_(w), before_(seeding_start[0]) {
        std::copy(seeding_start.begin(), seeding_start.end(), w);
    }

    Word place() const { return p_; }
    void mix(Word multiplier, Word addend) {
        before_ = (w_[p_] ^ scrambled(before_) * multiplier) + addend;
        w_[p_] = before_;
        if (++p_ == length)
            p_ = 1; // word 0 is the copy of word 623 that before_ holds already
    }
};

void seed_block(Word *w, const Word *key, Word n) {
    Seeding seeding(w);
    Word q = 0;
    for (Word rounds = std::max<Word>(length, n); rounds > 0; --rounds) {
        seeding.mix(1664525, key[q] + q);
        if (++q == n)
            q = 0;
    }
    for (int rounds = length - 1; rounds > 0; --rounds)
        seeding.mix(1566083941, 0 - seeding.place());
    w[0] = 0x80000000;
}

// Skipping ---------------------------------------------------------------------------------------

// A work state is a block as a ring, so that a step renews one word. The stream's block begins at word 0.
struct Ring {
    Word words[length];
    int oldest;
};
static_assert(sizeof(Ring) <= record_bytes);

int after(int place, int distance) {
    return place < length - distance ? place + distance : place + distance - length;
}

void load_ring(void *stream, void *work) {
    Ring &ring = *static_cast<Ring *>(work);
    std::copy_n(state_of<State>(stream).block, length, ring.words);
    ring.oldest = 0;
}

void add_to_ring(void *stream, void *work) {
    const Word *const block = state_of<State>(stream).block;
    Ring &ring = *static_cast<Ring *>(work);
    const int tail = length - ring.oldest;
    for (int k = 0; k < tail; ++k)
        ring.words[ring.oldest + k] ^= block[k];
    for (int k = tail; k < length; ++k)
        ring.words[k - tail] ^= block[k];
}

void step_ring(void *work) {
    Ring &ring = *static_cast<Ring *>(work);
    const auto at = [&](int distance) {
        return _mm_cvtsi32_si128(static_cast<int>(ring.words[after(ring.oldest, distance)]));
    };
    ring.words[ring.oldest] = static_cast<Word>(_mm_cvtsi128_si32(twist(at(0), at(1), at(middle))));
    ring.oldest = after(ring.oldest, 1);
}

void store_ring(void *stream, void *work, std::int32_t next) {
    const Ring &ring = *static_cast<Ring *>(work);
    State &state = state_of<State>(stream);
    std::rotate_copy(ring.words, ring.words + ring.oldest, std::end(ring.words), state.block);
    state.next = next;
}

// The stream already says where in the block it will be.
std::int32_t keep_position(void *stream, const SkipParams *, std::int32_t *next) {
    *next = state_of<State>(stream).next;
    return 1;
}

constexpr Block polynomial = [] {
    Block words{};
    for (const int e : mt19937_exponents)
        words[static_cast<std::size_t>(e / 32)] |= Word{1} << e % 32;
    return words;
}();
static_assert(mt19937_exponents[0] == degree && std::size(mt19937_exponents) == 135);

// ------------------------------------------------------------------------------------------------

struct Mt19937 {
    using State = ::State;
    using Word = ::Word;
    static constexpr int bits = 32;
    static constexpr double scale = 0x1p-32;

    static std::int32_t initialise(void *stream, std::int32_t n, const std::uint32_t *seed) {
        constexpr Word no_seed[] = {1};
        State &state = state_of<State>(stream);
        if (n < 1)
            seed_block(state.block, no_seed, 1);
        else
            seed_block(state.block, seed, static_cast<Word>(n));
        state.next = length;
        return status_ok;
    }

    // Both ways leave the block in which the last word passed over lies, as if it had been drawn.
    static std::int32_t skip_ahead(void *stream, std::uint64_t count) {
        State &state = state_of<State>(stream);
        if (count <= 0xFFFFF) {
            int next = position(state) + static_cast<int>(count);
            for (; next > length; next -= length)
                regenerate(state.block, discard);
            state.next = next;
            return status_ok;
        }
        // From the start of the next block: there the count cannot overflow, and no word's low bits are the
        // seeding's, which the recurrence does not use.
        const State before = state;
        count -= static_cast<std::uint64_t>(length - position(state));
        regenerate(state.block, discard);
        const std::uint64_t whole_blocks = (count - 1) / length * length;
        state.next = static_cast<std::int32_t>(count - whole_blocks);
        const SkipParams params = {
            whole_blocks, length, degree, record_bytes, std::size(mt19937_exponents), polynomial.data()};
        const std::int32_t status = __bex_SkipAheadSWin(stream, add_to_ring, load_ring, step_ring, store_ring,
                                                        keep_position, &params);
        if (status != status_ok)
            state = before;
        return status;
    }

    template <class Sink> static void generate(State &state, std::size_t n, const Sink sink) {
        Word *const w = state.block;
        int next = position(state);
        std::size_t i = 0;
        while (i < n) {
            if (next == length) {
                if (n - i >= length) {
                    regenerate(w, [&](int k, const auto &words) {
                        put_tempered(i + static_cast<unsigned>(k), words, sink);
                    });
                    i += length;
                    continue;
                }
                regenerate(w, discard);
                next = 0;
            }
            const int end =
                static_cast<int>(std::min<std::size_t>(length, static_cast<unsigned>(next) + n - i));
            for (; next <= end - batch_words; next += batch_words, i += batch_words)
                put_tempered(i, load_several<batch>(w + next), sink);
            for (; next <= end - 4; next += 4, i += 4)
                put_tempered(i, load_several<1>(w + next), sink);
            for (; next < end; ++next, ++i) {
                const One y = temper(One{_mm_cvtsi32_si128(static_cast<int>(w[next]))});
                sink.put_one(i, static_cast<Word>(_mm_cvtsi128_si32(y.v[0])));
            }
        }
        state.next = next;
    }
};

} // namespace

QOR_BEX_GENERATOR_ENTRIES(MT19937, Mt19937)
