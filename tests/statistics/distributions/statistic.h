// Goodness of fit at the 0.1 % point; streams have fixed seeds, so a test gives the same answer every time.
#pragma once

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace test {

// Kolmogorov-Smirnov: sqrt(n) times the largest distance from the distribution function. A value too small
// would show variates more even than random ones.
template <class T, class Function>
void expect_distribution(std::vector<T> r, const Function &distribution, const std::string &name) {
    std::sort(r.begin(), r.end());
    const auto n = static_cast<double>(r.size());
    double distance = 0;
    for (std::size_t i = 0; i < r.size(); ++i) {
        const double f = distribution(double{r[i]}), below = static_cast<double>(i) / n;
        distance = std::max({distance, f - below, below + 1 / n - f});
    }
    EXPECT_LT(distance * std::sqrt(n), 1.95) << name;
    EXPECT_GT(distance * std::sqrt(n), 0.3) << name;
}

// Chi-square over values 0, 1, ... with the given probabilities, what is left being the last class.
inline void expect_frequencies(const std::vector<std::int32_t> &r, std::vector<double> probabilities,
                               const std::string &name) {
    double rest = 1;
    for (double p : probabilities)
        rest -= p;
    probabilities.push_back(rest);
    std::vector<double> counts(probabilities.size());
    for (std::int32_t value : r) {
        ASSERT_GE(value, 0) << name;
        ++counts[std::min(static_cast<std::size_t>(value), counts.size() - 1)];
    }
    double chi_square = 0;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        const double expected = static_cast<double>(r.size()) * probabilities[i];
        if (expected > 0)
            chi_square += (counts[i] - expected) * (counts[i] - expected) / expected;
        else
            EXPECT_EQ(counts[i], 0) << name << ' ' << i;
    }
    // Wilson and Hilferty: the cube root is nearly normal.
    const auto freedom = static_cast<double>(counts.size() - 1);
    const double z =
        (std::cbrt(chi_square / freedom) - (1 - 2 / (9 * freedom))) / std::sqrt(2 / (9 * freedom));
    EXPECT_LT(z, 3.1) << name << ", chi-square " << chi_square;
}

} // namespace test
