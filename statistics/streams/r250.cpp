// R250: w(k) = w(k - 103) xor w(k - 250), on 32-bit words.
//
// S. Kirkpatrick, E. Stoll, "A very fast shift-register sequence random number generator", J. Comput. Phys.
// 40 (1981). The period is 2^250 - 1. With the seed 1 the 10000th word is 1100653588 (a value published in
// the GNU Scientific Library's tests).
#include "statistics/streams/generator.h"

#include <algorithm>

namespace {

using namespace qor::bex;

struct R250 {
    static constexpr std::uint32_t length = 250;
    struct State {
        std::uint32_t w[length];
        std::uint32_t i, j; // i holds the oldest word, which the next one replaces; j is 103 places ahead
    };
    using Word = std::uint32_t;
    static constexpr int bits = 32;
    static constexpr double scale = 0x1p-32;

    static std::int32_t initialise(void *stream, std::int32_t n, const std::uint32_t *seed) {
        State &state = state_of<State>(stream);
        if (n >= static_cast<std::int32_t>(length)) {
            std::copy_n(seed, length, state.w);
        } else {
            std::uint32_t word = n < 1 || seed[0] == 0 ? 1 : seed[0];
            for (std::uint32_t &w : state.w)
                w = word *= 69069;
            // 32 words with ones on a diagonal and zeros above it: no bit is a combination of the others.
            for (std::uint32_t k = 0; k < 32; ++k) {
                const std::uint32_t diagonal = 0x80000000u >> k;
                std::uint32_t &w = state.w[3 + 7 * k];
                w = (w & (diagonal - 1)) | diagonal;
            }
        }
        state.i = 0;
        state.j = 103;
        return status_ok;
    }

    template <class Sink> static void generate(State &state, std::size_t n, const Sink sink) {
        // Reduced, so that a state from a damaged image stays inside the words.
        std::size_t i = state.i % length, j = state.j % length;
        for (std::size_t done = 0; done < n;) {
            // A run ends where an index turns. With i one to three places ahead of j, words would be read
            // before the same pass has stored them; no seeding leads there, yet a given state may be so.
            const std::size_t run = std::min({n - done, length - i, length - j});
            const std::size_t in_registers = i > j && i - j < 4 ? 0 : run / 4 * 4;
            std::size_t k = 0;
            for (; k < in_registers; k += 4) {
                auto *const oldest = reinterpret_cast<__m128i *>(state.w + i + k);
                const auto *const other = reinterpret_cast<const __m128i *>(state.w + j + k);
                const __m128i v = _mm_xor_si128(_mm_loadu_si128(oldest), _mm_loadu_si128(other));
                _mm_storeu_si128(oldest, v);
                sink.put(done + k, v);
            }
            for (; k < run; ++k) {
                const Word v = state.w[i + k] ^ state.w[j + k];
                state.w[i + k] = v;
                sink.put_one(done + k, v);
            }
            done += run;
            i = i + run == length ? 0 : i + run;
            j = j + run == length ? 0 : j + run;
        }
        state.i = static_cast<std::uint32_t>(i);
        state.j = static_cast<std::uint32_t>(j);
    }
};
static_assert(sizeof(Stream) + sizeof(R250::State) == 1024);

} // namespace

QOR_BEX_GENERATOR_ENTRIES(R250, R250)
