// Measures the error of the double-precision exponential, in units of the last place of the result.
//   g++ -std=c++20 -O2 -ffp-contract=off -pthread -I. tools/measure_exponential.cpp -lmpfr -lgmp -o measure
//   && ./measure
//   ./measure 4          a quarter of the arguments
//
// Every argument is compared with a value of about 100 bits made of double-doubles: 2^(j/64) from a table
// made by MPFR here, e^r by a Taylor polynomial to r^11/11!. The arguments with the largest errors of each
// group are then settled by MPFR at 200 bits; what the program prints is MPFR's word. It also prints how
// far the quick value was off there.
#include "tools/measuring.h"
#include "vector_math/frame/double_double.h"
#include "vector_math/kernels/exponential_double.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <mpfr.h>
#include <random>
#include <thread>
#include <vector>

using namespace measuring;

namespace {

DoubleDouble roots[64]; // 2^(j/64)
DoubleDouble step;      // ln2 / 64: hi with 12 free bits, so that its products with n are exact
double step_rest;       // what `step` leaves

double next_part(mpfr_t value, int bits) {
    mpfr_t part;
    mpfr_init2(part, bits);
    mpfr_set(part, value, MPFR_RNDN);
    const double d = mpfr_get_d(part, MPFR_RNDN);
    mpfr_sub_d(value, value, d, MPFR_RNDN);
    mpfr_clear(part);
    return d;
}

void make_tables() {
    mpfr_t value;
    mpfr_init2(value, 300);
    for (int j = 0; j < 64; ++j) {
        mpfr_set_si_2exp(value, j, -6, MPFR_RNDN);
        mpfr_exp2(value, value, MPFR_RNDN);
        roots[j].hi = next_part(value, 53);
        roots[j].lo = next_part(value, 53);
    }
    mpfr_const_log2(value, MPFR_RNDN);
    mpfr_div_ui(value, value, 64, MPFR_RNDN);
    step.hi = next_part(value, 34);
    step.lo = next_part(value, 34);
    step_rest = next_part(value, 53);
    mpfr_clear(value);
}

// e^x = value * 2^exponent
struct Reference {
    DoubleDouble value;
    int exponent;
};

Reference quick_exponential(double x) {
    const double n = std::nearbyint(x * 92.332482616893656877);
    // x - n step.hi is exact (Sterbenz, or few enough bits), n step.lo is exact.
    const DoubleDouble r = two_sum(x - n * step.hi, -(n * step.lo)) - n * step_rest;
    // |r| < 0.0055: terms from r^5 on need less than double's relative precision of the sum.
    double tail = 0;
    for (int k = 11; k >= 5; --k)
        tail = (tail * r.hi + 1) / k; // (1/5)(1 + (r/6)(1 + ...)), of which r^5/4! is taken out below
    // The inner value is r's series behind r^4/4!: e^r = 1 + r(1 + r/2 (1 + r/3 (1 + r/4 (1 + r tail)))).
    DoubleDouble sum = 1.0 + r * tail;
    sum = 1.0 + r * sum * 0.25;
    sum = 1.0 + r * sum / DoubleDouble(3);
    sum = 1.0 + r * sum * 0.5;
    sum = 1.0 + r * sum;
    const int index = static_cast<int>(n);
    return {sum * roots[index & 63], index >> 6};
}

// Exponent of the last place of a result whose true value is mantissa * 2^exponent, mantissa in [1, 2).
int last_place(double true_mantissa, int exponent) {
    return std::max(std::ilogb(true_mantissa) + exponent - 52, -1074);
}

double quick_error(double x, double result) {
    const Reference reference = quick_exponential(x);
    const int place = last_place(reference.value.hi, reference.exponent);
    // Both scaled so that the unit is the last place; halves keep the scaling in range.
    const int half = (reference.exponent - place) / 2;
    const DoubleDouble truth =
        by_power_of_two(by_power_of_two(reference.value, half), reference.exponent - place - half);
    const double scaled_result = std::ldexp(result, -place);
    return std::fabs((truth - scaled_result).hi);
}

struct Exponential {
    static void exact(mpfr_t y, double x, double) {
        mpfr_set_d(y, x, MPFR_RNDN);
        mpfr_exp(y, y, MPFR_RNDN);
    }
};

enum class Path { lanes, special };
enum class Spread { uniform, binades, near_steps };

struct Group {
    const char *name;
    Path path;
    Spread spread;
    double from, to;
    long count;
};

// Uniform arguments are stratified: one at random in each of `count` equal cells.
constexpr Group groups[] = {
    {"lanes, uniform", Path::lanes, Spread::uniform, -708.39, 708.39, 60'000'000},
    {"lanes, uniform in [-1, 1]", Path::lanes, Spread::uniform, -1, 1, 20'000'000},
    {"lanes, 2^-60 <= |x| < 1", Path::lanes, Spread::binades, -60, 0, 5'000'000},
    {"lanes, near odd multiples of ln2/128", Path::lanes, Spread::near_steps, -708.3, 708.3, 20'000'000},
    {"special, largest results", Path::special, Spread::uniform, 708.3955078125, 709.782712893384, 2'000'000},
    {"special, normal results at the end", Path::special, Spread::uniform, -708.3964185322641,
     -708.3955078125, 1'000'000},
    {"special, any normal result", Path::special, Spread::uniform, -708.39, 709.78, 2'000'000},
    {"special, subnormal results", Path::special, Spread::uniform, -745.13321910194, -708.3964185322642,
     2'000'000},
};

double argument_of(const Group &group, long k, long count, std::mt19937_64 &random) {
    const double u = static_cast<double>(random() >> 11) * 0x1p-53;
    const double place =
        group.from + (group.to - group.from) * ((static_cast<double>(k) + u) / static_cast<double>(count));
    switch (group.spread) {
    case Spread::uniform:
        return place;
    case Spread::binades:
        return random() & 1 ? std::exp2(place) : -std::exp2(place);
    case Spread::near_steps:
        break;
    }
    // The ends of the reduced interval, where the remainder is largest: within 2^-14 of its length.
    const double half_step = 0x1.62e42fefa39efp-8;
    const double odd = 2 * std::floor(place / (2 * half_step)) + 1;
    return odd * half_step + half_step * 0x1p-13 * (u - 0.5);
}

void measure(const Group &group, unsigned thread, long count, Worst &worst) {
    using V = Lanes<double>;
    std::mt19937_64 random(77 + thread);
    for (long k = thread; k + threads < count; k += 2 * threads) {
        V x = {argument_of(group, k, count, random), argument_of(group, k + threads, count, random)};
        V result{};
        if (group.path == Path::special) {
            for (int lane = 0; lane < 2; ++lane) {
                double r;
                ExpDouble::eval(x[lane], r);
                result[lane] = r;
            }
        } else {
            if ((ExpDouble::special_bits(x[0]) | ExpDouble::special_bits(x[1])) < 0)
                std::abort(); // the group's bounds are wrong
            result = ExpDouble::value(x);
        }
        for (int lane = 0; lane < 2; ++lane)
            worst.offer(quick_error(x[lane], result[lane]), x[lane], result[lane]);
    }
}

} // namespace

int main(int argc, char **argv) {
    const long fraction = argc > 1 ? std::max(1L, std::atol(argv[1])) : 1;
    make_tables();
    long total = 0;
    double filter_error = 0;
    std::printf("%-40s %11s  %-8s %s\n", "group", "arguments", "ulp", "at");
    for (const Group &group : groups) {
        const long count = group.count / fraction;
        Worst worst[threads];
        in_threads([&](unsigned t) { measure(group, t, count, worst[t]); });
        Candidate largest{};
        for (const Worst &part : worst)
            for (const Candidate &candidate : part.kept) {
                const double error = settled_error<Exponential>(candidate.argument, candidate.result);
                filter_error = std::max(filter_error, std::fabs(error - candidate.error));
                if (error > largest.error)
                    largest = {error, candidate.argument, candidate.result};
            }
        std::printf("%-40s %11ld  %.6f %a\n", group.name, count, largest.error, largest.argument);
        std::fflush(stdout);
        total += count;
    }
    std::printf("%ld arguments; quick value off by at most %.1e ulp where MPFR checked it\n", total,
                filter_error);
}
