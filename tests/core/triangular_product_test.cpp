// Triangular products against the definition, element by element.
//
// The data are small integers: every product and sum is exact in float too, so results must be equal to
// the definition's, whatever the order of summation, and no floating-point flag may rise.

#include "core_interface/core.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfenv>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <utility>
#include <vector>

namespace {

enum class Form { full, small, packed };

struct Call {
    char side, uplo, transa, diag;
    std::int64_t m, n, ldb, lda;

    bool right() const { return side == 'R'; }
    std::int64_t order() const { return right() ? n : m; }
    bool stored(std::int64_t i, std::int64_t j) const {
        return (uplo == 'U' ? i <= j : i >= j) && !(diag == 'U' && i == j);
    }
};

std::ostream &operator<<(std::ostream &out, const Call &c) {
    return out << c.side << c.uplo << c.transa << c.diag << " m " << c.m << " n " << c.n << " ldb " << c.ldb
               << " lda " << c.lda;
}

std::size_t index(std::int64_t i) { return static_cast<std::size_t>(i); }

void run(Form form, const Call &c, double alpha, const double *a, double *b) {
    if (form == Form::full)
        qor_blas4fyn_dtrmm(&c.side, &c.uplo, &c.transa, &c.diag, &c.m, &c.n, &alpha, a, &c.lda, b, &c.ldb);
    else if (form == Form::small)
        qor_blas_xdtrmm_4fyn(&c.side, &c.uplo, &c.transa, &c.diag, &c.m, &c.n, &alpha, a, &c.lda, b, &c.ldb);
    else
        qor_blas4fyn_dptrmm(&c.side, &c.uplo, &c.transa, &c.diag, &c.m, &c.n, &alpha, a, b, &c.ldb);
}

void run(Form form, const Call &c, float alpha, const float *a, float *b) {
    if (form == Form::full)
        qor_blas4fyn_strmm(&c.side, &c.uplo, &c.transa, &c.diag, &c.m, &c.n, &alpha, a, &c.lda, b, &c.ldb);
    else if (form == Form::small)
        qor_blas_xstrmm_4fyn(&c.side, &c.uplo, &c.transa, &c.diag, &c.m, &c.n, &alpha, a, &c.lda, b, &c.ldb);
    else
        qor_blas4fyn_sptrmm(&c.side, &c.uplo, &c.transa, &c.diag, &c.m, &c.n, &alpha, a, b, &c.ldb);
}

// The dense square matrix whose triangle a call is given.
template <typename T> struct Dense {
    std::int64_t order;
    std::vector<T> element;

    T &operator()(std::int64_t i, std::int64_t j) { return element[index(i + j * order)]; }
    T operator()(std::int64_t i, std::int64_t j) const { return element[index(i + j * order)]; }
};

template <typename T, typename Source> Dense<T> random_dense(std::int64_t order, Source source) {
    Dense<T> a{order, std::vector<T>(index(order * order))};
    for (T &element : a.element)
        element = static_cast<T>(source());
    return a;
}

// The array passed to the call: NaN wherever the call has no business to look.
template <typename T> std::vector<T> store(Form form, const Call &c, const Dense<T> &a) {
    const T nan = std::numeric_limits<T>::quiet_NaN();
    const std::int64_t order = c.order();
    std::vector<T> array;
    if (form == Form::packed) {
        for (std::int64_t j = 0; j < order; ++j) {
            for (std::int64_t i = c.uplo == 'U' ? 0 : j; i <= (c.uplo == 'U' ? j : order - 1); ++i)
                array.push_back(c.stored(i, j) ? a(i, j) : nan);
        }
    } else {
        array.assign(index(c.lda * order), nan);
        for (std::int64_t j = 0; j < order; ++j) {
            for (std::int64_t i = 0; i < order; ++i) {
                if (c.stored(i, j))
                    array[index(i + j * c.lda)] = a(i, j);
            }
        }
    }
    return array;
}

// Straight from the definition; elements between the columns of B stay.
template <typename T>
std::vector<T> defined_product(const Call &c, T alpha, const Dense<T> &a, const std::vector<T> &b) {
    const auto op = [&](std::int64_t i, std::int64_t j) -> T {
        if (c.transa != 'N')
            std::swap(i, j);
        return c.stored(i, j) ? a(i, j) : static_cast<T>(c.diag == 'U' && i == j);
    };
    std::vector<T> result = b;
    for (std::int64_t j = 0; j < c.n; ++j) {
        for (std::int64_t i = 0; i < c.m; ++i) {
            T sum = 0;
            for (std::int64_t k = 0; k < c.order(); ++k)
                sum += c.right() ? b[index(i + k * c.ldb)] * op(k, j) : op(i, k) * b[index(k + j * c.ldb)];
            result[index(i + j * c.ldb)] = alpha * sum;
        }
    }
    return result;
}

// Calls visit(call) for every combination of capital letters.
template <typename Visit> void for_all_letters(Visit visit) {
    for (char side : {'L', 'R'})
        for (char uplo : {'U', 'L'})
            for (char transa : {'N', 'T', 'C'})
                for (char diag : {'N', 'U'})
                    visit(Call{side, uplo, transa, diag, 0, 0, 0, 0});
}

template <typename T> class TriangularProduct : public testing::Test {
  protected:
    std::mt19937 generator{20240917};

    T small_integer() { return static_cast<T>(static_cast<int>(generator() % 9) - 4); }
    T real() { return std::uniform_real_distribution<T>(-1, 1)(generator); }

    void expect_defined_product(Call c, std::int64_t m, std::int64_t n, std::int64_t slack, T alpha) {
        c.m = m;
        c.n = n;
        c.ldb = std::max<std::int64_t>(m, 1) + slack;
        c.lda = std::max<std::int64_t>(c.order(), 1) + 2 * slack;
        const Dense<T> a = random_dense<T>(c.order(), [this] { return small_integer(); });
        std::vector<T> b(index(c.ldb * n));
        for (T &element : b)
            element = small_integer();
        const std::vector<T> expected = defined_product(c, alpha, a, b);
        for (Form form : {Form::full, Form::small, Form::packed}) {
            const std::vector<T> array = store(form, c, a);
            std::vector<T> result = b;
            std::feclearexcept(FE_ALL_EXCEPT);
            run(form, c, alpha, array.data(), result.data());
            const int flags = std::fetestexcept(FE_ALL_EXCEPT);
            ASSERT_EQ(flags, 0) << c << " form " << static_cast<int>(form);
            ASSERT_EQ(result, expected) << c << " form " << static_cast<int>(form) << " alpha " << alpha;
        }
    }
};

using Types = testing::Types<float, double>;
TYPED_TEST_SUITE(TriangularProduct, Types);

TYPED_TEST(TriangularProduct, FollowsTheDefinition) {
    for_all_letters([this](const Call &letters) {
        for (std::int64_t m : {0, 1, 2, 4, 7, 13})
            for (std::int64_t n : {0, 1, 2, 4, 7, 13})
                for (std::int64_t slack : {0, 3})
                    for (int alpha : {0, 1, -2})
                        this->expect_defined_product(letters, m, n, slack, static_cast<TypeParam>(alpha));
    });
}

// Around 16 and 64 rows and columns, and well beyond.
TYPED_TEST(TriangularProduct, FollowsTheDefinitionInLargeOrders) {
    const std::int64_t sizes[][2] = {{16, 17}, {17, 16}, {63, 33}, {64, 9},
                                     {65, 8},  {9, 65},  {129, 5}, {5, 200}};
    for_all_letters([this, &sizes](const Call &letters) {
        for (const auto &[m, n] : sizes)
            this->expect_defined_product(letters, m, n, 1, 1);
    });
}

// With data that round: the three forms, and A beside its transpose stored in the other triangle, give
// the same bits, and a column gives the same bits alone as among others.
TYPED_TEST(TriangularProduct, SameBitsInEveryForm) {
    using T = TypeParam;
    constexpr std::int64_t columns = 37;
    for (std::int64_t order : {3, 10, 11, 70, 131}) {
        const Dense<T> a = random_dense<T>(order, [this] { return this->real(); });
        Dense<T> transpose = a;
        for (std::int64_t j = 0; j < order; ++j)
            for (std::int64_t i = 0; i < order; ++i)
                transpose(i, j) = a(j, i);
        std::vector<T> b(index(order * columns));
        for (T &element : b)
            element = this->real();
        const Call lower{'L', 'L', 'N', 'N', order, columns, order, order};
        const Call upper{'L', 'U', 'T', 'N', order, columns, order, order};
        const T alpha = static_cast<T>(1.1);
        std::vector<T> expected = b;
        run(Form::full, lower, alpha, store(Form::full, lower, a).data(), expected.data());
        const auto expect_same = [&](const std::vector<T> &result, const char *what) {
            EXPECT_EQ(std::memcmp(result.data(), expected.data(), result.size() * sizeof(T)), 0)
                << what << order;
        };
        for (Form form : {Form::full, Form::small, Form::packed}) {
            std::vector<T> result = b;
            run(form, lower, alpha, store(form, lower, a).data(), result.data());
            expect_same(result, "lower, order ");
            result = b;
            run(form, upper, alpha, store(form, upper, transpose).data(), result.data());
            expect_same(result, "upper transposed, order ");
        }
        std::vector<T> one_by_one = b;
        Call single = lower;
        single.n = 1;
        for (std::int64_t j = 0; j < columns; ++j)
            run(Form::full, single, alpha, store(Form::full, lower, a).data(), one_by_one.data() + j * order);
        expect_same(one_by_one, "column by column, order ");
    }
}

TYPED_TEST(TriangularProduct, SmallLettersMeanTheSame) {
    using T = TypeParam;
    for_all_letters([this](Call c) {
        c.m = c.ldb = 5;
        c.n = c.lda = 5;
        const Dense<T> a = random_dense<T>(5, [this] { return this->small_integer(); });
        std::vector<T> b(25);
        for (T &element : b)
            element = this->small_integer();
        const auto small = [](char letter) { return static_cast<char>(letter + ('a' - 'A')); };
        const Call lowered{small(c.side), small(c.uplo), small(c.transa), small(c.diag), 5, 5, 5, 5};
        for (Form form : {Form::full, Form::small, Form::packed}) {
            const std::vector<T> array = store(form, c, a);
            std::vector<T> result = b;
            run(form, lowered, T{1}, array.data(), result.data());
            EXPECT_EQ(result, defined_product(c, T{1}, a, b)) << c;
        }
    });
}

TYPED_TEST(TriangularProduct, AlphaZeroClearsWithoutReading) {
    using T = TypeParam;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    const std::vector<T> a(9, nan);
    for (char side : {'L', 'R'}) {
        for (Form form : {Form::full, Form::small, Form::packed}) {
            std::vector<T> b(12, nan); // 3 by 3 in columns of 4
            run(form, Call{side, 'U', 'N', 'N', 3, 3, 4, 3}, T{0}, a.data(), b.data());
            for (std::size_t i = 0; i < b.size(); ++i)
                EXPECT_EQ(b[i] == 0, i % 4 != 3) << i;
        }
    }
}

// What is not finite reaches the rows it should and the columns it should, and no others.
TYPED_TEST(TriangularProduct, NotFiniteStaysInItsColumn) {
    using T = TypeParam;
    constexpr std::int64_t order = 4, columns = 21;
    const Call c{'L', 'L', 'N', 'N', order, columns, order, order};
    const std::vector<T> a(16, T{1});
    for (std::int64_t bad = 0; bad < columns; ++bad) {
        std::vector<T> b(index(order * columns), T{1});
        b[index(2 + bad * order)] = std::numeric_limits<T>::infinity();
        run(Form::full, c, T{1}, a.data(), b.data());
        for (std::int64_t j = 0; j < columns; ++j) {
            for (std::int64_t i = 0; i < order; ++i) {
                const bool reached = j == bad && i >= 2;
                EXPECT_EQ(b[index(i + j * order)],
                          reached ? std::numeric_limits<T>::infinity() : static_cast<T>(i + 1));
            }
        }
    }
}

TYPED_TEST(TriangularProduct, KeepsTheSignOfZero) {
    using T = TypeParam;
    const T a = 2;
    T b = static_cast<T>(-0.0);
    run(Form::full, Call{'L', 'L', 'N', 'N', 1, 1, 1, 1}, T{1}, &a, &b);
    EXPECT_TRUE(b == 0 && std::signbit(b));
}

TYPED_TEST(TriangularProduct, WrongArgumentsLeaveB) {
    using T = TypeParam;
    struct Case {
        Call call;
        bool packed_too; // the packed forms have no lda to be wrong
    };
    const Case cases[] = {
        {{'X', 'U', 'N', 'N', 3, 3, 3, 3}, true},  {{'L', 'X', 'N', 'N', 3, 3, 3, 3}, true},
        {{'L', 'U', 'X', 'N', 3, 3, 3, 3}, true},  {{'L', 'U', 'N', 'X', 3, 3, 3, 3}, true},
        {{'L', 'U', 'N', 'L', 3, 3, 3, 3}, true},  {{'L', 'U', 'N', 'N', -1, 3, 3, 3}, true},
        {{'L', 'U', 'N', 'N', 3, -1, 3, 3}, true}, {{'L', 'U', 'N', 'N', 3, 3, 2, 3}, true},
        {{'L', 'U', 'N', 'N', 3, 2, 3, 2}, false}, {{'R', 'U', 'N', 'N', 2, 3, 3, 2}, false},
        {{'L', 'U', 'N', 'N', 3, 3, 0, 3}, true},  {{'\0', 'U', 'N', 'N', 3, 3, 3, 3}, true},
    };
    const std::vector<T> a(9, T{2});
    const std::vector<T> before(9, T{5});
    for (const Case &c : cases) {
        for (Form form : {Form::full, Form::small, Form::packed}) {
            if (form == Form::packed && !c.packed_too)
                continue;
            for (T alpha : {T{1}, T{0}}) {
                std::vector<T> b = before;
                run(form, c.call, alpha, a.data(), b.data());
                EXPECT_EQ(b, before) << c.call << " form " << static_cast<int>(form);
            }
        }
    }
}

} // namespace
