// Speed of the basic generators beside their peers, in one run.
//
// Names are function/contestant/length; the time of a benchmark is that of one call for the whole vector. The
// function's first letter is what is drawn: i raw words, s and d uniform floats and doubles. Run it with
// random interleaving and repetitions and compare the shortest times: other load on the machine then hits all
// contestants alike.
#include "qor_bex_streams.h"

#include <benchmark/benchmark.h>

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

void skip(benchmark::State &state, std::uint32_t id) {
    Ours source(id);
    for (auto _ : state)
        __bexSkipAheadStream(source.stream, std::uint64_t{1} << 40);
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
        add_service("skip_by_2^40/", skip);
    }
    benchmark::RunSpecifiedBenchmarks();
}
