// How late does a sleeping program wake? Reads measured delays, fits a log-normal distribution to them,
// meets exceptional elements on the way, and shows how long the entries take.
//
// usage: demo DATA [CURVE]; CURVE receives the measured and the fitted distribution, for a plot.
#include "qor_fyn.h"
#include "series.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace {

using Vector = std::vector<double>;
using Entry = void (*)(int32_t, const double *, double *);

Vector map(Entry entry, const Vector &a) {
    Vector r(a.size());
    entry(static_cast<int32_t>(a.size()), a.data(), r.data());
    return r;
}

double mean(const Vector &x) {
    double sum = 0;
    for (double value : x)
        sum += value;
    return sum / static_cast<double>(x.size());
}

const char *status_name(int32_t status) {
    static const char *const names[] = {"ok", "domain", "singularity", "overflow", "underflow"};
    return status >= 0 && status <= 4 ? names[status] : "other";
}

// The smallest difference that the recording can show stands for a difference of zero.
constexpr double resolution = 0.1;

int32_t repair(FynErrorContext *report) {
    std::printf("  %-6s element %3d: argument %-8.6g %-11s", report->func_name, report->index, report->a1,
                status_name(report->code));
    if (report->code == FYN_STATUS_SINGULARITY) {
        _fyndLn(1, &resolution, &report->r1);
        std::printf("  stored ln %g instead of -inf\n", resolution);
    } else {
        std::printf("  kept %g\n", report->r1);
    }
    return 0;
}

double nanoseconds_per_element(Entry entry, const Vector &a) {
    using Clock = std::chrono::steady_clock;
    Vector r(a.size());
    double best = 1e30;
    for (int round = 0; round < 15; ++round) {
        const auto start = Clock::now();
        entry(static_cast<int32_t>(a.size()), a.data(), r.data());
        best = std::min(best, std::chrono::duration<double, std::nano>(Clock::now() - start).count());
    }
    return best / static_cast<double>(a.size());
}

} // namespace

int main(int argc, char **argv) {
    const Vector delay = argc > 1 ? read_series(argv[1]) : Vector{};
    if (delay.size() < 10) {
        std::fprintf(stderr, "usage: demo DATA [CURVE]   (DATA: at least 10 numbers, one a line)\n");
        return 2;
    }
    const double earliest = *std::min_element(delay.begin(), delay.end());
    std::printf("%zu naps of 1 ms; the first to end was %.1f us late, the mean %.1f us\n\n", delay.size(), earliest,
                mean(delay));

    std::printf("1. Logarithms of the lateness beyond the earliest, which itself is zero:\n");
    Vector beyond;
    for (double x : delay)
        beyond.push_back(x - earliest);
    std::printf("  status before: %s\n", status_name(_fynGetErrStatus()));
    _fynSetErrorCallBack(repair);
    const Vector logs = map(_fyndLn, beyond);
    std::printf("  status after:  %s\n\n", status_name(_fynClearErrStatus()));

    // A log-normal fit through the quartiles of the logarithms: a few very late naps do not move it.
    Vector sorted = logs;
    std::sort(sorted.begin(), sorted.end());
    const std::size_t quarter = sorted.size() / 4;
    const double mu = sorted[2 * quarter], upper_share = 0.75;
    double centre, upper_score;
    _fyndExp(1, &mu, &centre);
    _fyndCdfNormInv(1, &upper_share, &upper_score);
    const double sigma = (sorted[3 * quarter] - sorted[quarter]) / (2 * upper_score);
    std::printf("2. Log-normal fit: median %.1f us late, log deviation %.3f\n\n", earliest + centre, sigma);

    // The fitted share later than a limit is Phi(-(ln(limit - earliest) - mu) / sigma).
    const Vector shares = {0.95, 0.75, 0.5, 0.25, 0.1, 0.05, 0.02};
    const auto n = static_cast<double>(delay.size());
    Vector limits = map(_fyndCdfNormInv, shares);
    for (double &x : limits)
        x = mu - sigma * x;
    limits = map(_fyndExp, limits);
    std::printf("   later than    fitted   measured\n   ----------   -------   --------\n");
    for (std::size_t i = 0; i < shares.size(); ++i) {
        const auto later = std::count_if(beyond.begin(), beyond.end(), [&](double x) { return x > limits[i]; });
        std::printf("  %8.1f us   %6.1f%%   %7.1f%%\n", earliest + limits[i], 100 * shares[i],
                    100 * static_cast<double>(later) / n);
    }

    std::printf("\n3. Other exceptional elements:\n");
    const Vector exponents = {1, 800, -800};
    map(_fyndExp, exponents);
    const Vector readings = {4, -1};
    map(_fyndSqrt, readings);
    std::printf("  status after:  %s (the last report)\n\n", status_name(_fynClearErrStatus()));
    _fynClearErrorCallBack();

    if (argc > 2) {
        Vector scores;
        for (double x : sorted)
            scores.push_back((x - mu) / sigma);
        const Vector share = map(_fyndCdfNorm, scores);
        std::ofstream curve(argv[2]);
        for (std::size_t i = 0; i < sorted.size(); ++i)
            curve << sorted[i] << ' ' << (static_cast<double>(i) + 0.5) / n << ' ' << share[i] << '\n';
    }

    Vector longer(4096);
    for (std::size_t i = 0; i < longer.size(); ++i)
        longer[i] = 0.1 + beyond[i % beyond.size()] / 1000;
    const struct {
        const char *name;
        Entry entry;
    } timed[] = {{"_fyndSqr", _fyndSqr},   {"_fyndSqrt", _fyndSqrt},       {"_fyndLn", _fyndLn},
                 {"_fyndExp", _fyndExp},   {"_fyndCdfNorm", _fyndCdfNorm}, {"_fyndCdfNorm_50", _fyndCdfNorm_50},
                 {"_fyndCdfNorm_26", _fyndCdfNorm_26}, {"_fyndCdfNormInv", _fyndCdfNormInv}};
    std::printf("4. Time on this machine, %zu elements, best of 15:\n\n   entry             ns/element\n"
                "   ---------------   ----------\n", longer.size());
    // Arguments of all these entries are scaled into (0, 1): a domain they share.
    const double largest = *std::max_element(longer.begin(), longer.end());
    for (double &x : longer)
        x /= largest * 1.01;
    for (const auto &[name, entry] : timed)
        std::printf("   %-15s   %10.2f\n", name, nanoseconds_per_element(entry, longer));
}
