// Speed of the distributions beside their peers, in one run.
//
// Names are law/contestant/length; the time of a benchmark is that of one call for the whole vector. Ours
// draw from MT19937 ("ours", doubles; "single", floats) and, where it says so, from MCG31M1.
#include "qor_bex_distributions.h"
#include "qor_bex_streams.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>
#ifdef QOR_BENCH_BOOST
#include <boost/random.hpp>
#endif
#ifdef QOR_BENCH_GSL
#include <gsl/gsl_randist.h>
#endif
#ifdef QOR_BENCH_EIGEN
#include <Eigen/Core>
#endif

namespace {

class Stream {
  public:
    explicit Stream(std::uint32_t id) {
        constexpr std::uint32_t seed = 777;
        __bexNewStreamEx(&handle_, id, 1, &seed);
    }
    ~Stream() { __bexDeleteStream(&handle_); }
    Stream(const Stream &) = delete;
    Stream &operator=(const Stream &) = delete;
    operator void *() const { return handle_; }

  private:
    void *handle_ = nullptr;
};

// Fills n numbers of 8 bytes each, or fewer.
using Draw = std::function<void(std::int32_t n, void *r)>;

struct Contestant {
    std::string law, name;
    Draw draw;
};

template <class T, class Entry, class... Parameters>
Draw ours(std::uint32_t id, Entry entry, std::int32_t method, Parameters... parameters) {
    const auto stream = std::make_shared<Stream>(id);
    return [=](std::int32_t n, void *r) { entry(method, *stream, n, static_cast<T *>(r), parameters...); };
}

template <class Engine, class Distribution> Draw library(Distribution distribution) {
    const auto engine = std::make_shared<Engine>(777);
    return [=](std::int32_t n, void *r) mutable {
        using Result = typename Distribution::result_type;
        std::generate_n(static_cast<Result *>(r), n, [&] { return distribution(*engine); });
    };
}

#ifdef QOR_BENCH_GSL
template <class Function> Draw gsl(Function function) {
    const std::shared_ptr<gsl_rng> generator(gsl_rng_alloc(gsl_rng_mt19937), gsl_rng_free);
    return [=](std::int32_t n, void *r) {
        std::generate_n(static_cast<double *>(r), n, [&] { return function(generator.get()); });
    };
}
#endif

// n numbers in vectors of `dimen`: the library's, and the same Gaussian variates with another's product.
template <std::int32_t dimen> std::vector<double> factor() {
    std::vector<double> t(dimen * dimen);
    for (int i = 0; i < dimen; ++i)
        for (int j = 0; j <= i; ++j)
            t[static_cast<std::size_t>(dimen * i + j)] = i == j ? 1 : 0.5 / dimen;
    return t;
}

template <std::int32_t dimen> Draw multivariate(std::int32_t storage) {
    const auto stream = std::make_shared<Stream>(BEX_BRNG_MT19937);
    std::vector<double> t = factor<dimen>();
    if (storage == BEX_STORAGE_PACKED) {
        const std::vector<double> full = t;
        t.clear();
        for (int j = 0; j < dimen; ++j)
            for (int i = j; i < dimen; ++i)
                t.push_back(full[static_cast<std::size_t>(dimen * i + j)]);
    }
    const std::vector<double> mean(dimen, 1);
    return [=](std::int32_t n, void *r) {
        _bexdRngGaussianMV(BEX_GAUSSIAN_ICDF, *stream, n / dimen, static_cast<double *>(r), dimen, storage,
                           mean.data(), t.data());
    };
}

#ifdef QOR_BENCH_EIGEN
template <std::int32_t dimen> Draw multivariate_by_eigen() {
    const auto stream = std::make_shared<Stream>(BEX_BRNG_MT19937);
    const std::vector<double> t = factor<dimen>();
    const Eigen::VectorXd mean = Eigen::VectorXd::Ones(dimen);
    return [=](std::int32_t n, void *r) {
        const std::int32_t vectors = n / dimen;
        auto *const numbers = static_cast<double *>(r);
        _bexdRngGaussian(BEX_GAUSSIAN_ICDF, *stream, vectors * dimen, numbers, 0, 1);
        using RowMajor = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
        const Eigen::Map<const RowMajor> lower(t.data(), dimen, dimen);
        Eigen::Map<Eigen::MatrixXd> z(numbers, dimen, vectors);
        z = lower.triangularView<Eigen::Lower>() * z;
        z.colwise() += mean;
    };
}
#endif

std::vector<Contestant> contestants() {
    std::vector<Contestant> all;
    const auto add = [&all](const char *law, const char *name, Draw draw) {
        all.push_back({law, name, std::move(draw)});
    };
    // A law of ours in both precisions.
    const auto add_ours = [&add](const char *law, std::int32_t method, auto double_entry, auto single_entry,
                                 auto... parameters) {
        add(law, "ours", ours<double>(BEX_BRNG_MT19937, double_entry, method, double(parameters)...));
        add(law, "single", ours<float>(BEX_BRNG_MT19937, single_entry, method, float(parameters)...));
        add(law, "ours_mcg", ours<double>(BEX_BRNG_MCG31M1, double_entry, method, double(parameters)...));
        add(law, "single_mcg", ours<float>(BEX_BRNG_MCG31M1, single_entry, method, float(parameters)...));
    };
    const auto add_std = [&add](const char *law, auto distribution) {
        add(law, "std", library<std::mt19937>(distribution));
        add(law, "std_64", library<std::mt19937_64>(distribution));
    };
    const auto add_boost = [&add]([[maybe_unused]] const char *law, [[maybe_unused]] auto make) {
#ifdef QOR_BENCH_BOOST
        add(law, "boost", library<boost::mt19937>(make()));
#endif
    };
    const auto add_gsl = [&add]([[maybe_unused]] const char *law, [[maybe_unused]] auto function) {
#ifdef QOR_BENCH_GSL
        add(law, "gsl", gsl(function));
#endif
    };
#ifndef QOR_BENCH_BOOST
#define QOR_BOOST(...) [] { return 0; }
#else
#define QOR_BOOST(...) [] { return boost::random::__VA_ARGS__; }
#endif
#ifndef QOR_BENCH_GSL
#define QOR_GSL(...) 0
#else
#define QOR_GSL(...) [](gsl_rng *g) { return static_cast<double>(__VA_ARGS__); }
#endif
    add_ours("uniform", 0, _bexdRngUniform, _bexsRngUniform, 0, 1);
    add_std("uniform", std::uniform_real_distribution<double>(0, 1));
    add_boost("uniform", QOR_BOOST(uniform_01<double>()));
    add_gsl("uniform", QOR_GSL(gsl_rng_uniform(g)));

    const char *const gaussian[] = {"gaussian_box_muller", "gaussian_box_muller2", "gaussian_icdf"};
    for (std::int32_t method = 0; method < 3; ++method) {
        add_ours(gaussian[method], method, _bexdRngGaussian, _bexsRngGaussian, 0, 1);
        add_std(gaussian[method], std::normal_distribution<double>());
        add_boost(gaussian[method], QOR_BOOST(normal_distribution<double>()));
        add_gsl(gaussian[method], QOR_GSL(gsl_ran_gaussian_ziggurat(g, 1)));
    }
    const char *const lognormal[] = {"lognormal_box_muller2", "lognormal_icdf"};
    for (std::int32_t method = 0; method < 2; ++method) {
        add_ours(lognormal[method], method, _bexdRngLognormal, _bexsRngLognormal, 0, 1, 0, 1);
        add_std(lognormal[method], std::lognormal_distribution<double>());
        add_boost(lognormal[method], QOR_BOOST(lognormal_distribution<double>()));
        add_gsl(lognormal[method], QOR_GSL(gsl_ran_lognormal(g, 0, 1)));
    }
    add_ours("exponential", 0, _bexdRngExponential, _bexsRngExponential, 0, 1);
    add_std("exponential", std::exponential_distribution<double>());
    add_boost("exponential", QOR_BOOST(exponential_distribution<double>()));
    add_gsl("exponential", QOR_GSL(gsl_ran_exponential(g, 1)));

    add_ours("gumbel", 0, _bexdRngGumbel, _bexsRngGumbel, 0, 1);
    add_std("gumbel", std::extreme_value_distribution<double>());
    add_boost("gumbel", QOR_BOOST(extreme_value_distribution<double>()));
    add_gsl("gumbel", QOR_GSL(gsl_ran_gumbel1(g, 1, 1)));

    add_ours("cauchy", 0, _bexdRngCauchy, _bexsRngCauchy, 0, 1);
    add_std("cauchy", std::cauchy_distribution<double>());
    add_boost("cauchy", QOR_BOOST(cauchy_distribution<double>()));
    add_gsl("cauchy", QOR_GSL(gsl_ran_cauchy(g, 1)));

    add_ours("rayleigh", 0, _bexdRngRayleigh, _bexsRngRayleigh, 0, 1);
    add_gsl("rayleigh", QOR_GSL(gsl_ran_rayleigh(g, 1)));

    add_ours("weibull", 0, _bexdRngWeibull, _bexsRngWeibull, 1.5, 0, 1);
    add_std("weibull", std::weibull_distribution<double>(1.5, 1));
    add_boost("weibull", QOR_BOOST(weibull_distribution<double>(1.5, 1)));
    add_gsl("weibull", QOR_GSL(gsl_ran_weibull(g, 1, 1.5)));

    add_ours("laplace", 0, _bexdRngLaplace, _bexsRngLaplace, 0, 1);
    add_boost("laplace", QOR_BOOST(laplace_distribution<double>()));
    add_gsl("laplace", QOR_GSL(gsl_ran_laplace(g, 1)));

    add("gaussian_mv_10", "ours", multivariate<10>(BEX_STORAGE_FULL));
    add("gaussian_mv_10", "ours_packed", multivariate<10>(BEX_STORAGE_PACKED));
    add("gaussian_mv_100", "ours", multivariate<100>(BEX_STORAGE_FULL));
    add("gaussian_mv_100", "ours_packed", multivariate<100>(BEX_STORAGE_PACKED));
#ifdef QOR_BENCH_EIGEN
    add("gaussian_mv_10", "eigen", multivariate_by_eigen<10>());
    add("gaussian_mv_100", "eigen", multivariate_by_eigen<100>());
#endif

    add("geometric", "ours", ours<std::int32_t>(BEX_BRNG_MT19937, _bexiRngGeometric, 0, 0.3));
    add_std("geometric", std::geometric_distribution<int>(0.3));
    add_boost("geometric", QOR_BOOST(geometric_distribution<int>(0.3)));
    add_gsl("geometric", QOR_GSL(gsl_ran_geometric(g, 0.3)));

    add("bernoulli", "ours", ours<std::int32_t>(BEX_BRNG_MT19937, _bexiRngBernoulli, 0, 0.3));
    add_std("bernoulli", std::bernoulli_distribution(0.3));
    add_boost("bernoulli", QOR_BOOST(bernoulli_distribution<>(0.3)));
    add_gsl("bernoulli", QOR_GSL(gsl_ran_bernoulli(g, 0.3)));
    return all;
}

double minimum(const std::vector<double> &times) { return *std::min_element(times.begin(), times.end()); }

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    for (const Contestant &contestant : contestants())
        for (const std::int32_t n : {1, 1000, 1000000})
            benchmark::RegisterBenchmark(
                (contestant.law + "/" + contestant.name + "/" + std::to_string(n)).c_str(),
                [contestant, n](benchmark::State &state) {
                    std::vector<double> r(static_cast<std::size_t>(n));
                    for (auto _ : state) {
                        contestant.draw(n, r.data());
                        benchmark::ClobberMemory();
                    }
                    state.SetItemsProcessed(state.iterations() * n);
                })
                ->ComputeStatistics("min", minimum)
                ->Unit(benchmark::kNanosecond);
    benchmark::RunSpecifiedBenchmarks();
}
