// Prints reference values of the elementary functions: special arguments, edges and seeded random ones.
//
//   g++ -std=c++20 -O2 tools/reference_elementary.cpp -lmpfr -lgmp -o reference_elementary
//   ./reference_elementary [random rows per function and type, 16] [seed, 1]
//
// Values are MPFR's, and so are the signs of zeros and poles except where a comment says otherwise. The
// status follows from the exact value alone: see status_of.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "reference_writer.h"
#include "true_values.h"

namespace {

using reference::Big;

// Random arguments: of either sign if `both`, evenly spread over [low, high] or over its logarithms.
struct Stratum {
    double low, high;
    bool by_magnitude = true;
    bool both = true;
};

enum Underflow { passes_tiny_through, reports_underflow };

struct Function {
    const char *name;
    Underflow underflow;
    std::vector<double> edges; // taken with either sign; for `s` rounded to float
    std::vector<Stratum> strata;
};

constexpr double tiny_single = 0x1p-126, huge_single = 0x1.fffffep127;

const std::vector<Stratum> all_numbers = {{0, 0}}, positive_numbers = {{0, 0, true, false}};
const std::vector<Stratum> angles = {{1e-8, 1}, {1, 100}, {100, 1e6}, {0, 0}};
const std::vector<double> angle_edges = {0x1.921fb6p0,
                                         0x1.921fb54442d18p+1,
                                         0x1.921fb54442d18p+0,
                                         0x1.921fb54442d18p-1,
                                         0x1p20,
                                         0x1.6ac5b262ca1ffp+849,
                                         1e-5,
                                         1e22};
const std::vector<Stratum> turns = {{1e-9, 1}, {1, 1000}, {1000, 1e7}, {1e-320, 1}};
const std::vector<double> turn_edges = {
    0.25,   0.75,   1.5,     2.5, 3, 4, 1.25, 3.75, 100.5, 0x1p23, 0x1.000002p22, 0x1.0000000000001p52,
    0x1p53, 0x1p60, 1.0 / 6, 1e-5};
const std::vector<double> degree_edges = {30,     45,     60,     90,     120,
                                          135,    150,    180,    210,    225,
                                          270,    300,    315,    330,    360,
                                          390,    450,    540,    3.6e6,  3600090,
                                          0x1p53, 0x1p55, 0x1p56, 0x1p60, 0x1.123456p100,
                                          1e-5};
const std::vector<Stratum> degrees = {{1e-9, 1}, {1, 90}, {90, 1e5}, {1e5, 1e18}, {0, 0}};
const std::vector<Stratum> unit_interval = {{1e-12, 0.1}, {0.1, 1, false}, {0.99, 1, false}};

const Function functions[] = {
    {"Exp",
     reports_underflow,
     {88.72283, 88.72284, 87.33654, 87.33655, 103.97207, 103.97208, 709.782712893384, 708.3964185322641,
      745.1332191019411, 745.1332191019412},
     {{1e-9, 1}, {1, 80}, {80, 104}, {104, 746, false}}},
    {"Exp2",
     reports_underflow,
     {126, 127, 128, 149, 150, 1022, 1023, 1024, 1074, 1075, 0x1.0c7ffffffffffp10},
     {{1e-9, 1}, {1, 120}, {120, 150}, {150, 1076, false}}},
    {"Exp10",
     reports_underflow,
     {3, 10, 22, 38, 38.53184, 45.1545, 308, 308.2547155599167, 323.3},
     {{1e-9, 1}, {1, 37}, {37, 46}, {46, 324, false}}},
    {"Expm1",
     passes_tiny_through,
     {0.34657359, 17.4, 37, 88.72283, 88.72284, 709.782712893384, 709.7827128933841, 1e-17},
     {{1e-20, 1e-3}, {1e-3, 1}, {1, 88}, {88, 709}}},
    {"Ln",
     passes_tiny_through,
     {0x1.fffffep-1, 0x1.6a09e667f3bcdp-1, 0x1.6a09e667f3bcdp0},
     {{0.5, 2, false, false}, {0.999, 1.001, false, false}, {0, 0, true, false}}},
    {"Log2",
     passes_tiny_through,
     {4, 8, 0.125, 0x1p100, 0x1p-1074, 0x1.6a09e667f3bcdp0},
     {{0.5, 2, false, false}, {0.999, 1.001, false, false}, {0, 0, true, false}}},
    {"Log10",
     passes_tiny_through,
     {10, 100, 1e10, 1e22, 0.1, 0x1.6a09e667f3bcdp0},
     {{0.5, 2, false, false}, {0.999, 1.001, false, false}, {0, 0, true, false}}},
    {"Log1p",
     passes_tiny_through,
     {0x1.fffffffffffffp-1, 0x1.fffffep-1, -0.2929, 0.4142},
     {{1e-20, 1e-3}, {1e-3, 1}, {0.9, 1}, {1, 100, true, false}, {0, 0, true, false}}},
    {"Logb", passes_tiny_through, {0x1p-130, 3}, all_numbers},
    {"Pow2o3", passes_tiny_through, {8, 27, 1e-300}, all_numbers},
    {"Pow3o2",
     reports_underflow,
     {4, 9, 0x1p-84, 0x1p-99, 0x1p-100, 0x1p-682, 0x1p-716, 0x1p-717, 0x1.965fe8p84, 0x1.965feap84,
      0x1.965fea53d6e3cp682, 0x1.965fea53d6e3dp682},
     {{0, 0, true, false}, {1e-40, 1e30, true, false}, {1e-216, 1e-204, true, false}}},
    {"Cbrt", passes_tiny_through, {8, 27, 0.001, 64, 7.99}, all_numbers},
    {"InvCbrt", passes_tiny_through, {8, 27, 0.125}, all_numbers},
    {"InvSqrt", passes_tiny_through, {4, 0.25, 9}, positive_numbers},
    {"Sin", passes_tiny_through, angle_edges, angles},
    {"Cos", passes_tiny_through, angle_edges, angles},
    {"Tan", passes_tiny_through, angle_edges, angles},
    {"SinCos", passes_tiny_through, angle_edges, angles},
    {"Asin", passes_tiny_through, {0x1.fffffep-1, 0x1.fffffffffffffp-1}, unit_interval},
    {"Acos", passes_tiny_through, {0x1.fffffep-1, 0x1.fffffffffffffp-1}, unit_interval},
    {"Atan",
     passes_tiny_through,
     {0x1p-4, 0x1p120, 0.0625, 0.1875},
     {{1e-9, 0.1}, {0.1, 10}, {10, 1e18}, {0, 0}}},
    {"Sinh",
     passes_tiny_through,
     {0.34657359, 40, 89.41598, 89.41599, 710.4758600739439, 710.475860073944},
     {{1e-9, 0.3}, {0.3, 3}, {3, 89}, {89, 711}}},
    {"Cosh",
     passes_tiny_through,
     {0.34657359, 40, 89.41598, 89.41599, 710.4758600739439, 710.475860073944},
     {{1e-9, 0.3}, {0.3, 3}, {3, 89}, {89, 711}}},
    {"Tanh", passes_tiny_through, {0.17328679, 9.01, 19.06, 22}, {{1e-9, 0.2}, {0.2, 1}, {1, 9}, {9, 22}}},
    {"Asinh", passes_tiny_through, {0x1p60, 0.3}, {{1e-9, 0.3}, {0.3, 3}, {3, 1e9}, {0, 0}}},
    {"Acosh",
     passes_tiny_through,
     {0x1.000002p0, 0x1.0000000000001p0, 0x1p60},
     {{1, 1.001, false, false}, {1, 3, false, false}, {3, 1e9, true, false}, {1, 1e300, true, false}}},
    {"Atanh", passes_tiny_through, {0.17, 0x1.fffffep-1, 0x1.fffffffffffffp-1}, unit_interval},
    {"Sinpi", passes_tiny_through, turn_edges, turns},
    {"Cospi", passes_tiny_through, turn_edges, turns},
    {"Tanpi", passes_tiny_through, turn_edges, turns},
    {"SinCospi", passes_tiny_through, turn_edges, turns},
    {"Asinpi", passes_tiny_through, {0x1.fffffep-1, 1e-320}, unit_interval},
    {"Acospi", passes_tiny_through, {0x1.fffffep-1, 0x1.fffffffffffffp-1}, unit_interval},
    {"Atanpi",
     passes_tiny_through,
     {0x1p120, 1e-320, 0x1p-1022, 0.0625},
     {{1e-9, 0.1}, {0.1, 10}, {10, 1e18}, {0, 0}}},
    {"Sind", passes_tiny_through, degree_edges, degrees},
    {"Cosd", passes_tiny_through, degree_edges, degrees},
    {"Tand", passes_tiny_through, degree_edges, degrees},
};

struct FunctionOfTwo {
    const char *name;
    Underflow underflow;
    std::vector<std::pair<double, double>> edges;
    std::vector<std::pair<Stratum, Stratum>> strata;
};

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double nan_value = std::numeric_limits<double>::quiet_NaN();

const std::vector<std::pair<double, double>> power_edges = {{2, 10},
                                                            {3, 33},
                                                            {10, 15},
                                                            {2, 127},
                                                            {2, 128},
                                                            {2, -149},
                                                            {2, -151},
                                                            {2, 1024},
                                                            {2, -1074},
                                                            {2, -1075},
                                                            {-2, 3},
                                                            {-2, 2},
                                                            {-2, 0.5},
                                                            {-8, 1.0 / 3},
                                                            {-2, 1025},
                                                            {-2, -1077},
                                                            {-1, 0x1p60},
                                                            {-1, 0x1p52},
                                                            {0.5, 2000},
                                                            {0x1.0000000000001p0, 0x1p52},
                                                            {0x1.fffffffffffffp-1, 0x1p53},
                                                            {0x1.000002p0, 0x1p30},
                                                            {9, 0.5},
                                                            {9, -0.5},
                                                            {0, 3},
                                                            {-0.0, 3},
                                                            {-0.0, 2},
                                                            {0, -3},
                                                            {-0.0, -3},
                                                            {-0.0, -2},
                                                            {0, -0.5},
                                                            {inf, 3},
                                                            {-inf, 3},
                                                            {-inf, 2},
                                                            {-inf, -3},
                                                            {-inf, -2},
                                                            {inf, -0.5},
                                                            {0x1p-1074, 0.5},
                                                            {0x1p-1074, -1},
                                                            {-5, 1e300},
                                                            {7, 1e-300}};

// At lower accuracies a result just beyond the range may stay inside: the powers that are a type's first
// number too large are left out there.
std::vector<std::pair<double, double>> clear_of_overflow(std::vector<std::pair<double, double>> edges) {
    std::erase_if(edges,
                  [](auto edge) { return edge.first == 2 && (edge.second == 128 || edge.second == 1024); });
    return edges;
}

const std::vector<std::pair<Stratum, Stratum>> powers = {{{0.1, 10, true, false}, {0.01, 30}},
                                                         {{1e-30, 1e30, true, false}, {1e-3, 1.2}},
                                                         {{0.99, 1.01, false, false}, {1, 70000}},
                                                         {{0, 0, true, false}, {0.5, 2}},
                                                         {{1e-300, 1e300, true, false}, {0.9, 1.08}}};
const std::vector<std::pair<double, double>> point_edges = {{3, 4},
                                                            {-3, 4},
                                                            {3, -4},
                                                            {-3, -4},
                                                            {1, 1},
                                                            {1, -1},
                                                            {1e-300, 1e300},
                                                            {1e300, 1e-300},
                                                            {1e-300, -1e300},
                                                            {0x1p-1074, 0x1p-1074},
                                                            {0x1p-1074, 0x1p-1070},
                                                            {huge_single, huge_single},
                                                            {0x1.fffffffffffffp1023, 1e300},
                                                            {1e-20, 1e20},
                                                            {1e-30, 1e15},
                                                            {0x1p-149, 2},
                                                            {0x1p-1074, 2},
                                                            {0x1p-60, 1},
                                                            {0x1p-62, 1},
                                                            {1, 0x1p-61}};
const std::vector<std::pair<Stratum, Stratum>> points = {
    {{0.1, 10}, {0.1, 10}}, {{1e-6, 1e6}, {1e-6, 1e6}}, {{0, 0}, {1e-5, 1e5}}, {{0, 0}, {0, 0}}};

const FunctionOfTwo functions_of_two[] = {
    {"Pow", reports_underflow, power_edges, powers},
    {"Powx", reports_underflow, clear_of_overflow(power_edges), powers},
    {"Powr", reports_underflow, power_edges, powers},
    {"Hypot", passes_tiny_through, point_edges, points},
    {"Atan2", reports_underflow, point_edges, points},
    {"Atan2pi", reports_underflow, point_edges, points},
};

// The exact result as type T sees it (infinite or zero where T's range ends), and its status.
template <class T> T rounded(const Big &exact) {
    if constexpr (sizeof(T) == 4)
        return mpfr_get_flt(exact, MPFR_RNDN);
    else
        return mpfr_get_d(exact, MPFR_RNDN);
}

// MPFR's flags, raised by the evaluation, tell a pole from a value too large even for MPFR.
template <class T>
int status_of(const Big &exact, bool finite_arguments, bool nan_argument, Underflow underflow) {
    if (nan_argument)
        return 0;
    if (mpfr_nan_p(exact.value))
        return 1;
    if (!finite_arguments)
        return 0;
    if (mpfr_inf_p(exact.value) && mpfr_divby0_p())
        return 2;
    T r = rounded<T>(exact);
    if (std::isinf(r))
        return 3;
    bool small =
        std::fabs(r) < std::numeric_limits<T>::min() && (!mpfr_zero_p(exact.value) || mpfr_underflow_p());
    return small && underflow == reports_underflow ? 4 : 0;
}

template <class T> void limit_to_range(Big &exact) {
    T r = rounded<T>(exact);
    if (mpfr_number_p(exact.value) && (std::isinf(r) || r == 0))
        mpfr_set_d(exact, static_cast<double>(r), MPFR_RNDN);
}

struct Generator {
    std::mt19937_64 bits;
    double unit() { return static_cast<double>(bits() >> 11) * 0x1p-53; }

    template <class T> double draw(Stratum s) {
        double low = s.low, high = s.high, result;
        if (low == 0 && high == 0) { // everything, subnormals too
            low = static_cast<double>(std::numeric_limits<T>::denorm_min());
            high = static_cast<double>(std::numeric_limits<T>::max());
        }
        high = std::fmin(high, static_cast<double>(std::numeric_limits<T>::max()));
        low = std::fmax(low, static_cast<double>(std::numeric_limits<T>::denorm_min()));
        if (s.by_magnitude)
            result = std::exp(std::log(low) + unit() * (std::log(high) - std::log(low)));
        else
            result = low + unit() * (high - low);
        result = std::fmin(std::fmax(result, low), high);
        if (s.both && (bits() & 1))
            result = -result;
        return static_cast<double>(static_cast<T>(result));
    }
};

template <class T> void print_row(const Function &f, double argument) {
    double x = static_cast<double>(static_cast<T>(argument));
    Big r, second;
    mpfr_clear_flags();
    const auto &exact = reference::real_function(f.name);
    exact.value(r, Big(x), MPFR_RNDN);
    int status = status_of<T>(r, std::isfinite(x), std::isnan(x), f.underflow);
    limit_to_range<T>(r);
    char type = sizeof(T) == 4 ? 's' : 'd';
    if (exact.second_value) {
        exact.second_value(second, Big(x), MPFR_RNDN);
        reference::write_row(type, f.name, {x}, {r, second}, status);
    } else {
        reference::write_row(type, f.name, {x}, {r}, status);
    }
}

template <class T> void print_row(const FunctionOfTwo &f, double first, double second) {
    double x = static_cast<double>(static_cast<T>(first)), y = static_cast<double>(static_cast<T>(second));
    Big r;
    mpfr_clear_flags();
    reference::real_function(f.name).value_of_two(r, Big(x), Big(y), MPFR_RNDN);
    int status =
        status_of<T>(r, std::isfinite(x) && std::isfinite(y), std::isnan(x) || std::isnan(y), f.underflow);
    limit_to_range<T>(r);
    reference::write_row(sizeof(T) == 4 ? 's' : 'd', f.name, {x, y}, {r}, status);
}

template <class T> void print_function(const Function &f, int count, Generator &generator) {
    for (double x : {0.0, 1.0, 0.5, 2.0, inf, static_cast<double>(std::numeric_limits<T>::denorm_min()),
                     static_cast<double>(std::numeric_limits<T>::min()),
                     static_cast<double>(std::numeric_limits<T>::max())}) {
        print_row<T>(f, x);
        print_row<T>(f, -x);
    }
    print_row<T>(f, nan_value);
    for (double x : f.edges) {
        print_row<T>(f, x);
        print_row<T>(f, -x);
    }
    for (int i = 0; i < count; ++i)
        print_row<T>(f, generator.draw<T>(f.strata[static_cast<std::size_t>(i) % f.strata.size()]));
}

template <class T> void print_function(const FunctionOfTwo &f, int count, Generator &generator) {
    for (double x : {0.0, -0.0, 1.0, -1.0, 0.5, inf, -inf, nan_value})
        for (double y : {0.0, -0.0, 2.0, -1.0, inf, -inf, nan_value})
            print_row<T>(f, x, y);
    for (auto [x, y] : f.edges)
        print_row<T>(f, x, y);
    for (int i = 0; i < count; ++i) {
        auto [first, second] = f.strata[static_cast<std::size_t>(i) % f.strata.size()];
        double x = generator.draw<T>(first);
        print_row<T>(f, x, generator.draw<T>(second));
    }
}

} // namespace

int main(int argc, char **argv) {
    int count = argc > 1 ? std::atoi(argv[1]) : 16;
    Generator generator{std::mt19937_64(argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 1)};
    std::printf("# Elementary functions: arguments, exact results, status.\n"
                "# Made by tools/reference_elementary.cpp (MPFR %s): reference_elementary %d\n",
                mpfr_get_version(), count);
    for (const Function &f : functions) {
        print_function<double>(f, count, generator);
        print_function<float>(f, count, generator);
    }
    for (const FunctionOfTwo &f : functions_of_two) {
        print_function<double>(f, count, generator);
        print_function<float>(f, count, generator);
    }
}
