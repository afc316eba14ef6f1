// Creation and deletion of tasks.
#include "data_fitting/task.h"

#include "core_interface/core.h"
#include "data_fitting/bins.h"
#include "data_fitting/tables.h"

#include <cstring>

namespace qor::df {

namespace {

constexpr std::uint8_t task_marker = 4;

template <class T>
Status create(void **handle, std::int64_t nx, const T *x, std::int64_t xhint, std::int64_t ny, const T *y,
              std::int64_t yhint, std::int64_t int_width) {
    if (nx < 2)
        return QOR_DF_BAD_BREAKPOINT_COUNT;
    if (x == nullptr)
        return QOR_DF_NULL_BREAKPOINTS;
    if (!is_partition_hint(xhint))
        return QOR_DF_BAD_PARTITION_HINT;
    if (ny == 0 && y != nullptr)
        return QOR_DF_BAD_FUNCTION_COUNT;
    if (ny != 0 && y == nullptr)
        return QOR_DF_NULL_VALUES;
    if (!is_storage_hint(yhint))
        return QOR_DF_BAD_VALUE_STORAGE;
    if (handle == nullptr)
        return QOR_DF_NULL_TASK;

    void *const block = qor_serv_allocate(sizeof(Task), block_alignment);
    if (block == nullptr)
        return QOR_DF_NO_MEMORY;
    *handle = std::memset(block, 0, sizeof(Task));
    Task &task = *static_cast<Task *>(block);
    task.nx = nx;
    task.x = x;
    task.xhint = xhint;
    if (y != nullptr) {
        const Status status = rebuild_values(task, ny, y, yhint, sizeof(T));
        if (status != QOR_DF_OK)
            return status;
    }
    task.ny = ny;
    task.yhint = yhint;
    task.wide = static_cast<std::uint32_t>(int_width);
    task.marker = task_marker;
    task.precision = precision_of<T>;
    task.valid = 1;
    return xhint == QOR_DF_UNIFORM ? QOR_DF_OK : rebuild_bins(task);
}

} // namespace

} // namespace qor::df

extern "C" {

std::int32_t qor_df_kernel_sNewTask1D(void **task, std::int64_t nx, const float *x, std::int64_t xhint,
                                      std::int64_t ny, const float *y, std::int64_t yhint,
                                      std::int64_t int_width) {
    return qor::df::create(task, nx, x, xhint, ny, y, yhint, int_width);
}

std::int32_t qor_df_kernel_dNewTask1D(void **task, std::int64_t nx, const double *x, std::int64_t xhint,
                                      std::int64_t ny, const double *y, std::int64_t yhint,
                                      std::int64_t int_width) {
    return qor::df::create(task, nx, x, xhint, ny, y, yhint, int_width);
}

std::int32_t qor_df_kernel_DeleteTask(void **handle) {
    if (handle == nullptr || *handle == nullptr)
        return QOR_DF_NULL_TASK;
    const auto *const task = static_cast<qor::df::Task *>(*handle);
    qor::release(task->y);
    qor::release(task->coefficients);
    qor::release(task->bins);
    qor::release(*handle);
    *handle = nullptr;
    return QOR_DF_OK;
}

} // extern "C"
