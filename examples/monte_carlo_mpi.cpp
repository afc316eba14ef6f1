// Monte Carlo over processes: the price of a European call by simulation, beside its closed form. The numbers
// do not depend on how many processes share the work.
//
// The draws form one sequence, cut into blocks. The process of a block skips to the block's place in the
// sequence, draws, and sums. The sums of blocks are gathered and added in the order of blocks by one process,
// so that not even a rounding differs.
//
// usage: mpirun -n PROCESSES monte_carlo_mpi
#include "qor_bex_distributions.h"
#include "qor_bex_streams.h"
#include "qor_fyn.h"

#include <mpi.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

namespace {

constexpr double price = 100, strike = 105, rate = 0.03, volatility = 0.2, years = 1;
constexpr std::int32_t block = 10000, blocks = 200;

struct Sums {
    double payoffs, squares;
};

void check(std::int32_t status, const char *what) {
    if (status >= 0)
        return;
    std::fprintf(stderr, "%s failed with status %d\n", what, status);
    MPI_Abort(MPI_COMM_WORLD, 1);
}

// The inverse distribution takes one number of the stream for each variate: block k begins at k * block.
Sums simulate(std::int32_t k) {
    constexpr std::uint32_t seed[] = {2026, 11, 21, 1, 2, 3};
    void *stream = nullptr;
    check(__bexNewStreamEx(&stream, BEX_BRNG_MRG32K3A, 6, seed), "creating the stream");
    check(__bexSkipAheadStream(stream, static_cast<std::uint64_t>(k) * block), "skipping ahead");
    const double mean = std::log(price) + (rate - volatility * volatility / 2) * years;
    std::vector<double> final_prices(block);
    check(_bexdRngGaussian(BEX_GAUSSIAN_ICDF, stream, block, final_prices.data(), mean,
                           volatility * std::sqrt(years)),
          "drawing");
    check(__bexDeleteStream(&stream), "deleting the stream");
    _fyndExp(block, final_prices.data(), final_prices.data());

    Sums sums{};
    for (const double final_price : final_prices) {
        const double payoff = std::max(final_price - strike, 0.0);
        sums.payoffs += payoff;
        sums.squares += payoff * payoff;
    }
    return sums;
}

double closed_form() {
    const double spread = volatility * std::sqrt(years);
    const double d1 = (std::log(price / strike) + (rate + volatility * volatility / 2) * years) / spread;
    const double d[] = {d1, d1 - spread};
    double probability[2];
    _fyndCdfNorm(2, d, probability);
    return price * probability[0] - strike * std::exp(-rate * years) * probability[1];
}

} // namespace

int main(int argc, char **argv) {
    MPI_Init(&argc, &argv);
    int rank = 0, processes = 1;
    MPI_Comm_rank(MPI_COMM_WORLD, &rank);
    MPI_Comm_size(MPI_COMM_WORLD, &processes);

    // A block is not zero in one process only, and adding zeros is exact.
    std::vector<Sums> own(blocks), all(blocks);
    for (std::int32_t k = rank; k < blocks; k += processes)
        own[static_cast<std::size_t>(k)] = simulate(k);
    MPI_Reduce(own.data(), all.data(), 2 * blocks, MPI_DOUBLE, MPI_SUM, 0, MPI_COMM_WORLD);

    int status = 0;
    if (rank == 0) {
        Sums total{};
        for (const Sums &sums : all) {
            total.payoffs += sums.payoffs;
            total.squares += sums.squares;
        }
        constexpr double n = double{block} * blocks;
        const double discount = std::exp(-rate * years), mean = total.payoffs / n;
        const double error = std::sqrt((total.squares / n - mean * mean) / n);
        const double difference = discount * mean - closed_form();
        std::printf("simulated    %.17g +- %.2g, %d draws\n", discount * mean, discount * error,
                    block * blocks);
        std::printf("closed form  %.17g\n", closed_form());
        status = std::fabs(difference) < 4 * discount * error ? 0 : 1;
    }
    MPI_Finalize();
    return status;
}
