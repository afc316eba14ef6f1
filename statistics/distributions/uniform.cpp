// Uniform variates: real, integer, and the generators' raw bits as 32- and 64-bit words.
#include "qor_bex_distributions.h"
#include "statistics/distributions/frame.h"

#include <algorithm>
#include <emmintrin.h>
#include <iterator>
#include <limits>

namespace qor::bex {

namespace {

template <class T>
std::int32_t continuous(std::int32_t method, void *stream, std::int32_t n, T *r, T a, T b) {
    const std::int32_t status = uniform(*static_cast<Stream *>(stream), n, r, a, b);
    if (status >= 0 && (method & accurate_flag) != 0)
        std::transform(r, r + std::max(n, 0), r, [a, b](T x) { return std::min(b, std::max(a, x)); });
    return status;
}

// floor(x[0]), floor(x[1]) in the two low lanes: the truncated values, less 1 where they exceed x.
__m128i floors(const double *x) {
    const __m128d value = _mm_loadu_pd(x);
    const __m128i truncated = _mm_cvttpd_epi32(value);
    const __m128i above = _mm_castpd_si128(_mm_cmpgt_pd(_mm_cvtepi32_pd(truncated), value));
    return _mm_add_epi32(truncated, _mm_shuffle_epi32(above, _MM_SHUFFLE(3, 3, 2, 0)));
}

void store_floors(const double *x, std::int32_t n, std::int32_t *r) {
    std::int32_t i = 0;
    for (; i + 2 <= n; i += 2)
        _mm_storel_epi64(reinterpret_cast<__m128i *>(r + i), floors(x + i));
    if (i < n) {
        const double last[2] = {x[i], 0};
        r[i] = _mm_cvtsi128_si32(floors(last));
    }
}

std::int32_t raw_words(Stream &stream, std::int32_t n, void *r) {
    const BrngProperties *row = row_of(stream);
    if (row == nullptr || row->out_uint == nullptr)
        return status_bad_id;
    return row->out_uint(&stream, n, r);
}

// Where a generator's uniformly distributed bits are, if its raw words hold any.
enum class Bits { none, whole_words, upper_half };

// By row of the table of registered generators. Generators of the user's have no bits that are known of.
constexpr Bits bits_by_row[] = {
    Bits::none,        // MCG31M1
    Bits::none,        // R250
    Bits::none,        // MRG32K3A
    Bits::upper_half,  // MCG59
    Bits::none,        // Wichmann-Hill
    Bits::none,        // Sobol
    Bits::none,        // Niederreiter
    Bits::whole_words, // MT19937
    Bits::whole_words, // MT2203
    Bits::none,        // integer abstract
    Bits::none,        // double abstract
    Bits::none,        // single abstract
    Bits::whole_words, // SFMT19937
    Bits::whole_words, // hardware
    Bits::whole_words, // ARS5
    Bits::whole_words, // PHILOX4X32X10
};

constexpr std::int32_t raw_block = 2048;

// Bits 27 .. 58 of MCG59's words: 2 KiB of results from 16 KiB of raw words at a time.
std::int32_t upper_halves(Stream &stream, std::int64_t n, std::uint32_t *r) {
    std::uint64_t raw[raw_block];
    for (;;) {
        const auto count = static_cast<std::int32_t>(std::min<std::int64_t>(n, raw_block));
        const std::int32_t status = raw_words(stream, count, raw);
        if (status < 0)
            return status;
        for (std::int32_t i = 0; i < count; ++i)
            r[i] = static_cast<std::uint32_t>(raw[i] >> 27);
        if (count < raw_block)
            return status;
        n -= count;
        r += count;
    }
}

std::int32_t whole_words(Stream &stream, std::int64_t n, std::uint32_t *r) {
    constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max();
    for (; n > most; n -= most, r += most)
        if (const std::int32_t status = raw_words(stream, most, r); status < 0)
            return status;
    return raw_words(stream, static_cast<std::int32_t>(n), r);
}

// n uniformly distributed 32-bit words.
std::int32_t uniform_words(void *handle, std::int64_t n, std::uint32_t *r) {
    Stream &stream = *static_cast<Stream *>(handle);
    const std::uint32_t row = resolve(stream.brng).row;
    switch (row < std::size(bits_by_row) ? bits_by_row[row] : Bits::none) {
    case Bits::whole_words:
        return whole_words(stream, n, r);
    case Bits::upper_half:
        return upper_halves(stream, n, r);
    default:
        return status_no_uniform_bits;
    }
}

} // namespace

std::int32_t uniform(Stream &stream, std::int32_t n, float *r, float a, float b) {
    const BrngProperties *row = row_of(stream);
    return row != nullptr && row->out_float != nullptr ? row->out_float(&stream, n, r, a, b) : status_bad_id;
}

std::int32_t uniform(Stream &stream, std::int32_t n, double *r, double a, double b) {
    const BrngProperties *row = row_of(stream);
    return row != nullptr && row->out_double != nullptr ? row->out_double(&stream, n, r, a, b)
                                                        : status_bad_id;
}

} // namespace qor::bex

using namespace qor::bex;

extern "C" {

std::int32_t _bexsRngUniform(std::int32_t method, void *stream, std::int32_t n, float *r, float a, float b) {
    return continuous(method, stream, n, r, a, b);
}

std::int32_t _bexdRngUniform(std::int32_t method, void *stream, std::int32_t n, double *r, double a,
                             double b) {
    return continuous(method, stream, n, r, a, b);
}

std::int32_t _bexiRngUniform(std::int32_t, void *stream, std::int32_t n, std::int32_t *r, std::int32_t a,
                             std::int32_t b) {
    double numbers[block];
    std::int32_t status = status_ok;
    for (std::int32_t done = 0; done < n;) {
        const std::int32_t count = std::min(n - done, block);
        status = uniform(*static_cast<Stream *>(stream), count, numbers, double(a), double(b));
        if (status < 0)
            return status;
        store_floors(numbers, count, r + done);
        done += count;
    }
    return status;
}

std::int32_t _bexiRngUniformBits(std::int32_t, void *stream, std::int32_t n, void *r) {
    return raw_words(*static_cast<Stream *>(stream), n, r);
}

std::int32_t _bexiRngUniformBits32(std::int32_t, void *stream, std::int32_t n, std::uint32_t *r) {
    return uniform_words(stream, n, r);
}

std::int32_t _bexiRngUniformBits64(std::int32_t, void *stream, std::int32_t n, std::uint64_t *r) {
    // A result's low half is the earlier word.
    return uniform_words(stream, 2 * std::int64_t{n}, reinterpret_cast<std::uint32_t *>(r));
}

} // extern "C"
