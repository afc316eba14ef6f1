// MCG31M1: x -> 1132489760 x mod (2^31 - 1).
//
// P. L'Ecuyer, "Tables of linear congruential generators of different sizes and good lattice structure",
// Math. Comp. 68 (1999). The period is 2^31 - 2. From the seed 1 the second word is 1132489760.
#include "statistics/streams/congruential.h"

namespace {

using namespace qor::bex;

class Lanes {
    __m128i twice_a_, modulus_;

  public:
    explicit Lanes(std::uint32_t a)
        : twice_a_(_mm_set1_epi64x(2 * std::int64_t{a})), modulus_(_mm_set1_epi32(Modulus2P31M1::value)) {}

    // From doubled products 2p: the high dword is p div 2^31, half of the low one p mod 2^31.
    __m128i operator()(__m128i x) const {
        const __m128 p01 = _mm_castsi128_ps(_mm_mul_epu32(_mm_unpacklo_epi32(x, x), twice_a_));
        const __m128 p23 = _mm_castsi128_ps(_mm_mul_epu32(_mm_unpackhi_epi32(x, x), twice_a_));
        const __m128i high = _mm_castps_si128(_mm_shuffle_ps(p01, p23, _MM_SHUFFLE(3, 1, 3, 1)));
        const __m128i low = _mm_castps_si128(_mm_shuffle_ps(p01, p23, _MM_SHUFFLE(2, 0, 2, 0)));
        // The sum is below 2m: less m it is a signed number, and what is negative gets its m back.
        const __m128i r = _mm_sub_epi32(_mm_add_epi32(high, _mm_srli_epi32(low, 1)), modulus_);
        return _mm_add_epi32(r, _mm_and_si128(_mm_srai_epi32(r, 31), modulus_));
    }
};

struct Mcg31m1 : Congruential<Modulus2P31M1, Lanes> {
    static constexpr int bits = 31;
    static constexpr double scale = 1.0 / Modulus2P31M1::value;
    // The largest words round to 2^31, which maps to b; b itself stays outside the interval.
    static constexpr bool float_below_b = true;

    static std::int32_t initialise(void *stream, std::int32_t n, const std::uint32_t *seed) {
        const std::uint32_t x = n < 1 ? 1 : seed[0] % Modulus2P31M1::value;
        state_of<State>(stream) = {x == 0 ? 1 : x, 1132489760};
        return status_ok;
    }
};
static_assert(sizeof(Stream) + sizeof(Mcg31m1::State) == 24);

} // namespace

QOR_BEX_GENERATOR_ENTRIES(MCG31M1, Mcg31m1)
