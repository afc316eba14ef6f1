// MRG32k3a: two recurrences of order three, combined.
//
//   x(k) = (1403580 x(k-2) - 810728 x(k-3)) mod m1,   m1 = 2^32 - 209
//   y(k) = (527612 y(k-1) - 1370589 y(k-3)) mod m2,   m2 = 2^32 - 22853
//   z(k) = (x(k) - y(k)) mod m1
//
// P. L'Ecuyer, "Good parameters and implementations for combined multiple recursive random number
// generators", Oper. Res. 47 (1999). The period is (m1^3 - 1)(m2^3 - 1) / 2, about 2^191.
#include "statistics/streams/generator.h"
#include "statistics/streams/vector3_power.h"

#include <algorithm>

namespace {

using namespace qor::bex;

// s + m in the lanes where s is negative, for |s| < 2^32. The high half of such a lane is all ones.
inline __m128i add_where_negative(__m128i s, std::uint32_t m) {
    const __m128i negative = _mm_shuffle_epi32(s, _MM_SHUFFLE(3, 3, 1, 1));
    return _mm_add_epi64(s, _mm_and_si128(negative, _mm_set1_epi64x(m)));
}

// s(k) = (plus s(k - 3 + place) - minus s(k - 3)) mod m.
template <std::uint32_t m, std::size_t place, std::uint32_t plus, std::uint32_t minus> struct Component {
    static constexpr std::uint32_t modulus = m;
    static constexpr std::uint64_t multiple =
        std::uint64_t{minus} * m; // keeps differences from being negative
    // p - (p div 2^32) m = (p mod 2^32) + (p div 2^32) (2^32 - m) is congruent to p. So many such folds bring
    // the largest p below 2m.
    static constexpr int folds = [] {
        int count = 0;
        for (std::uint64_t p = std::uint64_t{plus} * (m - 1) + multiple; p >= 2 * std::uint64_t{m}; ++count)
            p = 0xFFFFFFFF + (p >> 32) * ((std::uint64_t{1} << 32) - m);
        return count;
    }();

    static constexpr Matrix3 transition = {
        {{{0, 1, 0}}, {{0, 0, 1}}, {{m - minus, place == 1 ? plus : 0, place == 2 ? plus : 0}}}};
    static constexpr MatrixPowers powers = powers_of_two(transition, m);

    static void step(Vector3 &s) {
        const std::uint64_t p = std::uint64_t{plus} * s.v[place] + multiple - std::uint64_t{minus} * s.v[0];
        s = {{s.v[1], s.v[2], static_cast<std::uint32_t>(p % m)}};
    }
    static void skip(Vector3 &s, std::size_t n, const std::uint64_t *count) {
        s = multiply_by_power(transition, &powers, n, count, s, m);
    }
    static Vector3 after_power_of_two(const Vector3 &s, int exponent) {
        return multiply(powers.power[exponent], s, m);
    }

    // The same recurrence in two sequences side by side, a word in the low half of each 64-bit lane.
    class Lanes {
        __m128i s_[3];

      public:
        Lanes() = default;
        Lanes(const Vector3 &low, const Vector3 &high) {
            for (std::size_t k = 0; k < 3; ++k)
                s_[k] = _mm_set_epi64x(high.v[k], low.v[k]);
        }
        __m128i step() {
            __m128i p =
                _mm_sub_epi64(_mm_set1_epi64x(multiple), _mm_mul_epu32(s_[0], _mm_set1_epi64x(minus)));
            p = _mm_add_epi64(p, _mm_mul_epu32(s_[place], _mm_set1_epi64x(plus)));
            for (int fold = 0; fold < folds; ++fold)
                p = _mm_sub_epi64(p, _mm_mul_epu32(_mm_srli_epi64(p, 32), _mm_set1_epi64x(m)));
            s_[0] = s_[1];
            s_[1] = s_[2];
            return s_[2] = add_where_negative(_mm_sub_epi64(p, _mm_set1_epi64x(m)), m);
        }
        Vector3 high() const {
            const auto word = [](__m128i s) {
                return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_unpackhi_epi64(s, s)));
            };
            return {{word(s_[0]), word(s_[1]), word(s_[2])}};
        }
    };
};

using First = Component<4294967087, 1, 1403580, 810728>;
using Second = Component<4294944443, 2, 527612, 1370589>;

struct Mrg32k3a {
    struct State {
        Vector3 x, y; // oldest words first
    };
    using Word = std::uint32_t;
    static constexpr int bits = 32;
    static constexpr double scale = 1.0 / First::modulus;

    static std::int32_t initialise(void *stream, std::int32_t n, const std::uint32_t *seed) {
        State &state = state_of<State>(stream);
        std::uint32_t words[6] = {1, 1, 1, 1, 1, 1};
        std::copy_n(seed, std::clamp(n, 0, 6), words);
        const auto component = [](const std::uint32_t *w, std::uint32_t m) {
            const Vector3 s = {{w[0] % m, w[1] % m, w[2] % m}};
            return (s.v[0] | s.v[1] | s.v[2]) == 0 ? Vector3{{1, 0, 0}} : s;
        };
        state = {component(words, First::modulus), component(words + 3, Second::modulus)};
        return status_ok;
    }

    static std::int32_t skip_ahead(void *stream, std::uint64_t count) {
        return skip_ahead_extended(stream, 1, &count);
    }
    static std::int32_t skip_ahead_extended(void *stream, std::int32_t n, const std::uint64_t *count) {
        State &state = state_of<State>(stream);
        const auto words = static_cast<std::size_t>(std::max(n, 0));
        First::skip(state.x, words, count);
        Second::skip(state.y, words, count);
        return status_ok;
    }

    // Two numbers a pass of each of these, side by side: a number alone has to wait for the one before it.
    static constexpr int log2_pairs = 2, pairs = 1 << log2_pairs, log2_parts = log2_pairs + 1;

    // A block is cut into parts that are made side by side, each from the state after the parts before it.
    [[gnu::noinline]] static void find_starts(State (&start)[2 * pairs], int log2_part) {
        for (int level = 0; level < log2_parts; ++level)
            for (std::size_t known = 1u << level, i = 0; i < known; ++i)
                start[known + i] = {First::after_power_of_two(start[i].x, log2_part + level),
                                    Second::after_power_of_two(start[i].y, log2_part + level)};
    }

    template <class Sink>
    static void generate_block(State &state, int log2_part, std::size_t first, const Sink sink) {
        State start[2 * pairs] = {state};
        find_starts(start, log2_part);
        First::Lanes x[pairs];
        Second::Lanes y[pairs];
        for (std::size_t g = 0; g < pairs; ++g) {
            x[g] = {start[2 * g].x, start[2 * g + 1].x};
            y[g] = {start[2 * g].y, start[2 * g + 1].y};
        }
        const std::size_t part = std::size_t{1} << log2_part;
        for (std::size_t i = first; i < first + part; i += 4) {
            __m128i z[4][pairs];
            for (auto &row : z)
                for (std::size_t g = 0; g < pairs; ++g)
                    row[g] = add_where_negative(_mm_sub_epi64(x[g].step(), y[g].step()), First::modulus);
            for (std::size_t g = 0; g < pairs; ++g) {
                const __m128i z01 = _mm_or_si128(z[0][g], _mm_slli_epi64(z[1][g], 32));
                const __m128i z23 = _mm_or_si128(z[2][g], _mm_slli_epi64(z[3][g], 32));
                sink.put(i + 2 * g * part, _mm_unpacklo_epi64(z01, z23));
                sink.put(i + (2 * g + 1) * part, _mm_unpackhi_epi64(z01, z23));
            }
        }
        state = {x[pairs - 1].high(), y[pairs - 1].high()};
    }

    template <class Sink> static void generate(State &state, std::size_t n, const Sink sink) {
        // Shorter blocks cost more in starts than they save.
        constexpr int shortest_part = 3, longest_part = 8;
        std::size_t i = 0;
        for (int part = longest_part; part >= shortest_part; --part)
            for (const std::size_t block = std::size_t{2 * pairs} << part; n - i >= block; i += block)
                generate_block(state, part, i, sink);
        for (; i < n; ++i) {
            First::step(state.x);
            Second::step(state.y);
            // Either sign is as likely: a mask, as a branch would be mispredicted every other time.
            const std::int64_t difference = std::int64_t{state.x.v[2]} - state.y.v[2];
            sink.put_one(i, static_cast<std::uint32_t>(difference + (difference >> 63 & First::modulus)));
        }
    }
};
static_assert(sizeof(Stream) + sizeof(Mrg32k3a::State) == 40);

Vector3 vector_at(const std::uint32_t *words) { return {{words[0], words[1], words[2]}}; }

// matrix^e vector mod m, in place; the matrix by rows.
void multiply_vector(const std::uint32_t *matrix, std::int32_t n, const std::uint64_t *e, std::uint32_t m,
                     std::uint32_t *vector) {
    const Matrix3 a = {{vector_at(matrix), vector_at(matrix + 3), vector_at(matrix + 6)}};
    const auto words = static_cast<std::size_t>(std::max(n, 0));
    std::copy_n(multiply_by_power(a, nullptr, words, e, vector_at(vector), m).v, 3, vector);
}

template <class C> void skip_vector(std::int32_t n, const std::uint64_t *e, std::uint32_t *vector) {
    Vector3 x = vector_at(vector);
    C::skip(x, static_cast<std::size_t>(std::max(n, 0)), e);
    std::copy_n(x.v, 3, vector);
}

} // namespace

QOR_BEX_GENERATOR_ENTRIES(MRG32K3A, Mrg32k3a)

void __bexiVect3PowMod(const std::uint32_t *matrix, std::uint64_t e, std::uint32_t modulus,
                       std::uint32_t *vector) {
    multiply_vector(matrix, 1, &e, modulus, vector);
}

void __bexiVect3PowArrayMod(const std::uint32_t *matrix, std::int32_t n, const std::uint64_t *e,
                            std::uint32_t modulus, std::uint32_t *vector) {
    multiply_vector(matrix, n, e, modulus, vector);
}

void __bexiVect3PowArrayMod_M1(std::int32_t n, const std::uint64_t *e, std::uint32_t *vector) {
    skip_vector<First>(n, e, vector);
}

void __bexiVect3PowArrayMod_M2(std::int32_t n, const std::uint64_t *e, std::uint32_t *vector) {
    skip_vector<Second>(n, e, vector);
}
