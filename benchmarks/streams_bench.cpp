// Speed of the basic generators beside their peers, in one run.
//
// Names are function/contestant/length; the time of a benchmark is that of one call for the whole vector. The
// function's first letter is what is drawn: i raw words, s and d uniform floats and doubles. Run it with
// random interleaving and repetitions and compare the shortest times: other load on the machine then hits all
// contestants alike.
#include "qor_bex_streams.h"

#include <benchmark/benchmark.h>
#ifdef QOR_BENCH_GSL
#include <gsl/gsl_rng.h>
#endif

#include <algorithm>
#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace {

enum class Output { words, floats, doubles };

// One of the library's generators, by its id.
struct Ours {
    void *stream = nullptr;
    BexBrngProperties row;

    explicit Ours(std::uint32_t id) {
        constexpr std::uint32_t seed = 777;
        __bexGetBrngProperties(id, &row);
        __bexNewStreamEx(&stream, id, 1, &seed);
    }
    ~Ours() { __bexDeleteStream(&stream); }
    Ours(const Ours &) = delete;
    Ours &operator=(const Ours &) = delete;

    void operator()(Output output, std::int32_t n, void *r) {
        switch (output) {
        case Output::words:
            row.out_uint(stream, n, r);
            break;
        case Output::floats:
            row.out_float(stream, n, static_cast<float *>(r), 0, 1);
            break;
        case Output::doubles:
            row.out_double(stream, n, static_cast<double *>(r), 0, 1);
            break;
        }
    }
};

// A generator of the standard library, with its uniform distribution.
template <class Engine> struct Standard {
    Engine engine{777};

    explicit Standard(std::uint32_t) {}

    template <class Real> void uniform(std::int32_t n, void *r) {
        std::uniform_real_distribution<Real> distribution(0, 1);
        std::generate_n(static_cast<Real *>(r), n, [&] { return distribution(engine); });
    }
    void operator()(Output output, std::int32_t n, void *r) {
        switch (output) {
        case Output::words:
            std::generate_n(static_cast<typename Engine::result_type *>(r), n, std::ref(engine));
            break;
        case Output::floats:
            uniform<float>(n, r);
            break;
        case Output::doubles:
            uniform<double>(n, r);
            break;
        }
    }
};

// A plain loop around a generator's recurrence, with numbers of [0, 1) from next_number().
template <class Generator> struct Plain {
    Generator generator;

    explicit Plain(std::uint32_t) {}

    void operator()(Output output, std::int32_t n, void *r) {
        const auto number = [&] { return generator.next_number(); };
        if (output == Output::words)
            generator.words(n, static_cast<std::uint32_t *>(r));
        else if (output == Output::floats)
            std::generate_n(static_cast<float *>(r), n, number);
        else
            std::generate_n(static_cast<double *>(r), n, number);
    }
};

// Folds in place of division, and no branches.
struct ScalarMrg32k3a {
    std::uint64_t x[3] = {777, 1, 1}, y[3] = {1, 1, 1};

    static std::int64_t add_if_negative(std::int64_t d, std::int64_t m) { return d + (d >> 63 & m); }
    static std::uint64_t reduced(std::uint64_t p, std::uint64_t fold) {
        p = (p & 0xFFFFFFFF) + (p >> 32) * fold;
        p = (p & 0xFFFFFFFF) + (p >> 32) * fold;
        const std::int64_t m = 0x100000000 - static_cast<std::int64_t>(fold);
        return static_cast<std::uint64_t>(add_if_negative(static_cast<std::int64_t>(p) - m, m));
    }
    std::uint32_t next() {
        const std::uint64_t a = reduced(1403580 * x[1] + 810728 * (4294967087 - x[0]), 209);
        const std::uint64_t b = reduced(527612 * y[2] + 1370589 * (4294944443 - y[0]), 22853);
        x[0] = x[1], x[1] = x[2], x[2] = a;
        y[0] = y[1], y[1] = y[2], y[2] = b;
        return static_cast<std::uint32_t>(add_if_negative(static_cast<std::int64_t>(a - b), 4294967087));
    }
    double next_number() { return next() * (1.0 / 4294967087); }
    void words(std::int32_t n, std::uint32_t *r) {
        std::generate_n(r, n, [this] { return next(); });
    }
};

struct ScalarWichmannHill {
    std::uint32_t x[4] = {777, 1, 1, 1}, m[4] = {16770647, 16770643, 16770623, 16770617};
    std::uint32_t a[4] = {125, 117, 127, 126};
    double reciprocal[4];

    ScalarWichmannHill() {
        benchmark::DoNotOptimize(m); // constants of one member among many
        benchmark::DoNotOptimize(a);
        std::transform(m, m + 4, reciprocal, [](std::uint32_t mi) { return 1.0 / mi; });
    }
    void step() {
        for (int c = 0; c < 4; ++c)
            x[c] = x[c] * a[c] % m[c];
    }
    double next_number() {
        const double u =
            x[0] * reciprocal[0] + x[1] * reciprocal[1] + x[2] * reciprocal[2] + x[3] * reciprocal[3];
        step();
        return u - static_cast<int>(u);
    }
    void words(std::int32_t n, std::uint32_t *r) {
        for (std::int32_t i = 0; i < n; ++i, r += 4, step())
            std::copy(x, x + 4, r);
    }
};

#ifdef QOR_BENCH_GSL
struct GslR250 {
    gsl_rng *generator = gsl_rng_alloc(gsl_rng_r250);

    GslR250() { gsl_rng_set(generator, 777); }
    GslR250(const GslR250 &) = delete;
    GslR250 &operator=(const GslR250 &) = delete;
    ~GslR250() { gsl_rng_free(generator); }
    double next_number() { return gsl_rng_uniform(generator); }
    void words(std::int32_t n, std::uint32_t *r) {
        std::generate_n(r, n, [this] { return static_cast<std::uint32_t>(gsl_rng_get(generator)); });
    }
};
#endif

template <class Source> void run(benchmark::State &state, Output output, std::uint32_t id, std::int32_t n) {
    std::vector<double> r(2 * static_cast<std::size_t>(n)); // room for words of 16 bytes
    Source source(id);
    for (auto _ : state) {
        source(output, n, r.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * n);
}

void create(benchmark::State &state, std::uint32_t id) {
    for (auto _ : state)
        Ours source(id);
}

template <int log2> void skip(benchmark::State &state, std::uint32_t id) {
    Ours source(id);
    for (auto _ : state)
        if (__bexSkipAheadStream(source.stream, std::uint64_t{1} << log2) != BEX_STATUS_OK)
            state.SkipWithError("no skip");
}

using Run = void (*)(benchmark::State &, Output, std::uint32_t, std::int32_t);

// A generator and its peer.
struct Pair {
    const char *name;
    std::uint32_t id;
    const char *peer;
    Run peer_run;
};

constexpr Pair pairs[] = {
    {"MCG31M1", 0x100000, "std_minstd_rand", run<Standard<std::minstd_rand>>},
    {"MCG59", 0x400000, "std_minstd_rand", run<Standard<std::minstd_rand>>},
#ifdef QOR_BENCH_GSL
    {"R250", 0x200000, "gsl_r250", run<Plain<GslR250>>},
#endif
    {"MRG32K3A", 0x300000, "scalar", run<Plain<ScalarMrg32k3a>>},
    {"WH", 0x500000, "scalar", run<Plain<ScalarWichmannHill>>},
    {"MT19937", 0x800000, "std_mt19937", run<Standard<std::mt19937>>},
};

constexpr std::int32_t lengths[] = {1, 100, 1000, 1000000};

double minimum(const std::vector<double> &times) { return *std::min_element(times.begin(), times.end()); }

void add(const std::string &function, const char *contestant, Run contestant_run, Output output,
         std::uint32_t id) {
    for (const std::int32_t n : lengths)
        benchmark::RegisterBenchmark((function + "/" + contestant + "/" + std::to_string(n)).c_str(),
                                     contestant_run, output, id, n)
            ->ComputeStatistics("min", minimum)
            ->Unit(benchmark::kNanosecond);
}

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    for (const Pair &pair : pairs) {
        for (const auto &[letter, output] :
             {std::pair{"i", Output::words}, {"s", Output::floats}, {"d", Output::doubles}}) {
            add(letter + std::string(pair.name), "ours", run<Ours>, output, pair.id);
            add(letter + std::string(pair.name), pair.peer, pair.peer_run, output, pair.id);
        }
        const auto add_service = [&](const char *function,
                                     void (*service)(benchmark::State &, std::uint32_t)) {
            benchmark::RegisterBenchmark((function + std::string(pair.name)).c_str(), service, pair.id)
                ->ComputeStatistics("min", minimum);
        };
        add_service("create_and_delete/", create);
        add_service("skip_by_2^40/", skip<40>);
        add_service("skip_by_2^63/", skip<63>);
    }
    benchmark::RunSpecifiedBenchmarks();
}
