// What lane kernels share: the tests that find special arguments.
#include "vector_math/kernels/argument_window.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace qor::fyn;

constexpr std::int32_t all = -1, magnitude = std::numeric_limits<std::int32_t>::max();

struct Answers { // of the three tests of one float: in the integer unit on either side of another, in lanes
    bool left, right, lanes;
};

template <std::int32_t from, std::int32_t to, std::int32_t masked>
Answers ask(std::uint32_t bits, std::uint32_t beside) {
    const auto in_integers = [](std::uint32_t first, std::uint32_t second) {
        const float both[] = {std::bit_cast<float>(first), std::bit_cast<float>(second)};
        return outside_short_window<from, to, masked>(FloatPair(both)) & FloatPair::top_bits;
    };
    const auto x = from_bits<Lanes<float>>(Lanes<std::int32_t>{} + static_cast<std::int32_t>(bits));
    return {in_integers(bits, beside) != 0, in_integers(beside, bits) != 0,
            (mask_of(outside_short_window<from, to, masked>(x)) & 1) != 0};
}

// Every upper half of a float with the lowest and the highest lower half, beside the window's first and last
// number: the tests agree with the comparison of integers that they stand for.
template <std::int32_t from, std::int32_t to, std::int32_t masked = all> void check_window() {
    for (std::uint32_t upper = 0; upper < 0x10000; ++upper)
        for (const std::uint32_t bits : {upper << 16, upper << 16 | 0xFFFF})
            for (const std::int32_t ordinary : {from, to - 1}) {
                const auto word = static_cast<std::int32_t>(bits) & masked;
                const bool outside = word < from || word >= to;
                const Answers answers = ask<from, to, masked>(bits, static_cast<std::uint32_t>(ordinary));
                ASSERT_EQ(answers.left, outside) << std::hex << bits << " beside " << ordinary;
                ASSERT_EQ(answers.right, outside) << std::hex << bits << " beside " << ordinary;
                ASSERT_EQ(answers.lanes, outside) << std::hex << bits;
            }
}

TEST(ArgumentWindow, TheTestsInLanesAndInTheIntegerUnitAgree) {
    constexpr std::int32_t infinity = top_word(std::numeric_limits<float>::infinity());
    check_window<top_word(std::numeric_limits<float>::min()), infinity>(); // logarithms
    check_window<0, top_word(87.0f), magnitude>();                         // exponentials
    check_window<top_word(0x1p-60f), infinity, magnitude>();
    check_window<0, top_word(1.0f)>();
    check_window<top_word(0x1p-84f), top_word(0x1p85f)>();
}

} // namespace
