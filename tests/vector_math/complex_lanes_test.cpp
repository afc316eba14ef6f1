// Products, quotients and lengths of complex numbers against two doubles' working precision: parts that
// cancel by every power of two, parts far from each other, zeros on either axis; both ends of the lanes'
// range, full passes and tails.
#include "vector_math/kernels/complex_arithmetic.h"

#include "qor_fyn.h"

#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

using namespace qor::fyn;
using complex_ops::sum_of_products;
using Z = Complex<double>;
using Parts = std::vector<DoubleDouble>;
using Entry = void (*)(std::int32_t, const FynComplex16 *, const FynComplex16 *, FynComplex16 *);

constexpr double bound = 0.55;

Parts product(Z x, Z y) {
    return {sum_of_products<DoubleDouble>(x.re, y.re, -x.im, y.im),
            sum_of_products<DoubleDouble>(x.re, y.im, x.im, y.re)};
}
Parts product_by_conjugate(Z x, Z y) { return product(x, {y.re, -y.im}); }
Parts quotient(Z x, Z y) {
    const auto norm = sum_of_products<DoubleDouble>(y.re, y.re, y.im, y.im);
    const Parts sums = product_by_conjugate(x, y);
    return {sums[0] / norm, sums[1] / norm};
}

struct Operation {
    const char *name;
    Entry entry;
    Parts (*truth)(Z, Z);
};
constexpr Operation operations[] = {{"Mul", _fynzMul, product},
                                    {"MulByConj", _fynzMulByConj, product_by_conjugate},
                                    {"Div", _fynzDiv, quotient}};

// In ulp of the truth; zeros must be such exactly.
double error_of(double r, DoubleDouble truth) {
    if (truth.hi == 0)
        return r == 0 ? 0 : 1;
    return std::fabs((truth.hi - r) + truth.lo) * std::exp2(52 - std::ilogb(truth.hi));
}

struct Arguments {
    std::mt19937_64 random{11};
    double sized(int exponent) {
        const double x = std::ldexp(1 + static_cast<double>(random() >> 12) * 0x1p-52, exponent);
        return random() & 1 ? x : -x;
    }
    int below(int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); }

    // y whose product with x cancels to about 2^-k in one part.
    void cancelling(int k, Z &x, Z &y) {
        x = {sized(0), sized(below(5) - 2)};
        const double c = sized(0), d = x.re * c / x.im * (1 + sized(-k));
        y = below(2) ? Z{c, d} : Z{d, -c};
        if (below(2))
            y = {y.im, y.re};
    }
    void distant(int most, Z &x, Z &y) {
        x = {sized(below(most) - most / 2), sized(below(most) - most / 2)};
        y = {sized(below(most) - most / 2), sized(below(most) - most / 2)};
    }
    void with_zeros(Z &x, Z &y) {
        distant(20, x, y);
        double *const parts[] = {&x.re, &x.im, &y.re, &y.im};
        *parts[below(4)] = below(2) ? 0.0 : -0.0;
        *parts[below(2)] = below(2) ? 0.0 : -0.0;
    }
};

TEST(ComplexLanes, PartsAreAsGoodAsPromised) {
    Arguments arguments;
    std::vector<Z> x, y;
    for (int k = 0; k < 60000; ++k) {
        Z u, v;
        switch (k % 4) {
        case 0:
            arguments.cancelling(arguments.below(56), u, v);
            break;
        case 1:
            arguments.cancelling(14 + arguments.below(8), u, v);
            break;
        case 2:
            arguments.distant(k % 8 == 2 ? 4 : 300, u, v);
            break;
        default:
            arguments.with_zeros(u, v);
        }
        x.push_back(u);
        y.push_back(v);
    }
    std::vector<FynComplex16> a, b, r(x.size()), one(1);
    for (const Z &u : x)
        a.push_back({u.re, u.im});
    for (const Z &v : y)
        b.push_back({v.re, v.im});
    for (const Operation &operation : operations) {
        operation.entry(static_cast<std::int32_t>(r.size()), a.data(), b.data(), r.data());
        for (std::size_t i = 0; i < r.size(); ++i) {
            const Parts truth = operation.truth(x[i], y[i]);
            const double error = std::fmax(error_of(r[i].re, truth[0]), error_of(r[i].im, truth[1]));
            ASSERT_LE(error, bound) << operation.name << " (" << x[i].re << ", " << x[i].im << "), ("
                                    << y[i].re << ", " << y[i].im << ")";
            // Zeros have the signs of plain arithmetic, and an element has its bits everywhere.
            const Z v = operation.truth == &product ? y[i] : Z{y[i].re, -y[i].im};
            const Z plain{x[i].re * v.re - x[i].im * v.im, x[i].re * v.im + x[i].im * v.re};
            if (r[i].re == 0) {
                ASSERT_EQ(std::signbit(r[i].re), std::signbit(plain.re)) << operation.name << " " << i;
            }
            if (r[i].im == 0) {
                ASSERT_EQ(std::signbit(r[i].im), std::signbit(plain.im)) << operation.name << " " << i;
            }
            operation.entry(1, &a[i], &b[i], one.data());
            ASSERT_EQ(one[0].re, r[i].re) << operation.name << " " << i;
            ASSERT_EQ(one[0].im, r[i].im) << operation.name << " " << i;
        }
    }
}

TEST(ComplexLanes, RangeOfTheLanes) {
    for (const int exponent : {-201, -200, -199, 198, 199, 200, 201}) {
        Arguments arguments;
        for (int k = 0; k < 500; ++k) {
            const Z u{arguments.sized(exponent), arguments.sized(exponent - arguments.below(60))};
            const Z v{arguments.sized(arguments.below(400) - 200), arguments.sized(0)};
            const FynComplex16 a{u.re, u.im}, b{v.re, v.im};
            for (const Operation &operation : operations)
                for (const bool swapped : {false, true}) {
                    FynComplex16 r;
                    operation.entry(1, swapped ? &b : &a, swapped ? &a : &b, &r);
                    const Parts truth = swapped ? operation.truth(v, u) : operation.truth(u, v);
                    ASSERT_LE(error_of(r.re, truth[0]), bound) << operation.name << " " << exponent;
                    ASSERT_LE(error_of(r.im, truth[1]), bound) << operation.name << " " << exponent;
                }
            double length;
            _fynzAbs(1, &a, &length);
            ASSERT_LE(error_of(length, square_root(sum_of_products<DoubleDouble>(u.re, u.re, u.im, u.im))),
                      0.501)
                << exponent;
        }
    }
}

} // namespace
