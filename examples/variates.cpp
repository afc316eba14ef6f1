// A million Gaussian variates from one stream: their moments beside the theory, a histogram, the speed of
// each way to draw them; then the same sequence drawn by several threads, by leapfrog and by skip-ahead.
//
// usage: variates [HISTOGRAM]; HISTOGRAM receives the classes, the counts and the density, for a plot.
#include "qor_bex_distributions.h"
#include "qor_bex_streams.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint32_t seed = 20261121;
constexpr std::int32_t total = 1000000, workers = 4;
constexpr double mean = 2, deviation = 3;

double seconds_since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

void check(std::int32_t status, const char *what) {
    if (status >= 0)
        return;
    std::fprintf(stderr, "%s failed with status %d\n", what, status);
    std::exit(1);
}

// A stream for the length of a scope.
class Stream {
  public:
    Stream() { check(__bexNewStreamEx(&handle_, BEX_BRNG_MCG31M1, 1, &seed), "creating the stream"); }
    ~Stream() { __bexDeleteStream(&handle_); }
    Stream(const Stream &) = delete;
    Stream &operator=(const Stream &) = delete;
    operator void *() const { return handle_; }

  private:
    void *handle_ = nullptr;
};

// The variates in portions, with a line that shows how far the work is.
std::vector<double> draw_with_progress(void *stream) {
    std::vector<double> r(total);
    constexpr std::int32_t portions = 20, portion = total / portions;
    for (std::int32_t done = 0; done < portions; ++done) {
        check(_bexdRngGaussian(BEX_GAUSSIAN_BOX_MULLER2, stream, portion, r.data() + done * portion, mean, deviation),
              "drawing");
        std::printf("\r  drawing [%-20.*s] %3d %%", done + 1, "####################", 5 * (done + 1));
        std::fflush(stdout);
    }
    std::printf("\n\n");
    return r;
}

void show_moments(const std::vector<double> &r) {
    double sum = 0, powers[5] = {};
    for (double x : r)
        sum += x;
    const double n = total, average = sum / n;
    for (double x : r)
        for (int k = 2; k <= 4; ++k)
            powers[k] += std::pow(x - average, k);
    const double variance = powers[2] / n;
    const struct {
        const char *name;
        double found, theory, standard_error;
    } rows[] = {{"mean", average, mean, deviation / std::sqrt(n)},
                {"deviation", std::sqrt(variance), deviation, deviation / std::sqrt(2 * n)},
                {"skewness", powers[3] / n / std::pow(variance, 1.5), 0, std::sqrt(6 / n)},
                {"kurtosis", powers[4] / n / (variance * variance), 3, std::sqrt(24 / n)}};
    std::printf("              found       theory   off by (standard errors)\n"
                "  ---------   ---------   ------   ------------------------\n");
    for (const auto &row : rows)
        std::printf("  %-9s   %9.5f   %6g   %9.2f\n", row.name, row.found, row.theory,
                    (row.found - row.theory) / row.standard_error);
    std::printf("\n");
}

void write_histogram(const std::vector<double> &r, const char *path) {
    constexpr int classes = 80;
    constexpr double from = mean - 4 * deviation, width = 8 * deviation / classes;
    std::vector<int> counts(classes);
    for (double x : r)
        if (const double place = (x - from) / width; place >= 0 && place < classes)
            ++counts[static_cast<std::size_t>(place)];
    std::ofstream out(path);
    for (int i = 0; i < classes; ++i) {
        const double middle = from + (i + 0.5) * width, z = (middle - mean) / deviation;
        const double density = std::exp(-z * z / 2) / (deviation * std::sqrt(2 * std::acos(-1.0)));
        out << middle << ' ' << counts[static_cast<std::size_t>(i)] / (total * width) << ' ' << density << '\n';
    }
}

template <class T, class Draw> void show_speed(const char *what, const Draw &draw) {
    const Stream stream;
    std::vector<T> r(100000);
    double best = 1e30;
    for (int round = 0; round < 15; ++round) {
        const auto start = Clock::now();
        check(draw(stream, static_cast<std::int32_t>(r.size()), r.data()), what);
        best = std::min(best, seconds_since(start));
    }
    std::printf("  %-34s %8.0f million a second\n", what, static_cast<double>(r.size()) / best / 1e6);
}

void show_speeds() {
    std::printf("Numbers a second, one thread, 100,000 at a time, best of 15:\n\n");
    show_speed<double>("uniform, double", [](void *s, std::int32_t n, double *r) {
        return _bexdRngUniform(0, s, n, r, 0, 1);
    });
    show_speed<float>("uniform, float", [](void *s, std::int32_t n, float *r) {
        return _bexsRngUniform(0, s, n, r, 0, 1);
    });
    const char *const methods[] = {"Box-Muller", "Box-Muller, both halves", "inverse distribution"};
    for (std::int32_t method = 0; method < 3; ++method) {
        show_speed<double>((std::string("Gaussian, double, ") + methods[method]).c_str(),
                           [method](void *s, std::int32_t n, double *r) {
                               return _bexdRngGaussian(method, s, n, r, mean, deviation);
                           });
        show_speed<float>((std::string("Gaussian, float, ") + methods[method]).c_str(),
                          [method](void *s, std::int32_t n, float *r) {
                              return _bexsRngGaussian(method, s, n, r, float(mean), float(deviation));
                          });
    }
    std::printf("\n");
}

template <class Work> void on_threads(const Work &work) {
    std::vector<std::thread> threads;
    for (std::int32_t k = 0; k < workers; ++k)
        threads.emplace_back(work, k);
    for (auto &thread : threads)
        thread.join();
}

// Thread k takes every `workers`-th number of the sequence, from number k on.
bool leapfrog_agrees() {
    std::vector<double> single(total), joined(total);
    const Stream whole;
    check(_bexdRngUniform(0, whole, total, single.data(), 0, 1), "drawing");
    on_threads([&](std::int32_t k) {
        const Stream stream;
        check(__bexLeapfrogStream(stream, k, workers), "leapfrog");
        std::vector<double> own(total / workers);
        check(_bexdRngUniform(0, stream, total / workers, own.data(), 0, 1), "drawing");
        for (std::size_t i = 0; i < own.size(); ++i)
            joined[i * workers + static_cast<std::size_t>(k)] = own[i];
    });
    return joined == single;
}

// Thread k takes the k-th part of the sequence; the inverse distribution takes one number for each variate.
bool skip_ahead_agrees() {
    std::vector<double> single(total), joined(total);
    const Stream whole;
    check(_bexdRngGaussian(BEX_GAUSSIAN_ICDF, whole, total, single.data(), mean, deviation), "drawing");
    on_threads([&](std::int32_t k) {
        constexpr std::int32_t part = total / workers;
        const Stream stream;
        check(__bexSkipAheadStream(stream, static_cast<std::uint64_t>(k) * part), "skip-ahead");
        check(_bexdRngGaussian(BEX_GAUSSIAN_ICDF, stream, part, joined.data() + k * part, mean, deviation), "drawing");
    });
    return joined == single;
}

} // namespace

int main(int argc, char **argv) {
    std::printf("%d Gaussian variates, mean %g, deviation %g, from one MCG31M1 stream:\n\n", total, mean, deviation);
    const Stream stream;
    const auto r = draw_with_progress(stream);
    show_moments(r);
    if (argc > 1)
        write_histogram(r, argv[1]);
    show_speeds();

    std::printf("The same sequence by %d threads:\n\n", workers);
    const bool leapfrog = leapfrog_agrees(), skip_ahead = skip_ahead_agrees();
    std::printf("  leapfrog    every thread takes each %dth uniform number   %s\n", workers,
                leapfrog ? "equal to the single stream" : "DIFFERENT");
    std::printf("  skip-ahead  every thread takes a part of the variates    %s\n",
                skip_ahead ? "equal to the single stream" : "DIFFERENT");
    return leapfrog && skip_ahead ? 0 : 1;
}
