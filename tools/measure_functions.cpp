// Measures the errors of the functions of vector math whose results are rounded, in every type and every
// kernel of its own, through the built library.
//
//   g++ -std=c++20 -O2 -pthread -Itests -Iinclude -Ibuild/release/generated tools/measure_functions.cpp
//       tests/support/functions.cpp -lmpc -lmpfr -lgmp -o measure
//   LD_LIBRARY_PATH=build/release/lib ./measure -o accuracy_other.txt > accuracy.txt     (for docs/functions)
//   ./measure -n COUNT     arguments a function and type, 100000 if not given
//   ./measure -f NAME      one function
//   ./measure -o FILE      writes the same results by another measure: complex ones as a whole, the Bessel
//                          functions beside their size around a zero
//
// Rows: see the header that the program prints.
#include "measured_arguments.h"
#include "true_values_complex.h"
#include "ulps.h"

#include "qor_fyn.h"
#include "support/functions.h"

#include <algorithm>
#include <atomic>
#include <sstream>
#include <string>
#include <thread>

namespace {

using measuring::Arguments, measuring::Plan, measuring::Random, measuring::Scalar;
using reference::Big, reference::BigComplex;
using reference::error_in_ulps, reference::in_ulps;
using test::FunctionRow;

constexpr unsigned threads = 2;

const char header[] = R"(# Largest errors found, by tools/measure_functions.cpp:
#   ./measure -n %ld
# Columns: function; type; slots that share the kernel; arguments compared with MPFR or MPC; largest error
# in units in the last place (ulp) of the true value; its argument, and the second one (re,im where
# complex); error promised; a mark where the promise is broken.
# Of two results, and of the two parts of a complex one, the worse counts, each in ulp of its own; where
# "norm:" is promised it is |error| in ulp of |value|. Near zeros of J and Y the promise is in ulp of the
# function's size. Below the normal numbers an ulp is their smallest spacing. Results too large for the type
# are left out. Arguments are random, denser where a function changes its nature; the seeds are fixed.
)";
const char other_header[] =
    R"(# Errors by another measure than accuracy.txt has, in the same columns, by tools/measure_functions.cpp:
#   ./measure -n %ld -o FILE
# Complex: |error| in ulp of |value|, the promise being for each part. Bessel functions J and Y beyond their
# first turn: in ulp of the function's size around the argument, sqrt(2/(pi x)), where that is larger than the
# value. Functions whose figure is the same are left out.
)";

// Errors of one kernel, and the arguments of the largest.
struct Largest {
    double error = 0, at[4] = {};
    void offer(double e, const double *parts) {
        if (e > error) {
            error = e;
            std::copy_n(parts, 4, at);
        }
    }
    void offer(const Largest &other) { offer(other.error, other.at); }
};

struct Kernel {
    int slot;
    std::string slots, promised;
    Largest plain, other; // by the two measures
    bool broken = false;

    bool by_norm() const { return promised.starts_with("norm:"); }
    double limit() const { return std::atof(promised.c_str() + (by_norm() ? 5 : 0)); }
};

struct Measured {
    long count = 0;
    std::vector<Kernel> kernels;
    void merge(const Measured &part) {
        count += part.count;
        for (std::size_t k = 0; k < kernels.size(); ++k) {
            kernels[k].plain.offer(part.kernels[k].plain);
            kernels[k].other.offer(part.kernels[k].other);
            kernels[k].broken |= part.kernels[k].broken;
        }
    }
};

std::string promise(const FunctionRow &row, int slot) {
    std::istringstream list(row.bound);
    std::string bound;
    std::getline(list, bound, ',');
    for (std::string next; slot > 0 && std::getline(list, next, ','); --slot)
        bound = next;
    return bound;
}

// The same kernel in several slots is one.
std::vector<Kernel> distinct_kernels(const FunctionRow &row) {
    const auto table = test::entry<void *const *>("qor_fyn_kernel_" + row.stem() + "_ttab");
    std::vector<Kernel> kernels;
    for (int slot = 0; slot < 3; ++slot) {
        const auto same = std::find_if(kernels.begin(), kernels.end(),
                                       [&](const Kernel &k) { return table[k.slot] == table[slot]; });
        const char *name = slot == 0 ? "LA" : slot == 1 ? "HA" : "EP";
        if (same == kernels.end())
            kernels.push_back({slot, name, promise(row, slot), {}, {}});
        else
            same->slots += std::string(",") + name;
    }
    return kernels;
}

template <class T> bool in_range(mpfr_srcptr y) {
    return mpfr_number_p(y) &&
           std::isfinite(sizeof(T) == 4 ? mpfr_get_flt(y, MPFR_RNDN) : mpfr_get_d(y, MPFR_RNDN));
}

// What the Bessel functions amount to around x; 0 where they have no zeros.
double size_around(const char *name, double x, double order) {
    const bool bessel = std::strchr("JY", name[0]) && std::strlen(name) == 2;
    const double first_turn = name[1] == 'n' ? std::fabs(order) : name[1] - '0';
    return bessel && std::fabs(x) > std::fmax(0.5, first_turn) ? std::sqrt(2 / (measuring::pi * std::fabs(x)))
                                                               : 0;
}

// One plan, with one of the scalars.
template <class T> class Unit {
  public:
    Unit(const FunctionRow &function, const Plan &from, const Scalar *fixed, long arguments)
        : row(function), plan(from), scalar(fixed), count(static_cast<std::size_t>(arguments)) {}

    void run(Random random, Measured &measured) {
        const std::size_t ap = row.argument_parts(), rp = row.result_parts();
        std::vector<T> a(count * ap), b(scalar ? ap : count * ap);
        std::vector<double> drawn(count * 4);
        for (std::size_t i = 0; i < count; ++i) {
            double *parts = &drawn[i * 4];
            draw(random, parts);
            std::copy_n(parts, ap, &a[i * ap]);
            if (row.arguments() == 2)
                std::copy_n(parts + ap, ap, &b[scalar ? 0 : i * ap]);
        }
        std::vector<std::vector<T>> first, second;
        for (const Kernel &k : measured.kernels) {
            auto &r1 = first.emplace_back(count * rp);
            auto &r2 = second.emplace_back(count * rp);
            test::call(row, k.slot, static_cast<std::int32_t>(count), a.data(), 1, b.data(), 1, r1.data(), 1,
                       r2.data(), 1);
        }
        for (std::size_t i = 0; i < count; ++i) {
            const double *parts = &drawn[i * 4];
            if (!(row.is_complex() ? find_complex(parts) : find_real(parts)))
                continue;
            ++measured.count;
            for (std::size_t k = 0; k < measured.kernels.size(); ++k)
                row.is_complex() ? judge_complex(measured.kernels[k], parts, &first[k][i * rp])
                                 : judge_real(measured.kernels[k], parts, first[k][i], second[k][i]);
        }
    }

  private:
    void draw(Random &random, double *parts) {
        std::size_t i = 0;
        for (const auto &stratum : plan.parts)
            parts[i++] = static_cast<double>(stratum.template draw<T>(random));
        if (plan.join) {
            plan.join(parts, sizeof(T) == 4);
            for (std::size_t k = 0; k < i; ++k)
                parts[k] = static_cast<double>(static_cast<T>(parts[k]));
        }
        if (scalar) {
            parts[i++] = static_cast<double>(static_cast<T>(scalar->re));
            parts[i++] = static_cast<double>(static_cast<T>(scalar->im));
        }
    }

    bool find_real(const double *parts) {
        const auto &f = reference::real_function(row.name);
        if (row.arguments() == 2)
            f.value_of_two(y, Big(parts[0]), Big(parts[1]), MPFR_RNDN);
        else
            f.value(y, Big(parts[0]), MPFR_RNDN);
        if (row.results() == 2)
            f.second_value(y2, Big(parts[0]), MPFR_RNDN);
        return in_range<T>(y) && (row.results() == 1 || in_range<T>(y2));
    }

    void judge_real(Kernel &kernel, const double *parts, T r, T r2) {
        double error = error_in_ulps(y, r, y);
        if (row.results() == 2)
            error = std::max(error, error_in_ulps(y2, r2, y2));
        kernel.plain.offer(error, parts);
        const Big around(size_around(row.name, parts[0], parts[1]));
        if (mpfr_cmpabs(around, y) > 0)
            error = error_in_ulps(y, r, around);
        kernel.other.offer(error, parts);
        kernel.broken |= error > kernel.limit();
    }

    bool find_complex(const double *parts) {
        const auto &f = reference::complex_function(row.name);
        const std::size_t ap = row.argument_parts();
        const BigComplex z(parts[0], ap == 2 ? parts[1] : 0);
        if (row.arguments() == 2)
            f.value_of_two(w, z, BigComplex(parts[2], parts[3]), MPC_RNDNN);
        else
            f.value(w, z, MPC_RNDNN);
        return in_range<T>(mpc_realref(w.value)) && in_range<T>(mpc_imagref(w.value));
    }

    void judge_complex(Kernel &kernel, const double *parts, const T *r) {
        const mpfr_srcptr exact[] = {mpc_realref(w.value), mpc_imagref(w.value)};
        Big size, distance(0.0), difference;
        mpc_abs(size, w, MPFR_RNDN);
        double worse_part = 0;
        for (std::size_t part = 0; part < row.result_parts(); ++part) {
            worse_part = std::max(worse_part, error_in_ulps(exact[part], r[part], exact[part]));
            if (!std::isfinite(r[part]))
                break;
            mpfr_sub_d(difference, exact[part], static_cast<double>(r[part]), MPFR_RNDN);
            mpfr_hypot(distance, distance, difference, MPFR_RNDN);
        }
        const bool finite = worse_part < measuring::all;
        double whole = finite ? in_ulps<T>(distance, size) : worse_part;
        if (kernel.by_norm())
            std::swap(whole, worse_part);
        kernel.broken |= worse_part > kernel.limit();
        kernel.plain.offer(worse_part, parts);
        kernel.other.offer(whole, parts);
    }

    const FunctionRow &row;
    const Plan &plan;
    const Scalar *scalar;
    std::size_t count;
    Big y, y2;
    BigComplex w;
};

template <class T> Measured measure(const FunctionRow &row, long count) {
    const Arguments &arguments = measuring::arguments_of(row.name, row.is_complex());
    std::vector<const Scalar *> scalars;
    for (const Scalar &s : arguments.scalars)
        scalars.push_back(&s);
    if (scalars.empty())
        scalars.push_back(nullptr);
    const std::size_t units = arguments.plans.size() * scalars.size();
    Measured total{0, distinct_kernels(row)};
    std::vector<Measured> parts(units, total);
    std::atomic<std::size_t> next = 0;
    std::vector<std::thread> workers;
    for (unsigned t = 0; t < threads; ++t)
        workers.emplace_back([&] {
            test::entry<decltype(&_fynSetMode)>("_fynSetMode")(FYN_ERRMODE_NOERR | FYN_DENORM_FLUSH_OFF);
            for (std::size_t u; (u = next++) < units;) {
                Unit<T> unit(row, arguments.plans[u / scalars.size()], scalars[u % scalars.size()],
                             std::max(1L, count / static_cast<long>(units)));
                unit.run({std::mt19937_64(97 + u)}, parts[u]);
            }
            mpfr_free_cache();
        });
    for (auto &worker : workers)
        worker.join();
    for (const Measured &part : parts)
        total.merge(part);
    return total;
}

std::string numbers(const double *parts, std::size_t count) {
    std::string text;
    char number[40];
    for (std::size_t i = 0; i < count; ++i) {
        std::snprintf(number, sizeof number, "%s%a", i ? "," : "", parts[i]);
        text += number;
    }
    return text;
}

std::string line(const FunctionRow &row, const Kernel &kernel, long count, const Largest &worst,
                 bool broken = false) {
    const std::size_t ap = row.argument_parts();
    const std::string second = row.arguments() == 2 ? numbers(worst.at + ap, ap) : "-";
    char text[300];
    std::snprintf(text, sizeof text, "%-10s %c %-8s %7ld %-11.6g %-46s %-46s %s%s\n", row.name, row.type,
                  kernel.slots.c_str(), count, worst.error, numbers(worst.at, ap).c_str(), second.c_str(),
                  kernel.promised.c_str(), broken ? " !" : "");
    return text;
}

} // namespace

int main(int argc, char **argv) {
    long count = 100000;
    const char *only = nullptr, *other_file = nullptr;
    for (int i = 1; i + 1 < argc; i += 2)
        if (!std::strcmp(argv[i], "-n"))
            count = std::atol(argv[i + 1]);
        else if (!std::strcmp(argv[i], "-f"))
            only = argv[i + 1];
        else if (!std::strcmp(argv[i], "-o"))
            other_file = argv[i + 1];
    std::FILE *others = other_file ? std::fopen(other_file, "w") : nullptr;
    if (argc % 2 == 0 || count < 1 || !test::library() || (other_file && !others)) {
        std::fprintf(stderr,
                     "measure_functions [-n COUNT] [-f NAME] [-o FILE], the library in LD_LIBRARY_PATH\n");
        return 1;
    }
    reference::precision = 160;
    std::vector<const FunctionRow *> rows;
    for (const FunctionRow &row : test::function_rows())
        if (!row.strided && std::strcmp(row.bound, "-") && !row.is_pack() &&
            (!only || !std::strcmp(row.name, only)))
            rows.push_back(&row);
    std::stable_sort(rows.begin(), rows.end(), [](const FunctionRow *a, const FunctionRow *b) {
        return std::strcmp(a->name, b->name) < 0;
    });
    std::printf(header, count);
    if (others)
        std::fprintf(others, other_header, count);
    for (const FunctionRow *row : rows) {
        const Measured m = row->is_single() ? measure<float>(*row, count) : measure<double>(*row, count);
        for (const Kernel &kernel : m.kernels) {
            std::fputs(line(*row, kernel, m.count, kernel.plain, kernel.broken).c_str(), stdout);
            if (others && kernel.other.error != kernel.plain.error)
                std::fputs(line(*row, kernel, m.count, kernel.other).c_str(), others);
        }
        std::fflush(stdout);
    }
    if (others)
        std::fclose(others);
}
