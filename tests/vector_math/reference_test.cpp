// Every function against values from a multi-precision library (tests/data/reference_*.txt): every slot,
// contiguous and strided, values within the bounds of the function list, and the statuses.
#include "support/functions.h"

#include "qor_fyn.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <sstream>

namespace {

using test::FunctionRow;

struct Case {
    std::vector<double> arguments;
    std::vector<std::pair<double, double>> results; // hi, lo
    int status;
    std::string text;
};

std::map<std::string, std::vector<Case>> read_cases() {
    std::map<std::string, std::vector<Case>> cases;
    for (const auto &file : std::filesystem::directory_iterator(QOR_TEST_DATA)) {
        if (file.path().filename().string().rfind("reference_", 0) != 0)
            continue;
        std::ifstream in(file.path());
        for (std::string line; std::getline(in, line);) {
            if (!line.empty() && line.back() == '\r')
                line.pop_back();
            if (line.empty() || line[0] == '#')
                continue;
            std::istringstream words(line);
            std::string name, word;
            words >> name;
            Case c{{}, {}, 0, line};
            while (words >> word && word != ";")
                c.arguments.push_back(std::strtod(word.c_str(), nullptr));
            std::string low;
            while (words >> word && word != ";" && words >> low)
                c.results.emplace_back(std::strtod(word.c_str(), nullptr), std::strtod(low.c_str(), nullptr));
            words >> c.status;
            cases[name].push_back(c);
        }
    }
    return cases;
}

// The exponent of a unit in the last place at x.
int unit_exponent(double x, bool single) {
    int exponent;
    std::frexp(x, &exponent);
    return std::max(exponent, single ? -125 : -1021) - (single ? 24 : 53);
}

// Units in the last place of the precision between a result and an exact value.
double ulps(double result, std::pair<double, double> exact, bool single) {
    const auto [hi, lo] = exact;
    if (std::isnan(hi) || std::isnan(result))
        return std::isnan(hi) && std::isnan(result) ? 0 : INFINITY;
    if (std::isinf(hi) || std::isinf(result) || hi == 0)
        return hi == result && std::signbit(hi) == std::signbit(result) ? 0 : INFINITY;
    const long double difference = (static_cast<long double>(result) - hi) - lo;
    return static_cast<double>(std::fabs(std::ldexp(difference, -unit_exponent(hi, single))));
}

std::vector<int> reported;
int32_t note_report(FynErrorContext *context) {
    reported[static_cast<std::size_t>(context->index)] = context->code;
    return 0;
}

// Vectors of reals in the row's precision.
struct Reals {
    bool single;
    std::vector<char> bytes;
    Reals(const FunctionRow &row, std::size_t count)
        : single(row.is_single()), bytes(count * row.real_bytes(), 0x55) {}
    void set(std::size_t i, double x) {
        const float f = static_cast<float>(x);
        single ? std::memcpy(&bytes[i * 4], &f, 4) : std::memcpy(&bytes[i * 8], &x, 8);
    }
    double get(std::size_t i) const {
        float f;
        double x;
        if (single)
            return std::memcpy(&f, &bytes[i * 4], 4), static_cast<double>(f);
        return std::memcpy(&x, &bytes[i * 8], 8), x;
    }
};

// What a slot promises: ulps of each part, or, after "norm:", of the whole in units of its size.
double promised(const FunctionRow &row, int slot, bool &by_norm) {
    std::vector<std::string> bounds;
    std::istringstream list(row.bound);
    for (std::string bound; std::getline(list, bound, ',');)
        bounds.push_back(bound);
    const std::string &bound = bounds[bounds.size() == 1 ? 0 : static_cast<std::size_t>(slot)];
    by_norm = bound.starts_with("norm:");
    return bound == "-" ? 0.5000001 : std::atof(bound.c_str() + (by_norm ? 5 : 0));
}

void check(const FunctionRow &row, const std::vector<Case> &cases, int slot, bool check_status) {
    const std::size_t count = cases.size(), ap = row.argument_parts(), rp = row.result_parts();
    const int step = row.strided ? -3 : 1; // backwards through every third element
    const std::size_t room = row.strided ? 3 * count : count;
    auto place = [&](std::size_t i) { return row.strided ? room - 1 - 3 * i : i; };
    Reals a(row, room * ap), b(row, room * ap), r1(row, room * rp), r2(row, room * rp);
    for (std::size_t i = 0; i < count; ++i)
        for (std::size_t part = 0; part < ap; ++part) {
            a.set(place(i) * ap + part, cases[i].arguments[part]);
            if (row.arguments() == 2)
                b.set(place(i) * ap + part, cases[i].arguments[ap + part]);
        }
    auto start = [&](Reals &v, std::size_t parts, std::size_t i) {
        return &v.bytes[place(i) * parts * row.real_bytes()];
    };
    reported.assign(count, 0);
    _fynSetErrorCallBack(note_report);
    if (row.is("v-s")) {
        for (std::size_t i = 0; i < count; ++i) {
            const int before = reported[0];
            reported[0] = 0;
            test::call(row, slot, 1, start(a, ap, i), step, start(b, ap, i), 0, start(r1, rp, i), step,
                       nullptr, 0);
            const int now = reported[0];
            reported[0] = before;
            reported[i] = now;
        }
    } else {
        test::call(row, slot, static_cast<std::int32_t>(count), start(a, ap, 0), step, start(b, ap, 0), step,
                   start(r1, rp, 0), step, start(r2, rp, 0), step);
    }
    _fynClearErrorCallBack();

    bool by_norm;
    const double bound = promised(row, slot, by_norm);
    int shown = 0;
    double worst = 0;
    std::string worst_text;
    for (std::size_t i = 0; i < count; ++i) {
        std::vector<double> results;
        for (const Reals *r : {&r1, &r2})
            if (r == &r1 || row.results() == 2)
                for (std::size_t part = 0; part < rp; ++part)
                    results.push_back(r->get(place(i) * rp + part));
        ASSERT_EQ(results.size(), cases[i].results.size()) << cases[i].text;
        double error = 0;
        for (std::size_t k = 0; k < results.size(); ++k)
            error = std::max(error, ulps(results[k], cases[i].results[k], row.is_single()));
        if (by_norm && std::isfinite(error)) {
            const auto &exact = cases[i].results;
            const double size = std::hypot(exact[0].first, exact[1].first);
            error = std::ldexp(std::hypot(results[0] - exact[0].first, results[1] - exact[1].first),
                               -unit_exponent(size, row.is_single()));
        }
        if (error > worst) {
            worst = error;
            worst_text = cases[i].text;
        }
        if ((error > bound || (check_status && reported[i] != cases[i].status)) && ++shown <= 3)
            ADD_FAILURE() << row.stem() << slot_suffix(row, slot) << ": " << cases[i].text << "\n  error "
                          << error << " bound " << bound << ", reported " << reported[i] << ", result "
                          << std::hexfloat << results[0] << (results.size() > 1 ? results[1] : 0.0);
    }
    EXPECT_LE(shown, 3) << row.stem() << slot_suffix(row, slot) << " and more";
    if (std::getenv("QOR_SHOW_WORST"))
        std::printf("%-14s %g  %s\n", (row.stem() + slot_suffix(row, slot)).c_str(), worst,
                    worst_text.c_str());
}

TEST(Reference, EveryFunctionEverySlot) {
    const auto cases = read_cases();
    _fynSetMode(FYN_ERRMODE_CALLBACK | FYN_DENORM_FLUSH_OFF);
    std::size_t functions = 0;
    for (const FunctionRow &row : test::function_rows()) {
        const auto found = cases.find(std::string(1, row.type) + row.name);
        if (found == cases.end())
            continue;
        ++functions;
        for (int slot = 0; slot < 3; ++slot)
            check(row, found->second, slot, true);
    }
    // All but arithmetic, rounding and pack, which have exact tests of their own.
    EXPECT_EQ(functions, 2u * (2 * (93 - 6 - 26) + 2 * (33 - 6)));
}

} // namespace
