// Reference values of the special functions, by MPFR.
//
//   g++ -std=c++20 -O2 -Itools tools/reference_special.cpp -lmpfr -lgmp -o reference_special
//   ./reference_special > tests/data/reference_special.txt
//   ./reference_special SEED COUNT          only COUNT random rows for each function and type
#include "reference_writer.h"
#include "true_values.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

using reference::Big;

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
const double nan_value = std::numeric_limits<double>::quiet_NaN();

// Ranges of arguments, each drawn either uniformly or with uniform exponents.
struct Range {
    double low, high;
    bool exponents = false;
};

struct Row {
    const char *name;
    bool reports_range; // overflow and underflow are events of this function
    std::vector<Range> ranges;
    std::vector<double> orders; // empty: one argument
};

void write(char type, const Row &row, double x, double order, const Big &exact, int status) {
    if (row.orders.empty())
        reference::write_row(type, row.name, {x}, {exact}, status);
    else
        reference::write_row(type, row.name, {x, order}, {exact}, status);
}

void compute_and_write(char type, const Row &row, double x, double order) {
    if (type == 's')
        x = static_cast<float>(x);
    Big exact;
    const auto &function = reference::real_function(row.name);
    if (row.orders.empty())
        function.value(exact, Big(x), MPFR_RNDN);
    else
        function.value_of_two(exact, Big(x), Big(order), MPFR_RNDN);
    int status = 0;
    double hi = mpfr_get_d(exact, MPFR_RNDN);
    float single = static_cast<float>(hi);
    double size = std::fabs(type == 's' ? single : hi);
    double least = type == 's' ? 0x1p-126 : 0x1p-1022;
    if (size == inf)
        status = 3;
    else if (size < least) // no result here is exactly zero, though the smallest leave even MPFR's range
        status = 4;
    if (type == 's' && (size == inf || size == 0))
        mpfr_set_d(exact, single, MPFR_RNDN);
    if (status == 4 && !std::strcmp(row.name, "I1")) // x/2 of a tiny argument is no event
        status = 0;
    write(type, row, x, order, exact, row.reports_range ? status : 0);
}

const std::vector<Row> &functions() {
    static const std::vector<Row> rows = {
        {"Erf", false, {{-0.6, 0.6}, {0.4, 7}, {-3, 3}, {0x1p-120, 1, true}}, {}},
        {"Erfc", true, {{-7, 0}, {-0.7, 0.7}, {0.4, 9}, {5, 27.5}, {0x1p-70, 1, true}}, {}},
        {"Erfcx",
         true,
         {{-26.7, 0}, {-7, 1}, {0, 16}, {14, 30}, {1, 0x1p+126, true}, {0x1p-70, 1, true}},
         {}},
        {"ErfInv", false, {{-1, 1}, {0.4, 0.6}, {0.9, 1}, {0x1p-120, 1, true}}, {}},
        {"ErfcInv", false, {{0, 2}, {0.4, 1.6}, {0x1p-125, 1, true}}, {}},
        {"CdfNorm", true, {{-40, 0}, {-10, 10}, {-1, 1}, {0, 8}, {0x1p-70, 1, true}}, {}},
        {"CdfNormInv", false, {{0, 1}, {0.2, 0.8}, {0x1p-125, 1, true}}, {}},
        {"LGamma", true, {{0.5, 3}, {0, 15}, {-20, 0}, {-4, 0}, {10, 200}, {0x1p-70, 0x1p+120, true}}, {}},
        {"TGamma", true, {{0, 3}, {0, 15}, {-10, 0}, {10, 172}, {-186, -10}, {0x1p-126, 1, true}}, {}},
        {"ExpInt1", true, {{0, 1}, {0.4, 5}, {4, 20}, {15, 740}, {0x1p-126, 1, true}}, {}},
        {"J0", false, {{-9, 9}, {7, 70}, {60, 1000}, {0x1p-70, 0x1p+70, true}}, {}},
        {"J1", false, {{-9, 9}, {7, 70}, {60, 1000}, {0x1p-70, 0x1p+70, true}}, {}},
        {"Y0", true, {{0, 1}, {0, 9}, {7, 70}, {60, 1000}, {0x1p-120, 0x1p+70, true}}, {}},
        {"Y1", true, {{0, 1}, {0, 9}, {7, 70}, {60, 1000}, {0x1p-120, 0x1p+70, true}}, {}},
        {"Jn",
         true,
         {{-10, 10}, {0, 70}, {50, 300}, {0x1p-30, 0x1p+8, true}},
         {0, 1, 2, 3, 7, 20, 57, 200, -1, -4, -9}},
        {"Yn",
         true,
         {{0, 10}, {0, 70}, {50, 300}, {0x1p-30, 0x1p+8, true}},
         {0, 1, 2, 3, 7, 20, 57, 200, -1, -4, -9}},
        {"I0", true, {{-5, 5}, {0, 35}, {30, 720}, {0x1p-70, 1, true}}, {}},
        {"I1", true, {{-5, 5}, {0, 35}, {30, 720}, {0x1p-70, 1, true}}, {}},
    };
    return rows;
}

void write_random(const Row &row, char type, unsigned seed, int count) {
    std::mt19937_64 engine(seed * 1000003u + static_cast<unsigned>(type));
    auto unit = [&] { return (static_cast<double>(engine() >> 11) + 0.5) * 0x1p-53; };
    for (int i = 0; i < count; ++i) {
        const Range &range = row.ranges[static_cast<std::size_t>(i) % row.ranges.size()];
        double x = range.exponents ? range.low * std::pow(range.high / range.low, unit())
                                   : range.low + (range.high - range.low) * unit();
        double order = row.orders.empty() ? 0 : row.orders[engine() % row.orders.size()];
        if (type == 's')
            x = static_cast<float>(x);
        bool inverse = std::strstr(row.name, "Inv") != nullptr;
        if (x == 0 || (inverse && (std::fabs(x) == 1 || x == 2)))
            continue;
        compute_and_write(type, row, x, order);
    }
}

// Arguments whose results are exact: zeros, infinities, poles, and those outside the domain.
struct Special {
    const char *name;
    double x, result;
    int status;
};

const Special specials[] = {
    {"Erf", 0.0, 0.0, 0},
    {"Erf", -0.0, -0.0, 0},
    {"Erf", inf, 1, 0},
    {"Erf", -inf, -1, 0},
    {"Erfc", 0.0, 1, 0},
    {"Erfc", inf, 0, 0},
    {"Erfc", -inf, 2, 0},
    {"Erfcx", -0.0, 1, 0},
    {"Erfcx", inf, 0, 0},
    {"Erfcx", -inf, inf, 0},
    {"ErfInv", 0.0, 0.0, 0},
    {"ErfInv", -0.0, -0.0, 0},
    {"ErfInv", 1, inf, 2},
    {"ErfInv", -1, -inf, 2},
    {"ErfInv", 0x1.000002p+0, nan_value, 1},
    {"ErfInv", -2, nan_value, 1},
    {"ErfInv", inf, nan_value, 1},
    {"ErfcInv", 0.0, inf, 2},
    {"ErfcInv", 2, -inf, 2},
    {"ErfcInv", 1, 0.0, 0},
    {"ErfcInv", -1, nan_value, 1},
    {"ErfcInv", 3, nan_value, 1},
    {"ErfcInv", -inf, nan_value, 1},
    {"CdfNorm", 0.0, 0.5, 0},
    {"CdfNorm", inf, 1, 0},
    {"CdfNorm", -inf, 0.0, 0},
    {"CdfNormInv", 0.5, 0.0, 0},
    {"CdfNormInv", 0.0, -inf, 2},
    {"CdfNormInv", 1, inf, 2},
    {"CdfNormInv", -0x1p-100, nan_value, 1},
    {"CdfNormInv", 1.5, nan_value, 1},
    {"CdfNormInv", inf, nan_value, 1},
    {"LGamma", 0.0, inf, 2},
    {"LGamma", -0.0, inf, 2},
    {"LGamma", 1, 0.0, 0},
    {"LGamma", 2, 0.0, 0},
    {"LGamma", -1, inf, 2},
    {"LGamma", -7, inf, 2},
    {"LGamma", -0x1p+80, inf, 2},
    {"LGamma", inf, inf, 0},
    {"LGamma", -inf, inf, 0},
    {"TGamma", 0.0, inf, 2},
    {"TGamma", -0.0, -inf, 2},
    {"TGamma", 1, 1, 0},
    {"TGamma", 7, 720, 0},
    {"TGamma", -1, nan_value, 1},
    {"TGamma", -0x1p+80, nan_value, 1},
    {"TGamma", inf, inf, 0},
    {"TGamma", -inf, nan_value, 1},
    {"ExpInt1", 0.0, inf, 2},
    {"ExpInt1", -0.0, inf, 2},
    {"ExpInt1", -1, nan_value, 1},
    {"ExpInt1", -inf, nan_value, 1},
    {"ExpInt1", inf, 0.0, 0},
    {"J0", 0.0, 1, 0},
    {"J0", inf, 0.0, 0},
    {"J0", -inf, 0.0, 0},
    {"J1", 0.0, 0.0, 0},
    {"J1", -0.0, -0.0, 0},
    {"J1", inf, 0.0, 0},
    {"Y0", 0.0, -inf, 2},
    {"Y0", -1, nan_value, 1},
    {"Y0", -inf, nan_value, 1},
    {"Y0", inf, 0.0, 0},
    {"Y1", 0.0, -inf, 2},
    {"Y1", -1, nan_value, 1},
    {"Y1", -inf, nan_value, 1},
    {"Y1", inf, 0.0, 0},
    {"I0", 0.0, 1, 0},
    {"I0", inf, inf, 0},
    {"I0", -inf, inf, 0},
    {"I1", 0.0, 0.0, 0},
    {"I1", -0.0, -0.0, 0},
    {"I1", inf, inf, 0},
    {"I1", -inf, -inf, 0},
};

const struct {
    const char *name;
    double x, order, result;
    int status;
} order_specials[] = {
    {"Jn", 0.0, 0, 1, 0},        {"Jn", 0.0, 5, 0.0, 0},       {"Jn", -0.0, 3, -0.0, 0},
    {"Jn", inf, 6, 0.0, 0},      {"Jn", 2, 2.5, nan_value, 1}, {"Jn", 2, inf, nan_value, 1},
    {"Yn", 0.0, 0, -inf, 2},     {"Yn", 0.0, 4, -inf, 2},      {"Yn", 0.0, -3, inf, 2},
    {"Yn", -1, 2, nan_value, 1}, {"Yn", 2, 0.5, nan_value, 1}, {"Yn", inf, 3, 0.0, 0},
};

// Thresholds of range and of method, and hard places, for one-argument functions.
const struct {
    const char *name;
    double x;
} hard[] = {
    {"Erf", 0.5},
    {"Erf", 0x1.fffffep-2},
    {"Erf", -6},
    {"Erf", 100},
    {"Erf", 0x1p-126},
    {"Erf", -0x1p-140},
    {"Erfc", 0.5},
    {"Erfc", -0.5},
    {"Erfc", 15},
    {"Erfc", 9.194},
    {"Erfc", 10.05},
    {"Erfc", 26.5},
    {"Erfc", 26.6},
    {"Erfc", 27.22},
    {"Erfc", 27.3},
    {"Erfc", 1e30},
    {"Erfc", -1e30},
    {"Erfc", 0x1p-140},
    {"Erfcx", 15},
    {"Erfcx", 14.99},
    {"Erfcx", 26.6},
    {"Erfcx", -26.628},
    {"Erfcx", -26.65},
    {"Erfcx", -9.38},
    {"Erfcx", -9.4},
    {"Erfcx", -1e30},
    {"Erfcx", 0x1p+100},
    {"Erfcx", 0x1.fffffep+127},
    {"ErfInv", 0x1.fffffep-1},
    {"ErfInv", -0x1.fffffep-1},
    {"ErfInv", 0x1.fffffffffffffp-1},
    {"ErfInv", 0x1p-140},
    {"ErfInv", 0x1p-1040},
    {"ErfInv", 0.5},
    {"ErfInv", -0.75},
    {"ErfcInv", 0x1p-149},
    {"ErfcInv", 0x1p-1074},
    {"ErfcInv", 1e-300},
    {"ErfcInv", 0.5},
    {"ErfcInv", 1.5},
    {"ErfcInv", 0x1.fffffep+0},
    {"ErfcInv", 0x1.fffffep-1},
    {"CdfNorm", -12.9},
    {"CdfNorm", -13.2},
    {"CdfNorm", -14.5},
    {"CdfNorm", -37.5},
    {"CdfNorm", -37.6},
    {"CdfNorm", -38.4},
    {"CdfNorm", -38.6},
    {"CdfNorm", -1e30},
    {"CdfNorm", 1e30},
    {"CdfNorm", 9},
    {"CdfNorm", -22},
    {"CdfNormInv", 0x1p-149},
    {"CdfNormInv", 0x1p-1074},
    {"CdfNormInv", 1e-300},
    {"CdfNormInv", 0.25},
    {"CdfNormInv", 0.75},
    {"CdfNormInv", 0x1.fffffep-1},
    {"CdfNormInv", 0x1.000002p-1},
    {"LGamma", 0x1.000002p+0},
    {"LGamma", 0x1.fffffep-1},
    {"LGamma", 0x1.fffffep+0},
    {"LGamma", 0x1.000002p+1},
    {"LGamma", 0.75},
    {"LGamma", 2.5},
    {"LGamma", 12},
    {"LGamma", 1e30},
    {"LGamma", 4.08e36},
    {"LGamma", 4.09e36},
    {"LGamma", 2.5e305},
    {"LGamma", 2.56e305},
    {"LGamma", 0x1p-149},
    {"LGamma", -0x1p-100},
    {"LGamma", -0.5},
    {"LGamma", -1000.5},
    {"LGamma", -8388607.5},
    {"LGamma", -2.25},
    {"TGamma", 35.04},
    {"TGamma", 35.05},
    {"TGamma", 171.62},
    {"TGamma", 171.63},
    {"TGamma", 1e30},
    {"TGamma", 0x1p-120},
    {"TGamma", 0x1p-129},
    {"TGamma", -0x1p-129},
    {"TGamma", 0x1p-1030},
    {"TGamma", -33.5},
    {"TGamma", -34.5},
    {"TGamma", -38.5},
    {"TGamma", -45.5},
    {"TGamma", -170.5},
    {"TGamma", -171.5},
    {"TGamma", -177.5},
    {"TGamma", -185.5},
    {"TGamma", -1000.5},
    {"TGamma", -1001.5},
    {"TGamma", 12},
    {"ExpInt1", 0.5},
    {"ExpInt1", 16},
    {"ExpInt1", 82.9},
    {"ExpInt1", 84},
    {"ExpInt1", 98},
    {"ExpInt1", 110},
    {"ExpInt1", 701},
    {"ExpInt1", 702},
    {"ExpInt1", 738},
    {"ExpInt1", 1e30},
    {"ExpInt1", 0x1p-149},
    {"J0", 2.4048255576957728},
    {"J0", 8},
    {"J0", 64},
    {"J0", 1e22},
    {"J0", 0x1p+120},
    {"J0", 1e300},
    {"J0", 0x1p-140},
    {"J0", 23.56194490192345},
    {"J1", 3.8317059702075123},
    {"J1", 8},
    {"J1", 64},
    {"J1", 1e22},
    {"J1", 0x1p+120},
    {"J1", 1e300},
    {"J1", 0x1p-140},
    {"J1", -0x1p-1040},
    {"Y0", 0.89357696627916752},
    {"Y0", 8},
    {"Y0", 64},
    {"Y0", 1e22},
    {"Y0", 0x1p+120},
    {"Y0", 1e300},
    {"Y0", 0x1p-140},
    {"Y0", 0x1p-1074},
    {"Y1", 2.1971413260310170},
    {"Y1", 8},
    {"Y1", 64},
    {"Y1", 1e22},
    {"Y1", 0x1p+120},
    {"Y1", 1e300},
    {"Y1", 0x1p-126},
    {"Y1", 0x1p-129},
    {"Y1", 0x1p-1022},
    {"Y1", 0x1p-1026},
    {"I0", 31},
    {"I0", 91.9},
    {"I0", 92},
    {"I0", 713.9},
    {"I0", 714},
    {"I0", -714},
    {"I0", 1000},
    {"I1", 31},
    {"I1", 91.9},
    {"I1", 92},
    {"I1", 713.9},
    {"I1", 714},
    {"I1", -714},
    {"I1", 1000},
    {"I1", 0x1p-140},
};

const struct {
    const char *name;
    double x, order;
} hard_orders[] = {
    {"Jn", 1, 30},       {"Jn", 1, 200},      {"Jn", 1, 150},      {"Jn", 0x1p-40, 3}, {"Jn", 0x1p-100, 2},
    {"Jn", 0x1p-600, 2}, {"Jn", 100, 100},    {"Jn", 1000, 1001},  {"Jn", 3000, 50},   {"Jn", -5, 5},
    {"Jn", -5, -4},      {"Jn", 1e20, 4},     {"Yn", 1, 30},       {"Yn", 1, 200},     {"Yn", 1, 150},
    {"Yn", 0x1p-40, 3},  {"Yn", 0x1p-100, 2}, {"Yn", 0x1p-600, 2}, {"Yn", 100, 100},   {"Yn", 1000, 1001},
    {"Yn", 3000, 50},    {"Yn", 1e20, 4},
};

} // namespace

int main(int argc, char **argv) {
    if (argc == 3) {
        for (const Row &row : functions())
            for (char type : {'d', 's'})
                write_random(row, type, static_cast<unsigned>(std::atoi(argv[1])), std::atoi(argv[2]));
        return 0;
    }
    std::printf(
        "# Special functions: error, gamma, exponential integral, Bessel.\n"
        "# Made by tools/reference_special.cpp (reference_special > tests/data/reference_special.txt).\n"
        "# Row: function, arguments; exact result as a sum of two doubles; status.\n");
    for (const Row &row : functions()) {
        for (char type : {'d', 's'}) {
            for (const Special &s : specials)
                if (!std::strcmp(s.name, row.name))
                    write(type, row, s.x, 0, Big(s.result), s.status);
            for (const auto &s : order_specials)
                if (!std::strcmp(s.name, row.name))
                    write(type, row, s.x, s.order, Big(s.result), s.status);
            for (const auto &h : hard) {
                // the double nearest to a zero: there a double result is good relative to the modulus only
                if (type == 'd' && std::strchr("JY", h.name[0]) && h.x != std::floor(h.x) && h.x > 0.5)
                    continue;
                float single = static_cast<float>(h.x);
                bool inverse = std::strstr(h.name, "Inv") != nullptr;
                if (std::strcmp(h.name, row.name) || (type == 's' && (single == 0 || std::isinf(single) ||
                                                                      (inverse && std::fabs(single) == 1))))
                    continue;
                compute_and_write(type, row, h.x, 0);
            }
            for (const auto &h : hard_orders)
                if (!std::strcmp(h.name, row.name) && (type == 'd' || static_cast<float>(h.x) != 0))
                    compute_and_write(type, row, h.x, h.order);
            write_random(row, type, 1, 40);
        }
    }
}
