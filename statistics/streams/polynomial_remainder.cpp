// The power grows by squaring from the longest prefix of e below the degree. Squaring over GF(2) spreads the
// bits apart; a following factor x moves them by one more. The square is then reduced from its top, 64 bits
// at a time: with q such that the top 64 coefficients of q P are those to be cleared, q P is added.
#include "statistics/streams/polynomial_remainder.h"

#include "core_interface/system.h"
#include "statistics/streams/stream.h"

#include <algorithm>
#include <cstring>
#include <wmmintrin.h>

namespace qor::bex {
namespace {

using Word = std::uint64_t;

// Bits at .. at + 63.
Word bits_at(const Word *words, std::int64_t at) {
    const std::int64_t i = at / 64;
    const int shift = static_cast<int>(at % 64);
    return shift == 0 ? words[i] : words[i] >> shift | words[i + 1] << (64 - shift);
}

// The q for which the coefficients of x^degree .. x^(degree + 63) in q P are `top`. `leading` holds P's own
// first 64 coefficients, that of x^degree in bit 63.
Word quotient(Word top, Word leading) {
    Word q = 0;
    for (int i = 63; i >= 0; --i) {
        const Word chosen = 0 - (top >> i & 1);
        q |= chosen & Word{1} << i;
        top ^= chosen & leading >> (63 - i);
    }
    return q;
}

// Adding q P to a sum of n words, n enough for the product of P and any word; the sum has room for one
// word more, which stays as it is. Each multiplier lays out its own form of P in `room`.

// P times 0 .. 15, each row in n words with a zero word before and behind it. The j-th byte of q selects two
// rows; both are read j bytes further down, the row of the upper half moves by four bits more.
class TableMultiplier {
    const char *rows_;
    std::int64_t n_, stride_;
    Word leading_;

    __m128i row(Word w, std::int64_t byte) const {
        return _mm_loadu_si128(
            reinterpret_cast<const __m128i *>(rows_ + static_cast<std::int64_t>(w) * stride_ + byte));
    }

  public:
    static constexpr std::int64_t words(std::int64_t n) { return 16 * (n + 1) + 1; }

    TableMultiplier(Word *room, const Word *p, std::int64_t n, Word leading)
        : rows_(reinterpret_cast<const char *>(room + 1)), n_(n), stride_(8 * (n + 1)), leading_(leading) {
        std::fill_n(room, words(n), 0);
        for (std::int64_t w = 1; w < 16; ++w) {
            Word *const to = room + 1 + w * (n + 1);
            const Word *const half = room + 1 + w / 2 * (n + 1);
            for (std::int64_t i = 0; i < n; ++i)
                to[i] = (half[i] << 1 | (i > 0 ? half[i - 1] >> 63 : 0)) ^ (w % 2 ? p[i] : 0);
        }
    }

    void add_product(Word *sum, Word top) const {
        const Word q = quotient(top, leading_);
        __m128i before = _mm_setzero_si128(); // the upper halves' sum, eight bytes back
        for (std::int64_t i = 0; i < n_; i += 2) {
            __m128i lower = row(q & 15, 8 * i), upper = row(q >> 4 & 15, 8 * i);
            for (int j = 1; j < 8; ++j) {
                lower = _mm_xor_si128(lower, row(q >> 8 * j & 15, 8 * i - j));
                upper = _mm_xor_si128(upper, row(q >> (8 * j + 4) & 15, 8 * i - j));
            }
            before = _mm_unpacklo_epi64(_mm_unpackhi_epi64(before, before), upper);
            const __m128i moved = _mm_or_si128(_mm_slli_epi64(upper, 4), _mm_srli_epi64(before, 60));
            before = upper;
            auto *const at = reinterpret_cast<__m128i *>(sum + i);
            _mm_storeu_si128(at, _mm_xor_si128(_mm_loadu_si128(at), _mm_xor_si128(lower, moved)));
        }
    }
};

#define QOR_PCLMUL __attribute__((target("pclmul")))

class CarrylessMultiplier {
    const Word *p_;
    std::int64_t n_;
    __m128i inverse_; // of P's leading coefficients as a power series in 1/x

  public:
    CarrylessMultiplier(Word *room, const Word *p, std::int64_t n, Word leading)
        : p_(room), n_(n),
          inverse_(_mm_cvtsi64_si128(static_cast<std::int64_t>(quotient(Word{1} << 63, leading)))) {
        std::copy_n(p, n, room);
        room[n] = 0;
    }

    QOR_PCLMUL void add_product(Word *sum, Word top) const {
        const __m128i wide =
            _mm_clmulepi64_si128(_mm_cvtsi64_si128(static_cast<std::int64_t>(top)), inverse_, 0);
        const __m128i q = _mm_or_si128(_mm_srli_epi64(wide, 63), _mm_slli_epi64(_mm_srli_si128(wide, 8), 1));
        __m128i carry = _mm_setzero_si128();
        for (std::int64_t i = 0; i < n_; i += 2) {
            const __m128i p = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p_ + i));
            const __m128i low = _mm_clmulepi64_si128(p, q, 0x00), high = _mm_clmulepi64_si128(p, q, 0x01);
            const __m128i product = _mm_xor_si128(_mm_xor_si128(low, carry), _mm_slli_si128(high, 8));
            carry = _mm_srli_si128(high, 8);
            auto *const at = reinterpret_cast<__m128i *>(sum + i);
            _mm_storeu_si128(at, _mm_xor_si128(_mm_loadu_si128(at), product));
        }
    }
};

// Bit i of the half moves to bit 2i.
Word spread(Word half) {
    half = (half | half << 16) & 0x0000FFFF0000FFFF;
    half = (half | half << 8) & 0x00FF00FF00FF00FF;
    half = (half | half << 4) & 0x0F0F0F0F0F0F0F0F;
    half = (half | half << 2) & 0x3333333333333333;
    return (half | half << 1) & 0x5555555555555555;
}

// r, of `length` words, becomes r^2 x^shift, of twice as many; shift is 0 or 1.
void square(Word *r, std::int64_t length, int shift) {
    for (std::int64_t i = length - 1; i >= 0; --i) {
        const Word word = r[i];
        r[2 * i] = spread(word & 0xFFFFFFFF) << shift;
        r[2 * i + 1] = spread(word >> 32) << shift;
    }
}

template <class Multiplier>
void power_of_x(Word *r, std::uint64_t e, std::int64_t degree, const Multiplier &multiplier) {
    int rest = 64; // bits of e still to come
    std::uint64_t prefix = 0;
    while (rest > 0 && e >> (rest - 1) < static_cast<std::uint64_t>(degree))
        prefix = e >> --rest;
    r[prefix / 64] = Word{1} << prefix % 64;
    while (rest-- > 0) {
        square(r, degree / 64 + 1, static_cast<int>(e >> rest & 1));
        // The degree is at most 2 degree - 1.
        for (std::int64_t k = (degree - 1) / 64; k >= 0; --k)
            if (const Word top = bits_at(r, degree + 64 * k))
                multiplier.add_product(r + k, top);
    }
}

} // namespace

std::int32_t polynomial_remainder(std::uint64_t e, std::int32_t degree, const std::uint32_t *polynomial,
                                  std::int32_t words, std::uint32_t *out, bool carryless_multiply) {
    const auto clear_out = [&] { std::fill_n(out, std::max(words, 0), 0); };
    if (degree < 1) { // P = 1
        clear_out();
        return status_ok;
    }
    if (e < static_cast<std::uint64_t>(degree)) {
        clear_out();
        if (static_cast<std::int64_t>(e / 32) < words)
            out[e / 32] = std::uint32_t{1} << e % 32;
        return status_ok;
    }
    // In the scratch: the power, with room for its square and the word behind a sum; P; the multiplier's
    // form of P.
    const std::int64_t n = (std::int64_t{degree} + 64 + 63) / 64;
    const std::int64_t power_words = 2 * n + 2;
    constexpr std::int64_t least_n = 4; // below it 200 bytes a word would not do
    static_assert(2 * least_n + 2 + least_n + TableMultiplier::words(least_n) <= 200 / 8 * least_n);
    const ScratchBlock scratch(200 * static_cast<std::uint64_t>(std::max(n, least_n)));
    if (!scratch.data)
        return status_no_memory;
    Word *const power = static_cast<Word *>(scratch.data), *const p = power + power_words,
                *const room = p + n;
    std::fill_n(power, power_words + n, 0);
    const std::int32_t used = std::clamp((degree - 1) / 32 + 1, 0, std::max(words, 0));
    std::memcpy(p, polynomial, static_cast<std::size_t>(used) * sizeof *polynomial);
    p[degree / 64] = (p[degree / 64] & ((Word{1} << degree % 64) - 1)) | Word{1} << degree % 64;
    const Word leading = degree >= 63 ? bits_at(p, degree - 63) : p[0] << (63 - degree);
    if (carryless_multiply)
        power_of_x(power, e, degree, CarrylessMultiplier(room, p, n, leading));
    else
        power_of_x(power, e, degree, TableMultiplier(room, p, n, leading));
    clear_out();
    std::memcpy(out, power, static_cast<std::size_t>(used) * sizeof *out);
    return status_ok;
}

} // namespace qor::bex

std::int32_t __bexPolyRem(std::uint64_t e, std::int32_t degree, std::int32_t, const std::uint32_t *polynomial,
                          std::int32_t words, std::uint32_t *out) {
    return qor::bex::polynomial_remainder(e, degree, polynomial, words, out,
                                          qor::system::processor_features().carryless_multiply);
}
