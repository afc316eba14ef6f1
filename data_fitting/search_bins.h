// Where the bisections of a large partition start when the task has a bin table for it.
//
// The table was made from the breakpoints the task then had, so it is checked against those it has now
// before it is used; that takes a look at two breakpoints a bin. Once checked it is right for every site:
// the bin number never falls from one number to a larger one, rounding included.
#pragma once

#include "data_fitting/search.h"
#include "data_fitting/task.h"

#include <limits>

namespace qor::df {

template <class T> class BinnedPartition {
  public:
    std::int64_t length = 0; // candidates of a site, as many for every bin; 0: no use

    explicit BinnedPartition(const Task &task)
        : x_(breakpoints<T>(task)), bins_(task.bins), first_(x_[0]), scale_(bin_scale<T>(task)),
          count_(task.bin_count) {
        const std::int64_t cells = task.nx - 1;
        if (scale_ > 0 && scale_ <= std::numeric_limits<T>::max())
            length = widest(cells);
        latest_ = cells - length;
    }

    const T *start(T s) const { return x_ + std::min(bins_[bin(s)].low, latest_); }

  private:
    std::int64_t bin(T s) const { return truncated((s - first_) * scale_, count_); }

    // Cells of the widest bin; 0 when the table is not one of these breakpoints.
    std::int64_t widest(std::int64_t cells) const {
        std::int64_t widest = 0;
        for (std::int64_t j = 0; j <= count_; ++j) {
            const auto [low, high] = bins_[j];
            if (low < 0 || low > high || high > cells || (low > 0 && bin(x_[low]) >= j) ||
                (high < cells && bin(x_[high]) <= j))
                return 0;
            widest = std::max(widest, high - low);
        }
        return widest;
    }

    const T *x_;
    const Bin *bins_;
    T first_, scale_;
    std::int64_t count_, latest_;
};

} // namespace qor::df
