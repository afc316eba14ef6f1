// Construction of linear splines: c0 + c1 (t - x_i) in cell i, with c0 = y_i and c1 the cell's slope.
#include "data_fitting/task.h"

#include <algorithm>

namespace qor::df {

namespace {

// Cells done for all functions before the next ones, when functions share the cache lines of one matrix.
constexpr std::int64_t block_cells = 256;

// The cells of one function. Value i stands at y[i * stride].
template <bool uniform, class T>
[[gnu::always_inline]] inline void build_cells(std::int64_t cells, const T *__restrict x, T inverse_step,
                                               const T *__restrict y, std::int64_t stride, T *__restrict c) {
    // Vectors of cells, four at a time: the loop is to run at the speed of its stores and divisions.
#pragma GCC unroll 4
    for (std::int64_t i = 0; i < cells; ++i) {
        const T left = y[i * stride], rise = y[(i + 1) * stride] - left;
        c[2 * i] = left;
        if constexpr (uniform)
            c[2 * i + 1] = rise * inverse_step;
        else
            c[2 * i + 1] = rise / (x[i + 1] - x[i]);
    }
}

template <bool uniform, class T> T inverse_step(const Task &task) {
    if constexpr (uniform) {
        const T *const ends = breakpoints<T>(task);
        return static_cast<T>(task.nx - 1) * (1 / (ends[1] - ends[0]));
    } else {
        return 0;
    }
}

std::int64_t function_count(const Task &task) { return std::max<std::int64_t>(task.ny, 1); }

// Each function's values stand together.
template <bool uniform, class T> void build_from_rows(const Task &task) {
    const T inverse = inverse_step<uniform, T>(task);
    for (std::int64_t j = 0; j < function_count(task); ++j)
        build_cells<uniform>(task.nx - 1, breakpoints<T>(task), inverse, static_cast<const T *>(task.y[j]), 1,
                             static_cast<T *>(task.coefficients[j]));
}

template <bool uniform, class T> void build_from_columns(const Task &task) {
    const std::int64_t functions = function_count(task), cells = task.nx - 1;
    if (functions == 1)
        return build_from_rows<uniform, T>(task);
    const T inverse = inverse_step<uniform, T>(task);
    const T *const x = breakpoints<T>(task);
    const T *const matrix = static_cast<const T *>(task.y[0]);
    for (std::int64_t first = 0; first < cells; first += block_cells)
        for (std::int64_t j = 0; j < functions; ++j)
            build_cells<uniform>(std::min(block_cells, cells - first), uniform ? x : x + first, inverse,
                                 matrix + first * functions + j, functions,
                                 static_cast<T *>(task.coefficients[j]) + 2 * first);
}

template <class T> Status build_linear_spline(const Task *task, const void *reserved) {
    if (reserved != nullptr)
        return QOR_DF_RESERVED_ARGUMENT;
    if (task == nullptr)
        return QOR_DF_NULL_TASK;
    if (task->nx < 2)
        return QOR_DF_BAD_BREAKPOINT_COUNT;
    if (!is_storage_hint(task->yhint))
        return QOR_DF_BAD_VALUE_STORAGE;
    if (task->y == nullptr)
        return QOR_DF_NULL_VALUES;
    if (task->coefficients == nullptr)
        return QOR_DF_NULL_COEFFICIENTS;
    static constexpr void (*kernels[2][2])(const Task &) = {
        {build_from_rows<false, T>, build_from_rows<true, T>},
        {build_from_columns<false, T>, build_from_columns<true, T>},
    };
    kernels[task->yhint == QOR_DF_MATRIX_BY_COLUMNS][(task->xhint & QOR_DF_UNIFORM) != 0](*task);
    return QOR_DF_OK;
}

} // namespace

} // namespace qor::df

extern "C" {

std::int32_t qor_df_kernel_sDFLinearSpline1D(void *task, std::int64_t, void *reserved, std::int64_t) {
    return qor::df::build_linear_spline<float>(static_cast<qor::df::Task *>(task), reserved);
}

std::int32_t qor_df_kernel_dDFLinearSpline1D(void *task, std::int64_t, void *reserved, std::int64_t) {
    return qor::df::build_linear_spline<double>(static_cast<qor::df::Task *>(task), reserved);
}

} // extern "C"
