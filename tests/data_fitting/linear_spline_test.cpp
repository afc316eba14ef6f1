#include "tests/data_fitting/task_support.h"

#include <cmath>
#include <random>
#include <vector>

namespace {

template <class T> struct LinearSpline : test::TaskTest<T> {
    // Builds the splines of `ny` functions; the coefficients are one row after the other.
    std::vector<T> build_spline(const std::vector<T> &x, std::int64_t nx, std::int64_t xhint, std::int64_t ny,
                                const std::vector<T> &y, std::int64_t yhint) {
        EXPECT_EQ(this->create_new(nx, x.data(), xhint, ny, y.data(), yhint), 0);
        std::vector<T> c(static_cast<std::size_t>(2 * (nx - 1) * ny));
        EXPECT_EQ(this->edit_spline(this->handle, 2, 0, 0, nullptr, 0, nullptr, c.data(), 0), 0);
        for (std::int64_t j = 1; j < ny && yhint == 0x80; ++j)
            EXPECT_EQ(this->edit_entry(this->handle, 2, j, y.data() + j * nx), 0);
        EXPECT_EQ(this->build(this->handle, 5, nullptr, -5), 0);
        return c;
    }
};
TYPED_TEST_SUITE(LinearSpline, test::Precisions);

// Slopes are chosen and the values follow, all of them small integers (in a uniform partition the slopes are
// multiples of 1/64), so that every slope has one right answer; the width's rounded reciprocal would miss
// some.
TYPED_TEST(LinearSpline, ChosenSlopesComeBack) {
    using T = TypeParam;
    std::mt19937_64 random(2);
    for (const std::int64_t nx : {2, 3, 4, 5, 6, 8, 9, 17, 256, 257, 258, 600})
        for (const std::int64_t ny : {1, 2, 3, 5})
            for (const bool uniform : {false, true})
                for (const std::int64_t yhint : {0x00, 0x10, 0x20, 0x80}) {
                    const auto n = static_cast<std::size_t>(nx), m = static_cast<std::size_t>(ny);
                    std::vector<T> x{-40}, y(n * m), expected;
                    for (std::size_t i = 1; i < n && !uniform; ++i)
                        x.push_back(x.back() + T(1 + random() % 64));
                    if (uniform)
                        x.push_back(x.back() + 64);
                    for (std::size_t j = 0; j < m; ++j) {
                        T value = T(random() % 100);
                        for (std::size_t i = 0; i < n; ++i) {
                            y[yhint == 0x20 ? i * m + j : j * n + i] = value;
                            if (i + 1 == n)
                                break;
                            const T chosen = T(random() % 64) - 32;
                            expected.insert(expected.end(),
                                            {value, uniform ? chosen * T(nx - 1) / 64 : chosen});
                            value += uniform ? chosen : chosen * (x[i + 1] - x[i]);
                        }
                    }
                    EXPECT_EQ(this->build_spline(x, nx, uniform ? 4 : 1, ny, y, yhint), expected)
                        << nx << ' ' << ny << ' ' << uniform << ' ' << yhint;
                }
}

// 1 / 49 and 1 / 41 times 49 and 41 are the classic products that fall one bit short of 1, the one in double
// and the other in single precision.
TYPED_TEST(LinearSpline, UniformSlopesAreProducts) {
    using T = TypeParam;
    const int width = sizeof(T) == 8 ? 49 : 41;
    const T short_of_one = 1 - std::numeric_limits<T>::epsilon() / 2;
    std::vector<T> x, y, products, quotients;
    for (int i = 0; i <= width; ++i) {
        x.push_back(T(i));
        y.push_back(T(i % 2 * 8));
        if (i < width) {
            const T slope = i % 2 ? -8 : 8;
            products.insert(products.end(), {y.back(), slope * short_of_one});
            quotients.insert(quotients.end(), {y.back(), slope});
        }
    }
    EXPECT_EQ(this->build_spline({0, T(width)}, width + 1, 4, 1, y, 0), products);
    EXPECT_EQ(this->build_spline(x, width + 1, 0, 1, y, 0), quotients);
}

TYPED_TEST(LinearSpline, EqualBreakpoints) {
    const auto c = this->build_spline({0, 0, 0, 1}, 4, 0, 1, {1, 2, 2, 5}, 0);
    EXPECT_EQ(c[1], INFINITY);
    EXPECT_TRUE(std::isnan(c[3]));
    EXPECT_EQ(c[5], 3);
}

TYPED_TEST(LinearSpline, ChecksInOrder) {
    using T = TypeParam;
    T x[] = {0, 1, 2}, y[] = {1, 2, 4}, c[] = {9, 9, 9, 9};
    EXPECT_EQ(this->build(nullptr, 0, x, 0), -1002);
    EXPECT_EQ(this->build(nullptr, 0, nullptr, 0), -1000);
    ASSERT_EQ(this->create_new(3, x, 0, 0, nullptr, 0), 0);
    this->task().nx = 1;
    this->task().yhint = 0x40;
    EXPECT_EQ(this->build(this->handle, 0, x, 0), -1002);
    EXPECT_EQ(this->build(this->handle, 0, nullptr, 0), -1004);
    this->task().nx = 3;
    EXPECT_EQ(this->build(this->handle, 0, nullptr, 0), -1009);
    this->task().yhint = 0;
    EXPECT_EQ(this->build(this->handle, 0, nullptr, 0), -1008);
    qor_df_kernel_iEditVal(this->handle, 16, 1);
    EXPECT_EQ(this->edit_pointer(this->handle, 2, y), 0);
    EXPECT_EQ(this->build(this->handle, 0, nullptr, 0), -1016);
    EXPECT_EQ(this->edit_spline(this->handle, 2, 0, 0, nullptr, 0, nullptr, c, 0), 0);
    // No function counts as one.
    this->task().ny = 0;
    EXPECT_EQ(c[0], 9);
    EXPECT_EQ(this->build(this->handle, 0, nullptr, 0), 0);
    EXPECT_EQ(std::vector<T>(c, c + 4), (std::vector<T>{1, 1, 2, 2}));
}

} // namespace
