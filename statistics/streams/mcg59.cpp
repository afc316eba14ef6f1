// MCG59: x -> 13^13 x mod 2^59.
//
// The period is 2^57 from an odd seed. From the seed 1 the second word is 302875106592253.
#include "statistics/streams/congruential.h"

namespace {

using namespace qor::bex;

class Lanes {
    __m128i a_, a_high_;

  public:
    explicit Lanes(std::uint64_t a)
        : a_(_mm_set1_epi64x(static_cast<std::int64_t>(a))), a_high_(_mm_srli_epi64(a_, 32)) {}

    __m128i operator()(__m128i x) const {
        const __m128i cross =
            _mm_add_epi64(_mm_mul_epu32(_mm_srli_epi64(x, 32), a_), _mm_mul_epu32(x, a_high_));
        const __m128i product = _mm_add_epi64(_mm_mul_epu32(x, a_), _mm_slli_epi64(cross, 32));
        return _mm_and_si128(product, _mm_set1_epi64x(Modulus2P59::mask));
    }
};

struct Mcg59 : Congruential<Modulus2P59, Lanes> {
    static constexpr int bits = 59;
    static constexpr double scale = 0x1p-59;

    static std::int32_t initialise(void *stream, std::int32_t n, const std::uint32_t *seed) {
        std::uint64_t x = n < 1 ? 1 : seed[0];
        if (n >= 2)
            x = (x | std::uint64_t{seed[1]} << 32) & Modulus2P59::mask;
        state_of<State>(stream) = {x == 0 ? 1 : x, 302875106592253};
        return status_ok;
    }
};
static_assert(sizeof(Stream) + sizeof(Mcg59::State) == 32);

} // namespace

QOR_BEX_GENERATOR_ENTRIES(MCG59, Mcg59)
