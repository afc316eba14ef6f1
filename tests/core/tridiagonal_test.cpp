// Tridiagonal systems: how well solutions satisfy the equations, and what the statuses say.

#include "core_interface/core.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace {

void factor(std::int64_t n, float *dl, float *d, float *du, std::int64_t *info) {
    sdttrfb_4dfl(&n, dl, d, du, info);
}
void factor(std::int64_t n, double *dl, double *d, double *du, std::int64_t *info) {
    ddttrfb_4dfl(&n, dl, d, du, info);
}
void solve(char trans, std::int64_t n, std::int64_t nrhs, const float *dl, const float *d, const float *du,
           float *b, std::int64_t ldb, std::int64_t *info) {
    sdttrsb_4dfl(&trans, &n, &nrhs, dl, d, du, b, &ldb, info);
}
void solve(char trans, std::int64_t n, std::int64_t nrhs, const double *dl, const double *d, const double *du,
           double *b, std::int64_t ldb, std::int64_t *info) {
    ddttrsb_4dfl(&trans, &n, &nrhs, dl, d, du, b, &ldb, info);
}
void factor_and_solve(std::int64_t n, std::int64_t nrhs, float *dl, float *d, float *du, float *b,
                      std::int64_t ldb, std::int64_t *info) {
    sdtsvb_4dfl(&n, &nrhs, dl, d, du, b, &ldb, info);
}
void factor_and_solve(std::int64_t n, std::int64_t nrhs, double *dl, double *d, double *du, double *b,
                      std::int64_t ldb, std::int64_t *info) {
    ddtsvb_4dfl(&n, &nrhs, dl, d, du, b, &ldb, info);
}

std::size_t index(std::int64_t i) { return static_cast<std::size_t>(i); }

template <typename T> struct Matrix {
    std::vector<T> dl, d, du;

    // Element (i, j) of the matrix as it is meant.
    long double operator()(std::int64_t i, std::int64_t j) const {
        if (i == j)
            return d[index(i)];
        if (i == j + 1)
            return dl[index(j)];
        return j == i + 1 ? du[index(i)] : T{0};
    }
};

template <typename T> class Tridiagonal : public testing::Test {
  protected:
    std::mt19937 generator{77};

    T real() { return std::uniform_real_distribution<T>(-1, 1)(generator); }

    // Dominant by rows; signs and sizes of the elements vary.
    Matrix<T> dominant(std::int64_t n) {
        Matrix<T> a;
        for (std::int64_t i = 0; i + 1 < n; ++i) {
            a.dl.push_back(real());
            a.du.push_back(real());
        }
        for (std::int64_t i = 0; i < n; ++i) {
            const T left = i > 0 ? std::fabs(a.dl[index(i - 1)]) : T{0};
            const T right = i + 1 < n ? std::fabs(a.du[index(i)]) : T{0};
            const T size = left + right + static_cast<T>(0.125);
            a.d.push_back(real() < 0 ? -size : size);
        }
        return a;
    }
};

// The residual of every equation, measured against the sizes of its terms: a few roundings.
template <typename T>
void expect_solved(const Matrix<T> &a, bool transposed, std::int64_t n, const T *x, const T *b) {
    for (std::int64_t i = 0; i < n; ++i) {
        long double residual = b[i], scale = std::fabs(b[i]);
        for (std::int64_t j = std::max<std::int64_t>(i - 1, 0); j < std::min(i + 2, n); ++j) {
            const long double term = (transposed ? a(j, i) : a(i, j)) * static_cast<long double>(x[j]);
            residual -= term;
            scale += std::fabs(term);
        }
        EXPECT_LE(std::fabs(residual), 8 * std::numeric_limits<T>::epsilon() * scale)
            << "equation " << i << " of " << n << (transposed ? ", transposed" : "");
    }
}

using Types = testing::Types<float, double>;
TYPED_TEST_SUITE(Tridiagonal, Types);

TYPED_TEST(Tridiagonal, SolutionsSatisfyTheEquations) {
    using T = TypeParam;
    for (std::int64_t n : {1, 2, 3, 4, 5, 6, 10, 11, 100, 101}) {
        for (std::int64_t nrhs : {0, 1, 3}) {
            const Matrix<T> a = this->dominant(n);
            const std::int64_t ldb = n + 2;
            std::vector<T> b(index(ldb * 3));
            for (T &element : b)
                element = this->real();
            Matrix<T> factors = a;
            std::int64_t info = -99;
            factor(n, factors.dl.data(), factors.d.data(), factors.du.data(), &info);
            ASSERT_EQ(info, 0) << n;
            std::vector<T> solution_of_n;
            for (char trans : {'N', 'T', 'C', 'n', 't', 'c'}) {
                std::vector<T> x = b;
                info = -99;
                solve(trans, n, nrhs, factors.dl.data(), factors.d.data(), factors.du.data(), x.data(), ldb,
                      &info);
                EXPECT_EQ(info, 0) << trans;
                const bool transposed = trans != 'N' && trans != 'n';
                for (std::int64_t column = 0; column < nrhs; ++column)
                    expect_solved(a, transposed, n, x.data() + column * ldb, b.data() + column * ldb);
                for (std::int64_t k = 0; k < ldb * 3; ++k) {
                    if (k % ldb >= n || k / ldb >= nrhs) {
                        EXPECT_EQ(x[index(k)], b[index(k)]) << "written outside at " << k;
                    }
                }
                if (trans == 'N')
                    solution_of_n = x;
            }
            Matrix<T> consumed = a;
            std::vector<T> x = b;
            info = -99;
            factor_and_solve(n, nrhs, consumed.dl.data(), consumed.d.data(), consumed.du.data(), x.data(),
                             ldb, &info);
            EXPECT_EQ(info, 0);
            EXPECT_EQ(x, solution_of_n);
            EXPECT_EQ(consumed.dl, factors.dl);
            EXPECT_EQ(consumed.d, factors.d);
            EXPECT_EQ(consumed.du, factors.du);
        }
    }
}

// The second difference with powers of two has pivots and solutions that are exact.
TYPED_TEST(Tridiagonal, ExactSystem) {
    using T = TypeParam;
    // Rows: 4 2 . | 1 4 1 | . 2 4, and the solution 1, -2, 3.
    std::vector<T> dl{1, 2}, d{4, 4, 4}, du{2, 1}, b{0, -4, 8};
    std::int64_t info = -99;
    factor_and_solve(3, 1, dl.data(), d.data(), du.data(), b.data(), 3, &info);
    EXPECT_EQ(info, 0);
    EXPECT_EQ(b, (std::vector<T>{1, -2, 3}));
}

TYPED_TEST(Tridiagonal, ZeroPivots) {
    using T = TypeParam;
    struct Case {
        std::vector<T> d;
        T off; // all elements off the diagonal
        std::int64_t info;
    };
    const Case cases[] = {
        {{0}, 1, 1},                // order one
        {{0, 1}, 1, 1},             // met at the top
        {{1, 1}, 1, 2},             // made by elimination
        {{1, 1, 0}, 1, 3},          // met at the bottom
        {{1, 2, 1}, 1, 2},          // the middle, emptied from both sides
        {{3, 0, 3}, 0, 2},          // the middle, nothing to eliminate
        {{1, 1, 1, 0}, 1, 4},       // even order, bottom
        {{1, 1, 5, 1, 1}, 1, 2},    // second step from the top
        {{1, 5, 5, 1, 1}, 1, 4},    // second step from the bottom
        {{2, 2, 2, 2, 0}, 0, 5},    // diagonal matrices
        {{2, 2, 0, 2, 2}, 0, 3},    //
        {{-0.0, 2, 2, 2, 2}, 0, 1}, // either zero
    };
    for (const Case &c : cases) {
        const auto n = static_cast<std::int64_t>(c.d.size());
        SCOPED_TRACE(testing::Message() << "order " << n << " pivot " << c.info);
        std::vector<T> dl(c.d.size(), c.off), d = c.d, du = dl;
        std::int64_t info = -99;
        factor(n, dl.data(), d.data(), du.data(), &info);
        EXPECT_EQ(info, c.info);
        dl.assign(c.d.size(), c.off);
        du = dl;
        d = c.d;
        const std::vector<T> before(c.d.size(), T{7});
        std::vector<T> b = before;
        info = -99;
        factor_and_solve(n, 1, dl.data(), d.data(), du.data(), b.data(), n, &info);
        EXPECT_EQ(info, c.info);
        EXPECT_EQ(b, before);
    }
}

TYPED_TEST(Tridiagonal, WrongArgumentsAndEmptySystems) {
    using T = TypeParam;
    struct Case {
        char trans;
        std::int64_t n, nrhs, ldb;
        std::int64_t factor_info, solve_info, both_info;
    };
    const Case cases[] = {
        {'N', -1, 1, 3, -1, -2, -1}, {'N', 3, -1, 3, 0, -3, -2}, {'N', 3, 1, 2, 0, -8, -7},
        {'N', 0, 1, 0, 0, -8, -7},   {'X', 3, 1, 3, 0, -1, 0},   {'N', 0, 1, 1, 0, 0, 0},
        {'T', 0, 1, 1, 0, 0, 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message() << c.trans << " n " << c.n << " nrhs " << c.nrhs << " ldb " << c.ldb);
        std::vector<T> dl(2, T{1}), d(3, T{4}), du(2, T{1}), b(3, T{7});
        const std::vector<T> before = b;
        std::int64_t info = -99;
        solve(c.trans, c.n, c.nrhs, dl.data(), d.data(), du.data(), b.data(), c.ldb, &info);
        EXPECT_EQ(info, c.solve_info);
        EXPECT_EQ(b, before);
        info = -99;
        factor_and_solve(c.n, c.nrhs, dl.data(), d.data(), du.data(), b.data(), c.ldb, &info);
        EXPECT_EQ(info, c.both_info);
        if (c.both_info < 0 || c.n == 0) {
            EXPECT_EQ(b, before);
            EXPECT_EQ(d, std::vector<T>(3, T{4})) << "factored in spite of a wrong argument";
        }
        dl.assign(2, T{1});
        d.assign(3, T{4});
        du.assign(2, T{1});
        info = -99;
        factor(c.n, dl.data(), d.data(), du.data(), &info);
        EXPECT_EQ(info, c.factor_info);
    }
}

} // namespace
