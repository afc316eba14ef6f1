// Speed of cell search beside its peers, every method over the same 10^6 sites in the same run.
//
// Names are method.partition/contestant/nx; times are those of one call. The partitions of `sorted`,
// `uniform` and `quasi` are those their methods are for. scripts/bench.sh says how to run and compare.
#include "qor_df.h"

#include <benchmark/benchmark.h>
#ifdef QOR_BENCH_GSL
#include <gsl/gsl_interp.h>
#endif

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr std::int64_t nsite = 1000000;

struct Problem {
    std::vector<double> x, site;
    std::vector<std::int64_t> cell;
    double step = 0;
    void *task = nullptr;
};

using Search = void (*)(Problem &);
using Entry = decltype(qor_df_kernel_dDFHybridSearch1D64);

template <Entry entry> void direct(Problem &p) {
    std::int64_t state = 0;
    entry(static_cast<std::int64_t>(p.x.size()), p.x.data(), nsite, p.site.data(), &state, p.step, nullptr,
          nullptr, nullptr, p.cell.data());
}

// The uniform method takes the ends of the partition alone.
void uniform(Problem &p) {
    const double ends[] = {p.x.front(), p.x.back()};
    qor_df_kernel_dDFUniformSearch1D64(static_cast<std::int64_t>(p.x.size()), ends, nsite, p.site.data(),
                                       nullptr, p.step, nullptr, nullptr, nullptr, p.cell.data());
}

template <std::int64_t site_hint> void generic(Problem &p) {
    qor_df_kernel_dDFSearch1D(p.task, nsite, p.site.data(), site_hint, nullptr, p.cell.data(), nullptr,
                              nullptr, nullptr, nullptr);
}

void upper_bound(Problem &p) {
    const auto nx = static_cast<std::int64_t>(p.x.size());
    for (std::size_t i = 0; i < p.site.size(); ++i) {
        const auto above = std::upper_bound(p.x.begin(), p.x.end(), p.site[i]) - p.x.begin();
        p.cell[i] = p.site[i] == p.x.back() ? nx - 1 : above;
    }
}

#ifdef QOR_BENCH_GSL
void gsl(Problem &p) {
    gsl_interp_accel *const accelerator = gsl_interp_accel_alloc();
    for (std::size_t i = 0; i < p.site.size(); ++i)
        p.cell[i] =
            static_cast<std::int64_t>(gsl_interp_accel_find(accelerator, p.x.data(), p.x.size(), p.site[i])) +
            1;
    gsl_interp_accel_free(accelerator);
}
#endif

// Breakpoints of [0, 1]: evenly spaced, drawn at random, or nine in ten of them within a 10^-4 of it.
// Sites: anywhere in the interval, or as many in every cell as in the next (`percell`).
Problem problem(const std::string &partition, std::size_t nx, bool sorted_sites) {
    Problem p{std::vector<double>(nx), std::vector<double>(nsite), std::vector<std::int64_t>(nsite)};
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> uniform_number(0, 1);
    const auto draw = [&] { return uniform_number(random); };
    p.step = 1 / static_cast<double>(nx - 1);
    for (std::size_t i = 0; i < nx; ++i)
        p.x[i] = partition == "even"        ? static_cast<double>(i) * p.step
                 : partition == "irregular" ? draw()
                                            : (draw() < 0.9 ? 0.5 + 1e-4 * draw() : draw());
    std::sort(p.x.begin(), p.x.end());
    for (double &s : p.site) {
        if (partition == "percell") {
            const auto j = static_cast<std::size_t>(draw() * static_cast<double>(nx - 1));
            s = p.x[j] + (p.x[j + 1] - p.x[j]) * draw();
        } else
            s = p.x.front() + (p.x.back() - p.x.front()) * draw();
    }
    if (sorted_sites)
        std::sort(p.site.begin(), p.site.end());
    return p;
}

struct Contest {
    const char *method;
    Search ours;
    std::vector<const char *> partitions;
    bool sorted_sites;
};

const Contest contests[] = {
    {"hybrid",
     direct<qor_df_kernel_dDFHybridSearch1D64>,
     {"even", "irregular", "clustered", "percell"},
     false},
    {"peak", direct<qor_df_kernel_dDFPeakSearch1D64>, {"even", "irregular", "clustered", "percell"}, false},
    {"generic", generic<0>, {"even", "irregular", "clustered", "percell"}, false},
    {"sorted", direct<qor_df_kernel_dDFSortedSearch1D64>, {"even", "irregular", "clustered"}, true},
    {"generic_sorted", generic<QOR_DF_SORTED_SITES>, {"even", "irregular", "clustered"}, true},
    {"uniform", uniform, {"even"}, false},
    {"quasi", direct<qor_df_kernel_dDFQuasiUniformSearch1D64>, {"even"}, false},
};

struct Contestant {
    const char *name;
    Search search; // null: the contest's own
};

constexpr Contestant contestants[] = {
    {"ours", nullptr},
    {"upper_bound", upper_bound},
#ifdef QOR_BENCH_GSL
    {"gsl", gsl},
#endif
};

void run(benchmark::State &state, const Contest &contest, const std::string &partition, Search search,
         std::size_t nx) {
    Problem p = problem(partition, nx, contest.sorted_sites);
    if (qor_df_kernel_dNewTask1D(&p.task, static_cast<std::int64_t>(nx), p.x.data(), QOR_DF_NON_UNIFORM, 0,
                                 nullptr, 0, 1) != QOR_DF_OK) {
        state.SkipWithError("no task");
        return;
    }
    for (auto _ : state) {
        search(p);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * nsite);
    qor_df_kernel_DeleteTask(&p.task);
}

// Construction of a linear spline over n breakpoints as a program would write it, from the same arguments.
[[gnu::noinline]] void plain_linear(std::int64_t n, const double *x, const double *y, double *__restrict c) {
    for (std::int64_t i = 0; i < n - 1; ++i) {
        c[2 * i] = y[i];
        c[2 * i + 1] = (y[i + 1] - y[i]) / (x[i + 1] - x[i]);
    }
}

[[gnu::noinline]] void plain_uniform(std::int64_t n, const double *ends, const double *y,
                                     double *__restrict c) {
    const double inverse = static_cast<double>(n - 1) / (ends[1] - ends[0]);
    for (std::int64_t i = 0; i < n - 1; ++i) {
        c[2 * i] = y[i];
        c[2 * i + 1] = (y[i + 1] - y[i]) * inverse;
    }
}

void construct(benchmark::State &state, bool ours, bool uniform_partition, std::size_t nx) {
    const auto n = static_cast<std::int64_t>(nx);
    std::vector<double> x(nx), y(nx), c(2 * (nx - 1));
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> uniform_number(0, 1);
    for (std::size_t i = 0; i < nx; ++i) {
        x[i] = static_cast<double>(i);
        y[i] = uniform_number(random);
    }
    const double ends[] = {x.front(), x.back()};
    void *task = nullptr;
    qor_df_kernel_dNewTask1D(&task, n, uniform_partition ? ends : x.data(),
                             uniform_partition ? QOR_DF_UNIFORM : QOR_DF_NON_UNIFORM, 1, y.data(), 0, 1);
    qor_df_kernel_dEditPPSpline1D(task, 2, 0, 0, nullptr, 0, nullptr, c.data(), 0);
    for (auto _ : state) {
        if (ours)
            qor_df_kernel_dDFLinearSpline1D(task, 0, nullptr, 0);
        else if (uniform_partition)
            plain_uniform(n, ends, y.data(), c.data());
        else
            plain_linear(n, x.data(), y.data(), c.data());
        benchmark::ClobberMemory();
    }
    qor_df_kernel_DeleteTask(&task);
}

double minimum(const std::vector<double> &times) { return *std::min_element(times.begin(), times.end()); }

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    for (const Contest &contest : contests)
        for (const char *partition : contest.partitions)
            for (const std::size_t nx : {16u, 100u, 1000u, 100000u, 1000000u})
                for (const Contestant &contestant : contestants) {
                    const auto name = std::string(contest.method) + "." + partition + "/" + contestant.name +
                                      "/" + std::to_string(nx);
                    const Search search = contestant.search ? contestant.search : contest.ours;
                    benchmark::RegisterBenchmark(name.c_str(), run, contest, partition, search, nx)
                        ->ComputeStatistics("min", minimum)
                        ->Unit(benchmark::kNanosecond);
                }
    for (const bool uniform_partition : {false, true})
        for (const std::size_t nx : {16u, 100u, 1000u, 100000u, 1000000u})
            for (const bool ours : {true, false}) {
                const auto name = std::string(uniform_partition ? "linear_uniform/" : "linear/") +
                                  (ours ? "ours/" : "loop/") + std::to_string(nx);
                benchmark::RegisterBenchmark(name.c_str(), construct, ours, uniform_partition, nx)
                    ->ComputeStatistics("min", minimum)
                    ->Unit(benchmark::kNanosecond);
            }
    benchmark::RunSpecifiedBenchmarks();
}
