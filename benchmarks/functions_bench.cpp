// Time an element of every kernel of vector math over the length of the vectors, for
// docs/functions/speed.txt:
//   build/bench/bin/function_speed > docs/functions/speed.txt      (two and a half minutes)
// With names of functions as arguments, those only. Kernels are taken from the exported tables, as a front
// end that selects by mode takes them. Every length is measured in several rounds over all kernels, and the
// shortest time counts: other load comes and goes.
#include "support/functions.h"

#include "qor_fyn.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>

namespace {

using test::FunctionRow;
using Clock = std::chrono::steady_clock;

constexpr std::int32_t lengths[] = {1, 10, 100, 1000, 10000, 100000, 1000000};
constexpr std::size_t longest = 1000000;
constexpr int rounds = 3;
constexpr double round_seconds = 0.01; // at least; one call of a slow kernel takes longer

// Where first arguments lie, uniformly; complex ones in both parts.
struct Interval {
    double from, to;
};
constexpr Interval usual = {-10, 10}, second_arguments = {0.5, 3.5};
constexpr struct {
    Interval interval;
    const char *functions; // between spaces
} intervals[] = {
    {{-1, 1}, " Acos Asin Atanh Acospi Asinpi ErfInv "},
    {{0, 2}, " ErfcInv "},
    {{0, 1}, " CdfNormInv "},
    {{1, 100}, " Acosh "},
    {{0, 100}, " Ln Log2 Log10 Log1p Sqrt InvSqrt Cbrt InvCbrt Pow2o3 Pow3o2 Pow Powx Powr "},
    {{0, 20}, " LGamma TGamma ExpInt1 "},
    {{0, 50}, " J0 J1 Jn Y0 Y1 Yn "},
    {{-5, 5}, " Erf Erfc Erfcx CdfNorm "},
    {{-50, 50}, " Exp Exp2 Exp10 Expm1 "},
    {{-1000, 1000}, " Ceil Floor Trunc Round Rint NearbyInt Frac Modf Fmod Remainder Sind Cosd Tand "},
};

Interval interval_of(const FunctionRow &row) {
    const std::string name = std::string(" ") + row.name + " ";
    for (const auto &[interval, functions] : intervals)
        if (!row.is_complex() && std::strstr(functions, name.c_str()))
            return interval;
    return usual;
}

// Vectors for the longest call of any type, and indexes and mask of pack and unpack.
struct Vectors {
    alignas(64) char a[32 * longest], b[16 * longest], r1[32 * longest], r2[16 * longest];
    std::int32_t index[longest], mask[longest];
};
Vectors vectors;

// So many different values that no branch is learnt, over and over.
template <class T> void fill(char *vector, std::size_t count, Interval interval) {
    constexpr std::size_t different = 1 << 16;
    std::mt19937_64 random(2024);
    std::uniform_real_distribution<double> uniform(interval.from, interval.to);
    for (std::size_t i = 0; i < different; ++i) {
        const double at_least = interval.from == 0 ? std::numeric_limits<float>::min() : interval.from;
        const T x = static_cast<T>(std::max(uniform(random), at_least));
        std::memcpy(vector + i * sizeof x, &x, sizeof x);
    }
    for (std::size_t i = different; i < count; i += different)
        std::memcpy(vector + i * sizeof(T), vector, std::min(different, count - i) * sizeof(T));
}

void fill(const FunctionRow &row) {
    const auto fill_reals = row.is_single() ? fill<float> : fill<double>;
    fill_reals(vectors.a, (row.is_pack() ? 2 : 1) * longest * (row.is_complex() ? 2 : 1), interval_of(row));
    fill_reals(vectors.b, longest * (row.is_complex() ? 2 : 1), second_arguments);
    std::mt19937 random(2024);
    for (std::size_t i = 0; i < longest; ++i) {
        vectors.index[i] = static_cast<std::int32_t>(i ^ 1);
        vectors.mask[i] = static_cast<std::int32_t>(random() & 1);
    }
}

// Shortest time of calls in one round, in ns an element; the clock is read once for many short calls.
template <class... Arguments> double shortest(void *kernel, std::int32_t n, Arguments... arguments) {
    const auto entry = reinterpret_cast<void (*)(std::int32_t, Arguments...)>(kernel);
    const auto seconds = [&](int calls) {
        const auto start = Clock::now();
        for (int i = 0; i < calls; ++i)
            entry(n, arguments...);
        return std::chrono::duration<double>(Clock::now() - start).count();
    };
    int calls = 1;
    double time = seconds(calls), total = time;
    while (time < 1e-4)
        time = seconds(calls *= 2);
    double best = time / calls;
    for (; total < round_seconds; total += time) {
        time = seconds(calls);
        best = std::min(best, time / calls);
    }
    return best / n * 1e9;
}

double shortest_pack(void *kernel, const FunctionRow &row, std::int32_t n) {
    const std::int32_t width_32 = 1;
    const auto selected_by = [&](auto selector) {
        return row.is("pack") ? shortest(kernel, n, vectors.a, selector, vectors.r1, width_32)
                              : shortest(kernel, n, vectors.a, vectors.r1, selector, width_32);
    };
    switch (row.name[std::strlen(row.name) - 1]) {
    case 'I':
        return selected_by(std::int32_t{2});
    case 'V':
        return selected_by(vectors.index);
    default:
        return selected_by(vectors.mask);
    }
}

// Powers with one exponent, Bessel functions of one order.
constexpr double exponent = 1.7, order = 3;

double shortest_with_scalar(void *kernel, const FunctionRow &row, std::int32_t n) {
    static const FynComplex16 power = {exponent, 0};
    const double scalar = std::strcmp(row.name, "Powx") == 0 ? exponent : order;
    switch (row.type) {
    case 's':
        return shortest(kernel, n, vectors.a, static_cast<float>(scalar), vectors.r1);
    case 'd':
        return shortest(kernel, n, vectors.a, scalar, vectors.r1);
    case 'c':
        return shortest(kernel, n, vectors.a, FynComplex8{static_cast<float>(exponent), 0}, vectors.r1);
    default:
        return shortest(kernel, n, vectors.a, &power, vectors.r1);
    }
}

double shortest_of_row(void *kernel, const FunctionRow &row, std::int32_t n) {
    auto &[a, b, r1, r2, index, mask] = vectors;
    if (row.is_pack())
        return shortest_pack(kernel, row, n);
    if (row.is("v-s"))
        return shortest_with_scalar(kernel, row, n);
    if (row.is("lin"))
        return row.is_single() ? shortest(kernel, n, a, b, 2.0f, 1.0f, 3.0f, 4.0f, r1)
                               : shortest(kernel, n, a, b, 2.0, 1.0, 3.0, 4.0, r1);
    if (row.is("2-1"))
        return shortest(kernel, n, a, b, r1);
    if (row.is("1-2"))
        return shortest(kernel, n, a, r1, r2);
    return shortest(kernel, n, a, r1);
}

struct Kernel {
    FunctionRow row;
    std::string slots;
    void *address;
    double times[std::size(lengths)];
};

std::vector<Kernel> kernels(int argc, char **argv) {
    static const char *const slot_names[] = {"LA", "HA", "EP"};
    std::vector<Kernel> result;
    for (const FunctionRow &row : test::function_rows()) {
        const bool wanted = argc == 1 || std::any_of(argv + 1, argv + argc, [&](const char *name) {
                                return std::strcmp(name, row.name) == 0;
                            });
        if (row.strided || !wanted)
            continue;
        const auto table = static_cast<void **>(test::find("qor_fyn_kernel_" + row.stem() + "_ttab"));
        for (int slot = 0; slot < 3; ++slot) {
            if (row.kernels[slot] != slot)
                continue;
            Kernel kernel = {row, "", table[slot], {}};
            for (int other = slot; other < 3; ++other)
                if (row.kernels[other] == slot)
                    kernel.slots += (kernel.slots.empty() ? "" : ",") + std::string(slot_names[other]);
            std::fill(std::begin(kernel.times), std::end(kernel.times),
                      std::numeric_limits<double>::infinity());
            result.push_back(kernel);
        }
    }
    return result;
}

} // namespace

int main(int argc, char **argv) {
    std::vector<Kernel> all = kernels(argc, argv);
    if (all.empty()) {
        std::fprintf(stderr, "usage: function_speed [FUNCTION ...]\n");
        return 2;
    }
    _fynSetMode(FYN_ERRMODE_NOERR);
    for (int round = 0; round < rounds; ++round)
        for (Kernel &kernel : all) {
            fill(kernel.row);
            for (std::size_t k = 0; k < std::size(lengths); ++k)
                kernel.times[k] =
                    std::min(kernel.times[k], shortest_of_row(kernel.address, kernel.row, lengths[k]));
        }
    std::printf(
        "# Made by benchmarks/functions_bench.cpp: build/bench/bin/function_speed > "
        "docs/functions/speed.txt\n"
        "# function type slots n ns from to: shortest time an element at length n, first arguments uniform "
        "in\n"
        "# [from, to]. Second arguments in [%g, %g], exponents of Powx %g, orders of Jn and Yn %g; pack and\n"
        "# unpack with increment 2, neighbours changed, a random half of the elements.\n",
        second_arguments.from, second_arguments.to, exponent, order);
    for (const Kernel &kernel : all)
        for (std::size_t k = 0; k < std::size(lengths); ++k) {
            const auto [from, to] = interval_of(kernel.row);
            std::printf("%s %c %s %d %.4g %g %g\n", kernel.row.name, kernel.row.type, kernel.slots.c_str(),
                        lengths[k], kernel.times[k], from, to);
        }
}
