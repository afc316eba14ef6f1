// What the basic generators share: the initialisation entry's dispatch, and the way from raw words to
// the three output entries.
//
// A generator is a structure of static members:
//
//   State                        what stands behind the stream's header
//   Word, bits, scale            its raw word, how many of its low bits are used, the scale c of the mapping
//   float_below_b                optional, true: a float that rounded up to b becomes its lower neighbour
//   initialise(stream, n, seed)  seeds from n 32-bit words and returns a status
//   leapfrog(stream, k, streams), skip_ahead(stream, count), skip_ahead_extended(stream, n, words)
//                                optional; without one the stream is left as it is and the method refused
//   generate(state, n, sink)     hands the next n raw words to the sink, in order
//
// A sink takes words from registers: put(i, v) stores what becomes of the 16 / sizeof(Word) words of v as
// elements i, i + 1, ...; put_one(i, word) does the same for one word. Both give the same bits, so how a
// sequence is cut into calls, blocks and tails leaves no trace. The sink's work is inlined into the
// generator's loop: raw words of the floating entries never visit memory.
#pragma once

#include "statistics/streams/stream.h"

#include <bit>
#include <cstddef>
#include <emmintrin.h>
#include <limits>

namespace qor::bex {

template <class Generator>
std::int32_t init_stream(std::int32_t method, void *stream, std::int32_t n, const void *params) {
    switch (method) {
    case initialise:
        return Generator::initialise(stream, n, static_cast<const std::uint32_t *>(params));
    case leapfrog:
        if constexpr (requires { &Generator::leapfrog; })
            return Generator::leapfrog(stream, *static_cast<const std::uint32_t *>(params), n);
        else
            return status_no_leapfrog;
    case skip_ahead:
        if constexpr (requires { &Generator::skip_ahead; })
            return Generator::skip_ahead(stream, *static_cast<const std::uint64_t *>(params));
        else
            return status_no_skip_ahead;
    case skip_ahead_extended:
        if constexpr (requires { &Generator::skip_ahead_extended; })
            return Generator::skip_ahead_extended(stream, n, static_cast<const std::uint64_t *>(params));
        else
            return status_no_skip_ahead_extended;
    default:
        return status_bad_method;
    }
}

// Conversions ------------------------------------------------------------------------------------
// Each lane as the scalar conversion of an unsigned word rounds it: at most once.

struct DoublePair {
    __m128d low, high;
};

// Four 32-bit words: w becomes the low bits of 2^52 + w.
inline DoublePair four_to_doubles(__m128i words) {
    const __m128i exponent = _mm_set1_epi32(0x43300000);
    const __m128d bias = _mm_set1_pd(0x1p52);
    return {_mm_sub_pd(_mm_castsi128_pd(_mm_unpacklo_epi32(words, exponent)), bias),
            _mm_sub_pd(_mm_castsi128_pd(_mm_unpackhi_epi32(words, exponent)), bias)};
}

// Four 32-bit words. Halves of 16 bits convert exactly; their sum rounds.
template <int bits> __m128 four_to_floats(__m128i words) {
    if constexpr (bits < 32)
        return _mm_cvtepi32_ps(words);
    const __m128 high = _mm_mul_ps(_mm_cvtepi32_ps(_mm_srli_epi32(words, 16)), _mm_set1_ps(0x1p16F));
    const __m128 low = _mm_cvtepi32_ps(_mm_and_si128(words, _mm_set1_epi32(0xFFFF)));
    return _mm_add_ps(high, low);
}

// Two 64-bit words. The high half h as 2^84 + 2^32 h, the low half l as 2^52 + l; the sum rounds.
inline __m128d two_to_doubles(__m128i words) {
    const __m128i low_half = _mm_and_si128(words, _mm_set1_epi64x(0xFFFFFFFF));
    const __m128i low = _mm_or_si128(low_half, _mm_set1_epi64x(0x4330000000000000));
    const __m128i high = _mm_or_si128(_mm_srli_epi64(words, 32), _mm_set1_epi64x(0x4530000000000000));
    const __m128d biases = _mm_set1_pd(0x1p84 + 0x1p52);
    return _mm_add_pd(_mm_sub_pd(_mm_castsi128_pd(high), biases), _mm_castsi128_pd(low));
}

// Two 64-bit words below 2^59, to the two low floats. Bits 0 .. 5 of a word above 2^32 lie under the
// float's rounding bit: they only say whether something follows it, which one bit at 2^6 says as well.
// What is left has at most 53 bits, so that the double is exact and the float rounds once.
inline __m128 two_to_floats(__m128i words) {
    const __m128i above_2p32 = _mm_cmpgt_epi32(_mm_srli_epi64(words, 32), _mm_setzero_si128());
    const __m128i mask = _mm_and_si128(above_2p32, _mm_set1_epi64x(63));
    const __m128i rest = _mm_and_si128(words, mask);
    const __m128i sticky = _mm_and_si128(_mm_add_epi64(rest, mask), _mm_set1_epi64x(64));
    return _mm_cvtpd_ps(two_to_doubles(_mm_or_si128(_mm_xor_si128(words, rest), sticky)));
}

inline bool is_power_of_two(double x, double least, double most) {
    return x >= least && x <= most && std::bit_cast<std::uint64_t>(x) << 12 == 0;
}

// Sinks ------------------------------------------------------------------------------------------

template <class Word> struct IntegerSink {
    Word *r;

    void put(std::size_t i, __m128i words) const {
        _mm_storeu_si128(reinterpret_cast<__m128i *>(r + i), words);
    }
    void put_one(std::size_t i, Word word) const { r[i] = word; }
};

// r = a + x s, rounded after the multiplication and after the addition.
template <class Generator> class DoubleSink {
    using Word = typename Generator::Word;
    double *r_;
    double a_, s_;

    void store(std::size_t i, __m128d x) const {
        _mm_storeu_pd(r_ + i, _mm_add_pd(_mm_set1_pd(a_), _mm_mul_pd(x, _mm_set1_pd(s_))));
    }

  public:
    DoubleSink(double *r, double a, double b) : r_(r), a_(a), s_((b - a) * Generator::scale) {}
    double scale() const { return s_; }

    void put(std::size_t i, __m128i words) const {
        if constexpr (sizeof(Word) == 4) {
            const DoublePair x = four_to_doubles(words);
            store(i, x.low);
            store(i + 2, x.high);
        } else {
            store(i, two_to_doubles(words));
        }
    }
    void put_one(std::size_t i, Word word) const { r_[i] = a_ + static_cast<double>(word) * s_; }
};

// The same in single precision; s is formed in double precision and rounded.
template <class Generator> class FloatSink {
    using Word = typename Generator::Word;
    static constexpr bool below_b = requires { requires Generator::float_below_b; };
    float *r_;
    float a_, s_;
    float largest_; // used with below_b only

    __m128 map(__m128 x) const {
        const __m128 r = _mm_add_ps(_mm_set1_ps(a_), _mm_mul_ps(x, _mm_set1_ps(s_)));
        return below_b ? _mm_min_ps(_mm_set1_ps(largest_), r) : r;
    }

  public:
    FloatSink(float *r, float a, float b)
        : r_(r), a_(a), s_(static_cast<float>((double{b} - double{a}) * Generator::scale)),
          largest_(a < b ? lower_neighbour(b) : std::numeric_limits<float>::infinity()) {}
    float scale() const { return s_; }

    void put(std::size_t i, __m128i words) const {
        if constexpr (sizeof(Word) == 4)
            _mm_storeu_ps(r_ + i, map(four_to_floats<Generator::bits>(words)));
        else
            _mm_storel_pi(reinterpret_cast<__m64 *>(r_ + i), map(two_to_floats(words)));
    }
    void put_one(std::size_t i, Word word) const {
        _mm_store_ss(r_ + i, map(_mm_set_ss(static_cast<float>(word))));
    }

    static float lower_neighbour(float x) {
        if (x == 0)
            return -std::numeric_limits<float>::denorm_min();
        const auto bits = std::bit_cast<std::uint32_t>(x);
        return std::bit_cast<float>(x > 0 ? bits - 1 : bits + 1);
    }
};

// The same where s is a power of two, which makes x s exact: a word becomes the low bits of a number whose
// last place is s, and one subtraction takes away what is too much. For words of 32 bits.
class BinaryDoubleSink {
    double *r_;
    double a_, s_;
    double origin_ = 0; // of words
    double zero_ = 0;   // what becomes of a word to give 0
    bool holds_ = false;

  public:
    BinaryDoubleSink(double *r, double a, double s) : r_(r), a_(a), s_(s) {
        if (!is_power_of_two(s, 0x1p-1022, 0x1p970))
            return;
        origin_ = 0x1p52 * s;
        if (a < -origin_ || a > origin_)
            return;
        zero_ = origin_ - a;
        holds_ = origin_ - zero_ == a;
    }

    // Whether s is as said, and the origins are exact.
    bool holds() const { return holds_; }

    void put(std::size_t i, __m128i words) const {
        const auto top = static_cast<int>(std::bit_cast<std::uint64_t>(origin_) >> 32);
        const __m128i tops = _mm_set1_epi32(top);
        const __m128d zero = _mm_set1_pd(zero_);
        _mm_storeu_pd(r_ + i, _mm_sub_pd(_mm_castsi128_pd(_mm_unpacklo_epi32(words, tops)), zero));
        _mm_storeu_pd(r_ + i + 2, _mm_sub_pd(_mm_castsi128_pd(_mm_unpackhi_epi32(words, tops)), zero));
    }
    void put_one(std::size_t i, std::uint32_t word) const { r_[i] = a_ + static_cast<double>(word) * s_; }
};

// Halves of 16 bits become the low bits of two floats; the sum of the floats rounds. a = 0 need not be added.
template <bool from_zero> class BinaryFloatSink {
    float *r_;
    float a_, s_;
    float low_origin_ = 0, high_origin_ = 0;
    bool holds_;

  public:
    BinaryFloatSink(float *r, float a, float s)
        : r_(r), a_(a), s_(s), holds_(is_power_of_two(s, 0x1p-126, 0x1p88) && (!from_zero || a == 0)) {
        if (!holds_)
            return;
        low_origin_ = 0x1p23F * s;
        high_origin_ = 0x1p39F * s;
    }

    bool holds() const { return holds_; }

    void put(std::size_t i, __m128i words) const {
        const __m128i low_half = _mm_and_si128(words, _mm_set1_epi32(0xFFFF));
        const __m128i low = _mm_or_si128(low_half, _mm_set1_epi32(std::bit_cast<int>(low_origin_)));
        const __m128i high =
            _mm_or_si128(_mm_srli_epi32(words, 16), _mm_set1_epi32(std::bit_cast<int>(high_origin_)));
        const __m128 rest = _mm_sub_ps(_mm_castsi128_ps(high), _mm_set1_ps(high_origin_ + low_origin_));
        const __m128 x = _mm_add_ps(rest, _mm_castsi128_ps(low));
        _mm_storeu_ps(r_ + i, from_zero ? x : _mm_add_ps(_mm_set1_ps(a_), x));
    }
    void put_one(std::size_t i, std::uint32_t word) const { r_[i] = a_ + static_cast<float>(word) * s_; }
};

// Entries ----------------------------------------------------------------------------------------

template <class Generator, class Sink> std::int32_t draw(void *stream, std::int32_t n, const Sink &sink) {
    if (n > 0)
        Generator::generate(state_of<typename Generator::State>(stream), static_cast<std::size_t>(n), sink);
    return status_ok;
}

template <class Generator>
std::int32_t draw_uniform(void *stream, std::int32_t n, double *r, double a, double b) {
    const DoubleSink<Generator> sink(r, a, b);
    if constexpr (Generator::bits == 32)
        if (const BinaryDoubleSink binary(r, a, sink.scale()); binary.holds())
            return draw<Generator>(stream, n, binary);
    return draw<Generator>(stream, n, sink);
}

template <class Generator>
std::int32_t draw_uniform(void *stream, std::int32_t n, float *r, float a, float b) {
    const FloatSink<Generator> sink(r, a, b);
    if constexpr (Generator::bits == 32) {
        if (const BinaryFloatSink<true> binary(r, a, sink.scale()); binary.holds())
            return draw<Generator>(stream, n, binary);
        if (const BinaryFloatSink<false> binary(r, a, sink.scale()); binary.holds())
            return draw<Generator>(stream, n, binary);
    }
    return draw<Generator>(stream, n, sink);
}

} // namespace qor::bex

// The four entries of a generator whose words go through the sinks above.
#define QOR_BEX_GENERATOR_ENTRIES(NAME, Generator)                                                           \
    extern "C" std::int32_t __bexBRng##NAME##InitStream(std::int32_t method, void *stream, std::int32_t n,   \
                                                        const void *params) {                                \
        return qor::bex::init_stream<Generator>(method, stream, n, params);                                  \
    }                                                                                                        \
    extern "C" std::int32_t __bexiBRng##NAME(void *stream, std::int32_t n, void *r) {                        \
        using Word = Generator::Word;                                                                        \
        return qor::bex::draw<Generator>(stream, n, qor::bex::IntegerSink<Word>{static_cast<Word *>(r)});    \
    }                                                                                                        \
    extern "C" std::int32_t __bexdBRng##NAME(void *stream, std::int32_t n, double *r, double a, double b) {  \
        return qor::bex::draw_uniform<Generator>(stream, n, r, a, b);                                        \
    }                                                                                                        \
    extern "C" std::int32_t __bexsBRng##NAME(void *stream, std::int32_t n, float *r, float a, float b) {     \
        return qor::bex::draw_uniform<Generator>(stream, n, r, a, b);                                        \
    }
