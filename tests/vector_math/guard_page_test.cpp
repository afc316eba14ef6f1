// Every function over arrays that end or begin at an inaccessible page, at every length up to twice the
// longest pass: a read or write beside an array is a crash.
#include "support/functions.h"
#include "support/guard_pages.h"

#include "qor_fyn.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>

namespace {

using test::Edge;
using test::FunctionRow;
using test::GuardedArray;

constexpr std::size_t longest = 33;
constexpr std::size_t stride = 2;

// Ordinary arguments with a special one now and then.
void fill(const FunctionRow &row, const GuardedArray<char> &bytes) {
    for (std::size_t i = 0; i < bytes.size() / row.real_bytes(); ++i) {
        const double x = i % 7 == 5 ? -INFINITY : 0.25 + 0.125 * static_cast<double>(i % 6);
        const float f = static_cast<float>(x);
        char *const place = bytes.data() + i * row.real_bytes();
        row.is_single() ? std::memcpy(place, &f, 4) : std::memcpy(place, &x, 8);
    }
}

TEST(GuardPages, NothingBesideTheArraysIsTouched) {
    const std::uint32_t old = _fynSetMode(FYN_ERRMODE_NOERR);
    for (const FunctionRow &row : test::function_rows()) {
        if (row.is_pack() || row.is("lin")) // pack has its own; the linear fraction shares the frame of Add
            continue;
        const std::size_t a_bytes = row.argument_parts() * row.real_bytes();
        const std::size_t r_bytes = row.result_parts() * row.real_bytes();
        const std::int32_t increment = row.strided ? stride : 1;
        for (const Edge edge : {Edge::begin, Edge::end})
            for (std::size_t n = 1; n <= longest; n += row.strided ? 8 : 1) {
                const std::size_t room = row.strided ? (n - 1) * stride + 1 : n;
                const GuardedArray<char> a(room * a_bytes, edge),
                    b((row.is("v-s") ? 1 : room) * a_bytes, edge);
                const GuardedArray<char> r1(room * r_bytes, edge, '\x5A'), r2(room * r_bytes, edge, '\x5A');
                fill(row, a);
                fill(row, b);
                for (int slot = 0; slot < 3; ++slot) {
                    if (row.kernels[slot] != slot)
                        continue;
                    test::call(row, slot, static_cast<std::int32_t>(n), a.data(), increment, b.data(),
                               increment, r1.data(), increment, r2.data(), increment);
                }
                // Between strided results nothing has changed.
                for (std::size_t i = r_bytes; row.strided && i < r1.size(); i += 2 * r_bytes) {
                    ASSERT_EQ(r1[i], '\x5A') << row.stem();
                }
            }
    }
    _fynSetMode(old);
}

} // namespace
