// Wichmann-Hill: four congruential generators x -> a x mod m side by side; u = sum of x / m, modulo 1.
//
// B. A. Wichmann, I. D. Hill, "An efficient and portable pseudo-random number generator", Appl. Statist. 31
// (1982); N. M. Maclaren, "The generation of multiple independent sequences of pseudorandom numbers", Appl.
// Statist. 38 (1989), for sets of such generators.
//
// The set has 273 members of four components, pairs of a modulus and a multiplier that are all different.
// Moduli are primes from 16766231 to 16770647, multipliers primitive roots between 112 and 127; two members
// have at most one modulus in common. The (m - 1)/2 of a member are coprime in pairs, or but for a 2 that two
// of them share: its period is the product of its m - 1 divided by 8, or by 16 in 100 members, about 2^93 or
// 2^92. But for the first two and the last, members are in the order of their spectral figure in two to six
// dimensions, best first. tools/wichmann_hill_members.py makes them.
//
// Components are stepped as doubles. With x, a < m < 2^24 the products x a and q m are exact. The quotient x
// a / m is no integer unless it is 0 (m is prime), so it is 2^-24 or more away from one, while its computed
// value, with three roundings in any direction, is less than 2^-26 off: truncated it is exact, and so is the
// remainder x a - q m. A stream that takes every s-th element has a^s mod m as its multipliers, of up to 24
// bits.
#include "statistics/streams/wichmann_hill_members.h"

#include "statistics/streams/generator.h"
#include "statistics/streams/power.h"

#include <algorithm>
#include <iterator>

namespace {

using namespace qor::bex;

constexpr std::size_t components = 4;

struct Reciprocals {
    double of[std::size(wichmann_hill_members)][components];
};

constexpr Reciprocals reciprocals = [] {
    Reciprocals table{};
    for (std::size_t i = 0; i < std::size(wichmann_hill_members); ++i)
        for (std::size_t c = 0; c < components; ++c)
            table.of[i][c] = 1.0 / wichmann_hill_members[i].moduli[c];
    return table;
}();

struct State {
    std::uint32_t x[components], multipliers[components];
};
static_assert(sizeof(Stream) + sizeof(State) == 48);

std::uint32_t member_of(const void *stream) {
    std::uint32_t row, member;
    __bexGetBrngBaseOffset(static_cast<const Stream *>(stream)->brng, &row, &member);
    return member;
}

__m128d truncated(__m128d x) { return _mm_cvtepi32_pd(_mm_cvttpd_epi32(x)); } // |x| < 2^31

// Four successive words of one component.
class Lanes {
    __m128d m_, a4_, a4_over_m_;

    static __m128d multiply(__m128d x, __m128d a, __m128d a_over_m, __m128d m) {
        return _mm_sub_pd(_mm_mul_pd(x, a), _mm_mul_pd(truncated(_mm_mul_pd(x, a_over_m)), m));
    }

  public:
    __m128d first, second; // words 0 and 1, 2 and 3

    Lanes() = default;
    Lanes(std::uint32_t x, std::uint32_t a, std::uint32_t m, double reciprocal) : m_(_mm_set1_pd(m)) {
        const auto times = [&](__m128d y, __m128d b) {
            return multiply(y, b, _mm_mul_pd(b, _mm_set1_pd(reciprocal)), m_);
        };
        const __m128d a1 = _mm_set1_pd(a), a2 = times(a1, a1);
        first = times(_mm_set1_pd(x), _mm_set_pd(a, 1));
        second = times(first, a2);
        a4_ = times(a2, a2);
        a4_over_m_ = _mm_mul_pd(a4_, _mm_set1_pd(reciprocal));
    }
    void step() {
        first = multiply(first, a4_, a4_over_m_, m_);
        second = multiply(second, a4_, a4_over_m_, m_);
    }
    std::uint32_t word(std::size_t k) const {
        const __m128d pair = k < 2 ? first : second;
        return static_cast<std::uint32_t>(_mm_cvttsd_si32(k % 2 == 0 ? pair : _mm_unpackhi_pd(pair, pair)));
    }
};

// Sinks take elements i and i + 1 from two words of each component, or element i alone.

struct WordSink {
    std::uint32_t *r;

    void put(std::size_t i, const __m128d (&x)[components]) const {
        const __m128i x01 = _mm_unpacklo_epi32(_mm_cvttpd_epi32(x[0]), _mm_cvttpd_epi32(x[1]));
        const __m128i x23 = _mm_unpacklo_epi32(_mm_cvttpd_epi32(x[2]), _mm_cvttpd_epi32(x[3]));
        store(i, _mm_unpacklo_epi64(x01, x23));
        store(i + 1, _mm_unpackhi_epi64(x01, x23));
    }
    void put_one(std::size_t i, const __m128d (&x)[components]) const {
        for (std::size_t c = 0; c < components; ++c)
            r[components * i + c] = static_cast<std::uint32_t>(_mm_cvttsd_si32(x[c]));
    }

  private:
    void store(std::size_t i, __m128i words) const {
        _mm_storeu_si128(reinterpret_cast<__m128i *>(r + components * i), words);
    }
};

// The fraction u of the sum, mapped to u (b - a) + a; a float is that double, rounded.
template <class Real> class RealSink {
    Real *r_;
    double a_, width_;
    const double (&reciprocals_)[components];

    __m128d map(const __m128d (&x)[components]) const {
        __m128d sum = _mm_mul_pd(x[0], _mm_set1_pd(reciprocals_[0]));
        for (std::size_t c = 1; c < components; ++c)
            sum = _mm_add_pd(sum, _mm_mul_pd(x[c], _mm_set1_pd(reciprocals_[c])));
        const __m128d u = _mm_sub_pd(sum, truncated(sum));
        return _mm_add_pd(_mm_mul_pd(u, _mm_set1_pd(width_)), _mm_set1_pd(a_));
    }

  public:
    RealSink(Real *r, double a, double b, const double (&of_moduli)[components])
        : r_(r), a_(a), width_(b - a), reciprocals_(of_moduli) {}

    void put(std::size_t i, const __m128d (&x)[components]) const {
        if constexpr (sizeof(Real) == 8)
            _mm_storeu_pd(r_ + i, map(x));
        else
            _mm_storel_pi(reinterpret_cast<__m64 *>(r_ + i), _mm_cvtpd_ps(map(x)));
    }
    void put_one(std::size_t i, const __m128d (&x)[components]) const {
        if constexpr (sizeof(Real) == 8)
            _mm_store_sd(r_ + i, map(x));
        else
            _mm_store_ss(r_ + i, _mm_cvtpd_ps(map(x)));
    }
};

template <class Sink> void generate(State &state, std::uint32_t member, std::size_t n, const Sink sink) {
    Lanes lanes[components];
    for (std::size_t c = 0; c < components; ++c)
        lanes[c] = {state.x[c], state.multipliers[c], wichmann_hill_members[member].moduli[c],
                    reciprocals.of[member][c]};
    std::size_t i = 0;
    for (; n - i >= 4; i += 4) {
        sink.put(i, {lanes[0].first, lanes[1].first, lanes[2].first, lanes[3].first});
        sink.put(i + 2, {lanes[0].second, lanes[1].second, lanes[2].second, lanes[3].second});
        for (Lanes &component : lanes)
            component.step();
    }
    const std::size_t rest = n - i;
    for (std::size_t k = 0; k < rest; ++k) {
        __m128d x[components];
        for (std::size_t c = 0; c < components; ++c)
            x[c] = _mm_set1_pd(lanes[c].word(k));
        sink.put_one(i + k, x);
    }
    for (std::size_t c = 0; c < components; ++c)
        state.x[c] = lanes[c].word(rest);
}

template <class Sink> std::int32_t draw_elements(void *stream, std::int32_t n, const Sink &sink) {
    if (n > 0)
        generate(state_of<State>(stream), member_of(stream), static_cast<std::size_t>(n), sink);
    return status_ok;
}

template <class Real> std::int32_t draw_reals(void *stream, std::int32_t n, Real *r, double a, double b) {
    return draw_elements(stream, n, RealSink<Real>(r, a, b, reciprocals.of[member_of(stream)]));
}

struct WichmannHill {
    static std::int32_t initialise(void *stream, std::int32_t n, const std::uint32_t *seed) {
        const WichmannHillMember &member = wichmann_hill_members[member_of(stream)];
        State &state = state_of<State>(stream);
        for (std::size_t c = 0; c < components; ++c) {
            const std::uint32_t x = static_cast<std::int32_t>(c) < n ? seed[c] % member.moduli[c] : 1;
            state.x[c] = x == 0 ? 1 : x;
            state.multipliers[c] = member.multipliers[c];
        }
        return status_ok;
    }

    static std::int32_t leapfrog(void *stream, std::uint32_t k, std::int32_t streams) {
        skip_ahead(stream, k);
        const WichmannHillMember &member = wichmann_hill_members[member_of(stream)];
        State &state = state_of<State>(stream);
        for (std::size_t c = 0; c < components; ++c)
            state.multipliers[c] =
                __bexiPowMod(state.multipliers[c], static_cast<std::uint32_t>(streams), member.moduli[c]);
        return status_ok;
    }

    static std::int32_t skip_ahead(void *stream, std::uint64_t count) {
        const WichmannHillMember &member = wichmann_hill_members[member_of(stream)];
        State &state = state_of<State>(stream);
        for (std::size_t c = 0; c < components; ++c) {
            const std::uint32_t m = member.moduli[c];
            const std::uint64_t factor = __bexiPowMod(state.multipliers[c], count, m);
            state.x[c] = static_cast<std::uint32_t>(state.x[c] * factor % m);
        }
        return status_ok;
    }
};

} // namespace

std::int32_t __bexBRngWHInitStream(std::int32_t method, void *stream, std::int32_t n, const void *params) {
    return init_stream<WichmannHill>(method, stream, n, params);
}
std::int32_t __bexiBRngWH(void *stream, std::int32_t n, void *r) {
    return draw_elements(stream, n, WordSink{static_cast<std::uint32_t *>(r)});
}
std::int32_t __bexdBRngWH(void *stream, std::int32_t n, double *r, double a, double b) {
    return draw_reals(stream, n, r, a, b);
}
std::int32_t __bexsBRngWH(void *stream, std::int32_t n, float *r, float a, float b) {
    return draw_reals<float>(stream, n, r, a, b);
}
