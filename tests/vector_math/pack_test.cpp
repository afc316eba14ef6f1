// Pack and unpack, all 24 kernels in both widths of integers, against the plain definition; every array ends
// or begins at an inaccessible page and is just as long as the definition asks for.
#include "support/functions.h"
#include "support/guard_pages.h"

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <random>

namespace {

using test::Edge;

// The arguments of one call: positions of the sparse vector's elements in the order of the dense one.
struct Plan {
    std::int64_t increment;
    std::vector<std::int64_t> selector; // index or mask
    std::vector<std::size_t> sparse;    // positions
    std::size_t room;                   // of the sparse vector
};

Plan plan(char form, std::size_t n, std::int64_t increment, std::mt19937 &random) {
    Plan p{increment, {}, {}, n};
    if (form == 'I') {
        p.room = n == 0 ? 0 : (n - 1) * static_cast<std::size_t>(std::abs(increment)) + 1;
        for (std::size_t i = 0; i < n; ++i) {
            const std::size_t step = i * static_cast<std::size_t>(std::abs(increment));
            p.sparse.push_back(increment < 0 ? p.room - 1 - step : step);
        }
    } else if (form == 'V') {
        for (std::size_t i = 0; i < n; ++i)
            p.sparse.push_back(i);
        std::shuffle(p.sparse.begin(), p.sparse.end(), random);
        p.selector.assign(p.sparse.begin(), p.sparse.end());
    } else {
        const unsigned density = random() % 4; // none, some, half, all
        for (std::size_t i = 0; i < n; ++i) {
            const bool selected = random() % 3 < density;
            // any non-zero entry selects, also one that is zero in its lower half
            p.selector.push_back(selected ? random() % 2 ? std::int64_t{-7} : std::int64_t{1} << 30 : 0);
            if (selected)
                p.sparse.push_back(i);
        }
    }
    return p;
}

template <class Integer>
void check(const test::FunctionRow &row, std::size_t n, std::int64_t increment, Edge edge,
           std::mt19937 &random) {
    const bool pack = row.is("pack");
    const char form = row.name[std::strlen(row.name) - 1];
    const Plan p = plan(form, n, increment, random);
    const std::size_t size = row.real_bytes() * row.argument_parts(), dense = p.sparse.size();
    const std::size_t from_room = pack ? p.room : dense, to_room = pack ? dense : p.room;

    test::GuardedArray<char> a(from_room * size, edge), y(to_room * size, edge);
    for (char &byte : a)
        byte = static_cast<char>(random());
    std::fill(y.begin(), y.end(), '\x5A');
    std::vector<char> expected(y.begin(), y.end());
    for (std::size_t j = 0; j < dense; ++j) {
        const std::size_t from = pack ? p.sparse[j] : j, to = pack ? j : p.sparse[j];
        std::copy_n(a.data() + from * size, size, expected.data() + to * size);
    }
    test::GuardedArray<Integer> selector(p.selector.size(), edge);
    for (std::size_t i = 0; i < p.selector.size(); ++i)
        selector[i] = static_cast<Integer>(p.selector[i]);
    if (form == 'M' && sizeof(Integer) == 8) // only the upper half tells
        for (Integer &entry : selector)
            entry = static_cast<Integer>(static_cast<std::uint64_t>(entry) << 32);

    const bool backwards = form == 'I' && increment < 0 && n > 0;
    char *const y_start = y.data() + (backwards && !pack ? (p.room - 1) * size : 0);
    const char *const a_start = a.data() + (backwards && pack ? (p.room - 1) * size : 0);
    const std::int32_t flag = sizeof(Integer) == 4 ? 1 : 0;
    void *const kernel = *static_cast<void **>(test::find("qor_fyn_kernel_" + row.stem() + "_ttab"));
    const auto count = static_cast<std::int64_t>(n);
    using I = std::int64_t;
    using S = std::int32_t;
    if (form == 'I' && pack)
        reinterpret_cast<void (*)(I, const void *, I, void *, S)>(kernel)(count, a_start, increment, y_start,
                                                                          flag);
    else if (form == 'I')
        reinterpret_cast<void (*)(I, const void *, void *, I, S)>(kernel)(count, a_start, y_start, increment,
                                                                          flag);
    else if (pack)
        reinterpret_cast<void (*)(I, const void *, const void *, void *, S)>(kernel)(
            count, a_start, selector.data(), y_start, flag);
    else
        reinterpret_cast<void (*)(I, const void *, void *, const void *, S)>(kernel)(count, a_start, y_start,
                                                                                     selector.data(), flag);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), y.begin()))
        << row.stem() << " n " << n << " increment " << increment << " width " << sizeof(Integer);
}

TEST(Pack, EveryKernelEveryWidthBetweenGuardPages) {
    std::mt19937 random(11);
    std::size_t kernels = 0;
    for (const test::FunctionRow &row : test::function_rows()) {
        if (!row.is_pack())
            continue;
        ++kernels;
        for (std::size_t n = 0; n <= 20; ++n)
            for (const std::int64_t increment : {1, -1, 3, -2})
                for (const Edge edge : {Edge::begin, Edge::end}) {
                    check<std::int32_t>(row, n, increment, edge, random);
                    check<std::int64_t>(row, n, increment, edge, random);
                }
    }
    EXPECT_EQ(kernels, 24u);
}

} // namespace
