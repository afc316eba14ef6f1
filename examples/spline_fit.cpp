// A linear spline through a measured series: medians of short stretches as breakpoints, cells of a few sites,
// the spline's values there.
//
// usage: spline_fit DATA [PICTURE]; PICTURE receives the data and the spline at every site, for a plot.
#include "qor_df.h"
#include "series.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace {

using Vector = std::vector<double>;

void check(int32_t status, const char *what) {
    if (status == QOR_DF_OK)
        return;
    std::fprintf(stderr, "%s failed with status %d\n", what, status);
    std::exit(1);
}

struct Fit {
    Vector x, y, coefficients;
    void *task = nullptr;

    // One breakpoint for each stretch of `stretch` values: its middle, and the values' median.
    Fit(const Vector &data, std::size_t stretch) {
        for (std::size_t from = 0; from + stretch <= data.size(); from += stretch) {
            Vector piece(data.begin() + static_cast<std::ptrdiff_t>(from),
                         data.begin() + static_cast<std::ptrdiff_t>(from + stretch));
            std::nth_element(piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(stretch / 2), piece.end());
            x.push_back(static_cast<double>(from) + static_cast<double>(stretch - 1) / 2);
            y.push_back(piece[stretch / 2]);
        }
        const auto nx = static_cast<int64_t>(x.size());
        coefficients.resize(2 * (x.size() - 1));
        check(qor_df_kernel_dNewTask1D(&task, nx, x.data(), QOR_DF_NON_UNIFORM, 1, y.data(), QOR_DF_MATRIX_BY_ROWS, 1),
              "creating the task");
        check(qor_df_kernel_dEditPPSpline1D(task, 2, 0, 0, nullptr, 0, nullptr, coefficients.data(),
                                            QOR_DF_NO_STORAGE_HINT),
              "describing the spline");
        check(qor_df_kernel_dDFLinearSpline1D(task, 0, nullptr, 0), "building the spline");
    }
    ~Fit() { qor_df_kernel_DeleteTask(&task); }
    Fit(const Fit &) = delete;
    Fit &operator=(const Fit &) = delete;

    std::vector<int64_t> cells(const Vector &sites) const {
        std::vector<int64_t> found(sites.size());
        check(qor_df_kernel_dDFSearch1D(task, static_cast<int64_t>(sites.size()), sites.data(), 0, nullptr,
                                        found.data(), nullptr, nullptr, nullptr, nullptr),
              "finding cells");
        return found;
    }

    // The outermost cells are continued beyond the ends. Cell 1 is the first between two breakpoints.
    double value(double site, int64_t cell) const {
        const auto last = static_cast<int64_t>(x.size()) - 1;
        const auto i = static_cast<std::size_t>(std::clamp<int64_t>(cell, 1, last) - 1);
        return coefficients[2 * i] + coefficients[2 * i + 1] * (site - x[i]);
    }
};

} // namespace

int main(int argc, char **argv) {
    const Vector data = argc > 1 ? read_series(argv[1]) : Vector{};
    if (data.size() < 40) {
        std::fprintf(stderr, "usage: spline_fit DATA [PICTURE]   (DATA: at least 40 numbers, one a line)\n");
        return 2;
    }
    const Fit fit(data, 20);
    std::printf("%zu naps one after the other, medians of 20 joined by a linear spline of %zu cells.\n\n", data.size(),
                fit.x.size() - 1);

    const auto count = static_cast<double>(data.size());
    const Vector sites = {0, 0.1 * count, 0.25 * count, fit.x[5], 0.5 * count, 0.8 * count, count};
    const auto cells = fit.cells(sites);
    std::printf("  nap number   cell   between breakpoints     spline, us\n"
                "  ----------   ----   -------------------   ----------\n");
    for (std::size_t i = 0; i < sites.size(); ++i) {
        const auto right = static_cast<std::size_t>(cells[i]);
        const std::string left_end = right == 0 ? "-" : std::to_string(static_cast<int>(fit.x[right - 1]));
        const std::string right_end = right == fit.x.size() ? "-" : std::to_string(static_cast<int>(fit.x[right]));
        std::printf("  %10.1f   %4zu   %8s .. %-8s  %10.1f\n", sites[i], right, left_end.c_str(), right_end.c_str(),
                    fit.value(sites[i], cells[i]));
    }

    if (argc > 2) {
        Vector numbers(data.size());
        for (std::size_t i = 0; i < numbers.size(); ++i)
            numbers[i] = static_cast<double>(i);
        const auto where = fit.cells(numbers);
        std::ofstream picture(argv[2]);
        for (std::size_t i = 0; i < numbers.size(); ++i)
            picture << numbers[i] << ' ' << data[i] << ' ' << fit.value(numbers[i], where[i]) << '\n';
    }
}
