// Skipping ahead in shift registers of the test's own, one for any polynomial.
#include "core_interface/system.h"
#include "statistics/streams/polynomial_remainder.h"
#include "statistics/streams/polynomial_skip.h"
#include "tests/substitute_core/control.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

namespace {

using namespace qor::bex;
using u32 = std::uint32_t;
using u64 = std::uint64_t;

using Polynomial = std::vector<u32>; // coefficients below the degree

bool bit(const Polynomial &p, int i) { return p[static_cast<std::size_t>(i / 32)] >> i % 32 & 1; }

Polynomial random_polynomial(int degree, std::mt19937_64 &random) {
    Polynomial p(static_cast<std::size_t>((degree + 31) / 32));
    for (u32 &word : p)
        word = static_cast<u32>(random());
    p.back() &= ~u32{0} >> (31 - (degree - 1) % 32);
    return p;
}

Polynomial trinomial(int degree, int middle) {
    Polynomial p(static_cast<std::size_t>((degree + 31) / 32));
    p[0] = 1;
    p[static_cast<std::size_t>(middle / 32)] |= u32{1} << middle % 32;
    return p;
}

// Naive arithmetic modulo x^degree + p(x), by shifts of one place.
struct Naive {
    const Polynomial &p;
    int degree;

    void times_x(Polynomial &a) const {
        const bool overflow = bit(a, degree - 1);
        for (std::size_t i = a.size(); i-- > 0;)
            a[i] = a[i] << 1 | (i > 0 ? a[i - 1] >> 31 : 0);
        if (degree % 32 != 0)
            a.back() &= ~(u32{1} << degree % 32);
        for (std::size_t i = 0; overflow && i < a.size(); ++i)
            a[i] ^= p[i];
    }
    Polynomial times(Polynomial a, const Polynomial &b) const {
        Polynomial product(a.size());
        for (int i = 0; i < degree; ++i) {
            for (std::size_t k = 0; bit(b, i) && k < a.size(); ++k)
                product[k] ^= a[k];
            times_x(a);
        }
        return product;
    }
    Polynomial power_of_x(u64 e) const { // from the right, unlike the library
        Polynomial result(p.size()), square(p.size());
        result[0] = 1;
        square[0] = 1;
        times_x(square);
        for (; e != 0; e >>= 1) {
            if (e & 1)
                result = times(result, square);
            square = times(square, square);
        }
        return result;
    }
};

Polynomial remainder(u64 e, int degree, const Polynomial &p, bool carryless) {
    // Words of no meaning above the degree and behind the result.
    Polynomial given = p, out(p.size() + 1, 0xAAAAAAAA);
    if (degree % 32 != 0)
        given.back() |= 0xFFFFFFFE << (degree - 1) % 32;
    EXPECT_EQ(polynomial_remainder(e, degree, given.data(), static_cast<std::int32_t>(p.size()), out.data(),
                                   carryless),
              0);
    EXPECT_EQ(out.back(), 0xAAAAAAAA);
    out.pop_back();
    return out;
}

std::vector<bool> multipliers() {
    return qor::system::processor_features().carryless_multiply ? std::vector{false, true}
                                                                : std::vector{false};
}

TEST(PolynomialRemainder, AgainstNaiveArithmetic) {
    std::mt19937_64 random(1);
    for (const bool carryless : multipliers()) {
        for (int degree = 1; degree <= 400; degree += degree < 200 ? 1 : 19) {
            const Polynomial p = random_polynomial(degree, random);
            const auto d = static_cast<u64>(degree);
            for (u64 e : {u64{0}, d - 1, d, d + 1, 2 * d - 1, 2 * d, random() % 100000, random(), ~u64{0}})
                ASSERT_EQ(remainder(e, degree, p, carryless), (Naive{p, degree}.power_of_x(e)))
                    << degree << ' ' << e;
        }
        const Polynomial p = random_polynomial(19937, random);
        EXPECT_EQ(remainder(1000003, 19937, p, carryless), (Naive{p, 19937}.power_of_x(1000003)));
    }
}

// Exponents beyond brute force: x^(2^degree) = x modulo an irreducible polynomial, and the order of x divides
// 2^degree - 1, which is prime for these.
TEST(PolynomialRemainder, OrderOfX) {
    for (const bool carryless : multipliers())
        for (const auto &[degree, middle] : {std::pair{31, 3}, {17, 3}, {7, 1}}) {
            const Polynomial p = trinomial(degree, middle), one = {1}, x = {2};
            const u64 order = (u64{1} << degree) - 1, most = ~u64{0} / order * order;
            EXPECT_EQ(remainder(order, degree, p, carryless), one);
            EXPECT_EQ(remainder(most, degree, p, carryless), one);
            EXPECT_EQ(remainder(most - order + 1, degree, p, carryless), x);
        }
}

// A shift register: the words b[0 .. degree - 1] are its window of the sequence b[n + degree] = sum p_i b[n +
// i]. A work state is a ring, so that the step moves one word and states begin at different places.
struct Register {
    Polynomial p;
    int degree;
    std::vector<u32> window;
    std::int32_t position = -1, new_position = 5;
    bool ready = true;

    struct Work {
        Register *owner;
        std::int64_t begin;
        u32 *ring() { return reinterpret_cast<u32 *>(this + 1); }
    };
    static Work &of(void *work) { return *static_cast<Work *>(work); }
    static Register &self(void *stream) { return *static_cast<Register *>(stream); }
    static u32 &at(Work &work, int i) { return work.ring()[(work.begin + i) % work.owner->degree]; }

    static void load(void *stream, void *work) {
        Register &r = self(stream);
        of(work) = {&r, 0};
        std::copy(r.window.begin(), r.window.end(), of(work).ring());
    }
    static void add(void *stream, void *work) {
        for (int i = 0; i < self(stream).degree; ++i)
            at(of(work), i) ^= self(stream).window[static_cast<std::size_t>(i)];
    }
    static void step(void *work) {
        Work &w = of(work);
        u32 next = 0;
        for (int i = 0; i < w.owner->degree; ++i)
            next ^= bit(w.owner->p, i) ? at(w, i) : 0;
        at(w, 0) = next;
        w.begin = (w.begin + 1) % w.owner->degree;
    }
    static void store(void *stream, void *work, std::int32_t new_position) {
        Register &r = self(stream);
        for (int i = 0; i < r.degree; ++i)
            r.window[static_cast<std::size_t>(i)] = at(of(work), i);
        r.position = new_position;
    }
    static std::int32_t prepare(void *stream, const SkipParams *, std::int32_t *new_position) {
        *new_position = self(stream).new_position;
        return self(stream).ready;
    }

    Register(Polynomial polynomial, int d)
        : p(std::move(polynomial)), degree(d), window(static_cast<std::size_t>(d)) {
        std::mt19937 random(7);
        std::generate(window.begin(), window.end(), [&] { return static_cast<u32>(random()); });
    }
    template <class Skip> std::int32_t skip(Skip form, u64 count) {
        const SkipParams params = {count,  static_cast<std::int32_t>(p.size()),
                                   degree, static_cast<std::int32_t>(sizeof(Work)) + 4 * degree,
                                   0,      p.data()};
        return form(this, add, load, step, store, prepare, &params);
    }
    void advance(u64 count) {
        std::vector<Work> room(1 + static_cast<std::size_t>(degree));
        load(this, room.data());
        for (; count > 0; --count)
            step(room.data());
        store(this, room.data(), position);
    }
};

constexpr decltype(&__bex_SkipAheadHorner) forms[] = {__bex_SkipAheadHorner, __bex_SkipAheadSWin};

std::vector<Register> registers() {
    std::mt19937_64 random(3);
    std::vector<Register> all = {
        {trinomial(31, 3), 31}, {trinomial(127, 1), 127}, {trinomial(1279, 216), 1279}};
    for (int degree : {1, 2, 5, 63, 64, 65, 128, 521})
        all.emplace_back(random_polynomial(degree, random), degree);
    return all;
}

class PolynomialSkip : public testing::Test {
  protected:
    void SetUp() override { qor_test_reset(); }
    void TearDown() override {
        EXPECT_EQ(qor_test_live_blocks(), 0U);
        EXPECT_EQ(qor_test_bad_releases(), 0U);
    }
};

TEST_F(PolynomialSkip, EqualsSingleSteps) {
    std::mt19937_64 random(4);
    for (const Register &start : registers()) {
        const auto degree = static_cast<u64>(start.degree);
        for (u64 count : {u64{1}, u64{2}, u64{3}, u64{64}, degree - 1, degree, degree + 1, 2 * degree,
                          3 * degree + 7, random() % 5000, random() % 5000}) {
            Register expected = start;
            expected.advance(count);
            for (const auto form : forms) {
                Register r = start;
                ASSERT_EQ(r.skip(form, count), 0);
                ASSERT_EQ(r.window, expected.window) << degree << ' ' << count;
            }
        }
    }
}

TEST_F(PolynomialSkip, LongSkipsAdd) {
    std::mt19937_64 random(5);
    for (const Register &start : registers())
        for (int i = 0; i < 3; ++i) {
            const u64 a = random() >> 1, b = random() >> 1;
            Register once = start, twice = start;
            ASSERT_EQ(once.skip(forms[0], a + b), 0);
            ASSERT_EQ(twice.skip(forms[1], a), 0);
            ASSERT_EQ(twice.skip(forms[1], b), 0);
            ASSERT_EQ(once.window, twice.window) << start.degree;
            ASSERT_TRUE(twice.position == 5 || start.degree <= 5); // a short period can make a remainder 1
        }
}

TEST_F(PolynomialSkip, NothingToDo) {
    const u64 order = (u64{1} << 31) - 1;
    for (const auto form : forms) {
        const Register start(trinomial(31, 3), 31);
        for (u64 count : {u64{0}, order, 4 * order}) {
            Register r = start;
            EXPECT_EQ(r.skip(form, count), 0);
            EXPECT_EQ(r.window, start.window);
        }
        Register r = start;
        r.ready = false;
        qor_test_reset();
        EXPECT_EQ(r.skip(form, 1000), 0);
        EXPECT_EQ(r.window, start.window);
        EXPECT_EQ(r.position, -1);
        EXPECT_EQ(qor_test_allocation_requests(), 0U);
        // A register that only shifts in zeros is empty in the end.
        Register draining(Polynomial{0}, 9);
        EXPECT_EQ(draining.skip(form, 9), 0);
        EXPECT_EQ(draining.window, std::vector<u32>(9));
    }
}

TEST_F(PolynomialSkip, WithoutMemoryTheStateStays) {
    for (const auto form : forms) {
        const Register start(trinomial(127, 1), 127);
        Register r = start;
        ASSERT_EQ(r.skip(form, 1000000), 0);
        const u64 requests = qor_test_allocation_requests();
        ASSERT_GT(requests, 0U);
        for (u64 k = 1; k <= requests; ++k) {
            r = start;
            qor_test_fail_allocation(k);
            EXPECT_EQ(r.skip(form, 1000000), -4);
            EXPECT_EQ(r.window, start.window);
            EXPECT_EQ(r.position, start.position);
            EXPECT_EQ(qor_test_live_blocks(), 0U);
        }
        qor_test_reset();
    }
}

} // namespace
