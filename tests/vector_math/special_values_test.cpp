// Results and statuses of every function at special arguments, beside the table that the documentation's
// pages show. A changed table is written by
//   cd tests && QOR_WRITE_SPECIAL_VALUES=1 ../build/release/bin/vector_math_test
//   --gtest_filter='SpecialValues*'
// and wants a look at every line that changed.
#include "support/functions.h"

#include "qor_fyn.h"

#include <algorithm>
#include <cfenv>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <sstream>

namespace {

using test::FunctionRow;

constexpr const char *table_file = "../docs/functions/special_values.txt";
constexpr double inf = std::numeric_limits<double>::infinity();

// Stand for the largest finite and the smallest subnormal number of the precision.
constexpr double big = std::numeric_limits<double>::max(), tiny = std::numeric_limits<double>::denorm_min();

const std::vector<double> one_argument = {-inf, -big, -90, -2.5, -1, -0.5, -tiny, -0.0, 0,
                                          tiny, 0.5,  1,   2.5,  90, big,  inf,   NAN};
const std::vector<double> two_arguments = {-inf, -3, -1, -0.5, -0.0, 0, tiny, 0.5, 1, 2, big, inf, NAN};
const std::vector<double> complex_parts = {-inf, -1, -0.0, 0, 1, big, inf, NAN};

using Value = std::vector<double>; // one part, or two
const std::vector<Value> complex_pairs = {{0, 0},   {-0.0, 0}, {1, 0},   {-1, 0},    {0, 1},   {big, big},
                                          {inf, 0}, {0, inf},  {inf, 1}, {inf, NAN}, {NAN, 0}, {NAN, NAN}};

std::vector<Value> each_alone(const std::vector<double> &values) {
    std::vector<Value> result;
    for (const double v : values)
        result.push_back({v});
    return result;
}

std::string shown(double v, bool single) {
    if (std::isnan(v))
        return "nan";
    const double magnitude = std::abs(v);
    const std::string sign = std::signbit(v) ? "-" : "";
    if (magnitude == (single ? std::numeric_limits<float>::max() : big))
        return sign + "big";
    if (magnitude == (single ? std::numeric_limits<float>::denorm_min() : tiny))
        return sign + "tiny";
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, v, std::chars_format::general, 4).ptr;
    return {text, end};
}

std::string shown(const Value &parts, bool single) {
    if (parts.size() == 1)
        return shown(parts[0], single);
    return "(" + shown(parts[0], single) + ", " + shown(parts[1], single) + ")";
}

// A value as the row's elements.
struct Element {
    alignas(16) char bytes[16];
};

Element stored(const FunctionRow &row, const Value &parts) {
    Element element{};
    for (std::size_t k = 0; k < parts.size(); ++k) {
        if (!row.is_single()) {
            std::memcpy(element.bytes + 8 * k, &parts[k], 8);
            continue;
        }
        const double magnitude = std::abs(parts[k]);
        float f = magnitude == big    ? std::numeric_limits<float>::max()
                  : magnitude == tiny ? std::numeric_limits<float>::denorm_min()
                                      : static_cast<float>(magnitude);
        f = std::copysign(f, static_cast<float>(std::copysign(1.0, parts[k])));
        std::memcpy(element.bytes + 4 * k, &f, 4);
    }
    return element;
}

Value loaded(const FunctionRow &row, const Element &element) {
    Value parts;
    for (std::size_t k = 0; k < row.result_parts(); ++k) {
        double d;
        float f;
        std::memcpy(&d, element.bytes + 8 * (row.is_single() ? 0 : k), 8);
        std::memcpy(&f, element.bytes + 4 * k, 4);
        parts.push_back(row.is_single() ? static_cast<double>(f) : d);
    }
    return parts;
}

template <class T>
void quotients(const FunctionRow &row, int slot, std::int32_t n, const void *a, const void *b, void *r) {
    using Entry = void (*)(std::int32_t, const void *, const void *, T, T, T, T, void *);
    test::entry<Entry>("_fyn" + row.stem() + test::slot_suffix(row, slot))(n, a, b, T(1), T(0), T(1), T(0),
                                                                           r);
}

// "result", "result result" for functions of two, and "!status" where one is reported.
std::string cell(const FunctionRow &row, int slot, const Value &a, const Value &b) {
    const Element x = stored(row, a), y = stored(row, b);
    Element r1{}, r2{};
    _fynClearErrStatus();
    if (row.is("lin"))
        (row.is_single() ? quotients<float> : quotients<double>)(row, slot, 1, x.bytes, y.bytes, r1.bytes);
    else
        test::call(row, slot, 1, x.bytes, 1, y.bytes, 1, r1.bytes, 1, r2.bytes, 1);
    std::string text = shown(loaded(row, r1), row.is_single());
    if (row.results() == 2)
        text += " " + shown(loaded(row, r2), row.is_single());
    if (const int status = _fynGetErrStatus())
        text += "!" + std::to_string(status);
    return text;
}

// The arguments of a function's lines and columns.
struct Layout {
    std::string name;
    std::vector<Value> lines, columns;
    bool parts = false; // lines and columns are the parts of one argument
};

const std::vector<Layout> layouts = {
    {"one", {{0.0}}, each_alone(one_argument)},
    {"two", each_alone(two_arguments), each_alone(two_arguments)},
    {"parts", each_alone(complex_parts), each_alone(complex_parts), true},
    {"pairs", complex_pairs, complex_pairs},
};

const Layout &layout(const FunctionRow &row) {
    if (row.arguments() == 2)
        return layouts[row.is_complex() ? 3 : 1];
    return layouts[row.argument_parts() == 2 ? 2 : 0];
}

std::string lines(const FunctionRow &row, int slot) {
    const Layout &form = layout(row);
    std::string text;
    for (const Value &line : form.lines) {
        text += form.lines.size() == 1 ? "a" : shown(line, false);
        for (const Value &column : form.columns)
            text += " ; " + (form.parts               ? cell(row, slot, {line[0], column[0]}, {0})
                             : form.lines.size() == 1 ? cell(row, slot, column, {0})
                                                      : cell(row, slot, line, column));
        text += "\n";
    }
    return text;
}

// "s d.LA,HA": the types, with their slots where not all.
std::string label(const std::vector<std::pair<char, std::vector<int>>> &kernels) {
    static const char *const slots[] = {"LA", "HA", "EP"};
    std::string text;
    for (const auto &[type, of_type] : kernels) {
        text += (text.empty() ? "" : " ") + std::string(1, type);
        for (std::size_t k = 0; of_type.size() < 3 && k < of_type.size(); ++k)
            text += (k ? "," : ".") + std::string(slots[of_type[k]]);
    }
    return text;
}

// Whether some result of 40 ordinary arguments depends on the caller's rounding direction.
bool follows_direction(const FunctionRow &row) {
    constexpr std::size_t count = 40;
    char a[count * 16]{}, b[count * 16]{};
    for (std::size_t i = 0; i < count; ++i) {
        const double x = (static_cast<double>(i) + 0.5) / 41, y = 1.0 / (static_cast<double>(i) + 3);
        const std::size_t size = row.argument_parts() * row.real_bytes();
        std::memcpy(a + i * size, stored(row, Value(row.argument_parts(), x)).bytes, size);
        std::memcpy(b + i * size, stored(row, Value(row.argument_parts(), row.is("v-s") ? 2 : y)).bytes,
                    size);
    }
    const std::size_t bytes = count * row.result_parts() * row.real_bytes();
    std::vector<char> nearest;
    for (const int direction : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
        std::vector<char> r(2 * bytes);
        std::fesetround(direction);
        if (row.is("lin"))
            (row.is_single() ? quotients<float> : quotients<double>)(row, 1, count, a, b, r.data());
        else
            test::call(row, 1, count, a, 1, b, 1, r.data(), 1, r.data() + bytes, 1);
        std::fesetround(FE_TONEAREST);
        if (direction == FE_TONEAREST)
            nearest = r;
        else if (r != nearest)
            return true;
    }
    return false;
}

std::string table() {
    std::string text =
        "# Results and statuses at special arguments, four digits; \"!\" stands before a status.\n"
        "# Made by the test SpecialValues (tests/vector_math/special_values_test.cpp), which checks it.\n"
        "# big: largest finite number, tiny: smallest subnormal one. Lines are first arguments or real\n"
        "# parts, columns second arguments or imaginary parts. LinearFrac has scales 1 and shifts 0.\n"
        "# Under \"direction\" stand the functions whose results follow the caller's rounding direction.\n";
    for (const Layout &form : layouts) {
        text += "columns " + form.name;
        for (const Value &column : form.columns)
            text += " ; " + shown(column, false);
        text += "\n";
    }
    // Kernels with the same lines are one block; blocks stand in the order of their functions.
    std::vector<std::string> names;
    std::map<std::string, std::vector<std::pair<std::string, std::vector<std::pair<char, std::vector<int>>>>>>
        blocks;
    for (const FunctionRow &row : test::function_rows()) {
        if (row.is_pack() || row.strided)
            continue;
        const std::string name = row.name + (" " + layout(row).name);
        auto &of_name = blocks[name];
        if (of_name.empty())
            names.push_back(name);
        for (int slot = 0; slot < 3; ++slot) {
            const std::string body = lines(row, slot);
            auto same =
                std::find_if(of_name.begin(), of_name.end(), [&](auto &b) { return b.first == body; });
            if (same == of_name.end())
                same = of_name.insert(of_name.end(), {body, {}});
            auto &kernels = same->second;
            if (kernels.empty() || kernels.back().first != row.type)
                kernels.push_back({row.type, {}});
            kernels.back().second.push_back(slot);
        }
    }
    for (const FunctionRow &row : test::function_rows())
        if (!row.is_pack() && !row.strided && follows_direction(row))
            text += std::string("direction ") + row.name + " " + row.type + "\n";
    for (const std::string &name : names)
        for (const auto &[body, kernels] : blocks[name])
            text += "function " + name + " " + label(kernels) + "\n" + body;
    return text;
}

TEST(SpecialValues, AreTheDocumented) {
    const std::uint32_t old = _fynSetMode(FYN_ERRMODE_IGNORE);
    const std::string computed = table();
    _fynSetMode(old);
    if (std::getenv("QOR_WRITE_SPECIAL_VALUES")) {
        std::ofstream(table_file) << computed;
        return;
    }
    std::ifstream file(table_file);
    std::istringstream lines_now(computed);
    std::string documented, now, block;
    while (std::getline(lines_now, now)) {
        ASSERT_TRUE(std::getline(file, documented)) << "not documented: " << now;
        if (now.starts_with("function"))
            block = now;
        EXPECT_EQ(documented, now) << "in " << block;
    }
    EXPECT_FALSE(std::getline(file, documented)) << "no longer there: " << documented;
}

} // namespace
