// The bin table. The partition's interval is cut into equal bins; bin j keeps the last breakpoint of the bins
// before it and the first of the bins after it.
#include "data_fitting/bins.h"

#include "core_interface/core.h"

#include <algorithm>

namespace qor::df {

namespace {

constexpr std::int64_t breakpoints_per_bin = 16, fewest_bins = 16, most_bins = 1024;
constexpr std::int64_t unset = -1;

// bins[0 .. count]; bins[count + 1] is scratch: a breakpoint at the right end may write its `low`.
template <class T> T fill_bins(Bin *bins, std::int64_t count, const T *x, std::int64_t nx) {
    std::fill_n(bins, count, Bin{unset, unset});
    const T scale = static_cast<T>(count) / (x[nx - 1] - x[0]);
    bins[0].low = 0;
    for (std::int64_t i = 1; i < nx; ++i) {
        // In ascending order at most `count`; breakpoints out of order, NaN and infinities fall in no bin.
        const T place = (x[i] - x[0]) * scale;
        if (!(place >= 1 && place < static_cast<T>(count + 1)))
            continue;
        const auto k = static_cast<std::int64_t>(place);
        if (bins[k - 1].high == unset)
            bins[k - 1].high = i;
        bins[k + 1].low = i;
    }
    bins[count - 1].high = nx - 1;
    for (std::int64_t m = 1; m < count; ++m) {
        if (bins[m].low == unset)
            bins[m].low = bins[m - 1].low;
        if (bins[count - 1 - m].high == unset)
            bins[count - 1 - m].high = bins[count - m].high;
    }
    bins[count] = bins[count - 1]; // of a site at the right end
    return scale;
}

} // namespace

Status rebuild_bins(Task &task) {
    release(task.bins);
    const std::int64_t count = std::clamp(task.nx / breakpoints_per_bin, fewest_bins, most_bins);
    task.bins = static_cast<Bin *>(
        qor_serv_allocate(static_cast<std::uint64_t>(count + 2) * sizeof(Bin), block_alignment));
    if (task.bins == nullptr)
        return QOR_DF_NO_MEMORY;
    task.bin_count = count;
    if (task.precision == single_precision)
        task.bin_scale.s = fill_bins(task.bins, count, breakpoints<float>(task), task.nx);
    else
        task.bin_scale.d = fill_bins(task.bins, count, breakpoints<double>(task), task.nx);
    return QOR_DF_OK;
}

} // namespace qor::df
