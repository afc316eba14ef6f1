// A generator through its entries, on records of the test's own, and checks that every generator has to pass.
#pragma once

#include "statistics/streams/stream.h"
#include "tests/support/library.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace test {

using Words = std::vector<std::uint32_t>;

struct Record {
    qor::bex::Stream header{0, 1, nullptr};
    std::uint32_t state[252] = {};
    bool operator==(const Record &other) const { return std::memcmp(state, other.state, sizeof state) == 0; }
};

struct GeneratorEntries {
    std::string name;
    std::size_t words; // 32-bit words of an element
    qor::bex::InitEntry init = entry<qor::bex::InitEntry>("__bexBRng" + name + "InitStream");
    qor::bex::IntegerEntry integers = entry<qor::bex::IntegerEntry>("__bexiBRng" + name);
    qor::bex::DoubleEntry doubles = entry<qor::bex::DoubleEntry>("__bexdBRng" + name);
    qor::bex::FloatEntry floats = entry<qor::bex::FloatEntry>("__bexsBRng" + name);

    Record seeded(const Words &seed, std::uint32_t id = 0) const {
        Record record;
        record.header.brng = id;
        EXPECT_EQ(init(qor::bex::initialise, &record, static_cast<std::int32_t>(seed.size()), seed.data()),
                  0);
        return record;
    }
    Record skipped(Record record, std::uint64_t count) const {
        EXPECT_EQ(init(qor::bex::skip_ahead, &record, 2, &count), 0);
        return record;
    }
    Words draw(Record &record, int n) const {
        Words r(static_cast<std::size_t>(n) * words + 1, 0x5A5A5A5A);
        EXPECT_EQ(integers(&record, n, r.data()), 0);
        EXPECT_EQ(r.back(), 0x5A5A5A5A) << name << ' ' << n;
        r.pop_back();
        return r;
    }

    void check_refusals(const Record &start, const std::vector<std::pair<int, int>> &statuses) const {
        const std::uint64_t params[2] = {3, 0};
        Record record = start;
        for (const auto &[method, status] : statuses)
            EXPECT_EQ(init(method, &record, 2, params), status) << name << ' ' << method;
        EXPECT_EQ(integers(&record, 0, nullptr), 0);
        EXPECT_EQ(doubles(&record, -1, nullptr, 0, 1), 0);
        EXPECT_EQ(record, start);
    }

    // One entry over any cut of a sequence into two calls: the numbers expected, the same end, nothing
    // beyond.
    template <class T, class Draw>
    void check_cuts(const Record &start, const std::vector<T> &expected, std::size_t per_element,
                    const Record &end, Draw call) const {
        const int total = static_cast<int>(expected.size() / per_element);
        std::vector<T> r(expected.size() + 2);
        for (int n = 0; n <= total; n = n < 70 ? n + 1 : n + n / 3) {
            Record record = start;
            r.assign(r.size(), T{77});
            ASSERT_EQ(call(&record, n, r.data() + 1), 0);
            ASSERT_EQ(r[1 + static_cast<std::size_t>(n) * per_element], T{77}) << name << ' ' << n;
            ASSERT_EQ(call(&record, total - n, r.data() + 1 + static_cast<std::size_t>(n) * per_element), 0);
            ASSERT_EQ(0, std::memcmp(r.data() + 1, expected.data(), expected.size() * sizeof(T)))
                << name << ' ' << n;
            ASSERT_TRUE(r.front() == T{77} && r.back() == T{77}) << name << ' ' << n;
            ASSERT_EQ(record, end) << name << ' ' << n;
        }
    }

    // All three entries beside the words of a model; map_double(word pointer, a, b) is an element's number.
    template <class MapDouble, class MapFloat>
    void check_sequence(const Record &start, const Words &expected, MapDouble map_double,
                        MapFloat map_float) const {
        Record end = start;
        draw(end, static_cast<int>(expected.size() / words));
        check_cuts<std::uint32_t>(start, expected, words, end, integers);
        for (const auto &[a, b] : {std::pair{0.0F, 1.0F}, {-0.1F, 5.7e4F}, {2.0F, -0.125F}}) {
            const float fa = a, fb = b;
            const double da = a / 3.0, db = b / 3.0;
            std::vector<double> in_double;
            std::vector<float> in_float;
            for (std::size_t i = 0; i < expected.size(); i += words) {
                in_double.push_back(map_double(&expected[i], da, db));
                in_float.push_back(map_float(&expected[i], fa, fb));
            }
            check_cuts<double>(start, in_double, 1, end,
                               [&](void *s, int n, double *r) { return doubles(s, n, r, da, db); });
            check_cuts<float>(start, in_float, 1, end,
                              [&](void *s, int n, float *r) { return floats(s, n, r, fa, fb); });
        }
    }
};

// The mapping of one-word generators of scale c.
inline auto mapped_double(double c) {
    return [c](const std::uint32_t *x, double a, double b) { return a + *x * ((b - a) * c); };
}
inline auto mapped_float(double c) {
    return [c](const std::uint32_t *x, float a, float b) {
        return a + static_cast<float>(*x) * static_cast<float>((double{b} - double{a}) * c);
    };
}

} // namespace test
