// Cell search by the task: chooses the method.
#include "data_fitting/search_bins.h"
#include "data_fitting/search_lockstep.h"
#include "data_fitting/search_quasi_uniform.h"
#include "data_fitting/search_sorted.h"
#include "data_fitting/search_uniform.h"
#include "data_fitting/search_user_defined.h"

namespace qor::df {

namespace {

// The bin table is worth its check for many sites a bin, and its use where it saves many halvings.
template <class T, class Cell> Status search_any(const Task &task, const Sites<T, Cell> &a) {
    constexpr std::int64_t sites_per_bin = 16, least_gain = 32;
    if (task.bins != nullptr && task.bin_count <= a.nsite / sites_per_bin) {
        const BinnedPartition<T> bins(task);
        if (bins.length > 0 && bins.length <= a.nx / least_gain) {
            search_side_by_side(a, bins);
            return QOR_DF_OK;
        }
    }
    return search<AnyPartition>(a);
}

// The hint of a peak of site density: present or not in element 1, its place in element 4.
template <class T> bool is_data_hint(const T *hint, std::int64_t nx) {
    return hint[1] == T(0) || (hint[1] == T(1) && hint[4] >= T(0) && hint[4] <= static_cast<T>(nx));
}

template <class T, class Cell>
Status choose(const Task &task, Sites<T, Cell> a, std::int64_t site_hint, const T *data_hint) {
    const bool uniform = task.xhint == QOR_DF_UNIFORM;
    if (uniform || task.xhint == QOR_DF_QUASI_UNIFORM)
        a.step = (a.x[uniform ? 1 : a.nx - 1] - a.x[0]) / static_cast<T>(a.nx - 1);
    if (a.callback != nullptr)
        return uniform ? search<UniformUserDefined>(a) : search<UserDefined>(a);
    if (task.xhint == QOR_DF_QUASI_UNIFORM)
        return search<QuasiUniform>(a);
    if (uniform)
        return search<Uniform>(a);
    if (site_hint == QOR_DF_SORTED_SITES) {
        Cell state = 0;
        a.state = &state;
        return search<Sorted>(a);
    }
    if (data_hint != nullptr && !is_data_hint(data_hint, a.nx))
        return QOR_DF_BAD_DATA_HINT;
    return a.nsite < 1 ? QOR_DF_OK : search_any(task, a);
}

template <class T>
Status search_task(const void *handle, std::int64_t nsite, const T *site, std::int64_t site_hint,
                   const T *data_hint, void *cell, CellCallback<T> callback, void *p1, void *p2,
                   std::int32_t *flags) {
    if (handle == nullptr)
        return QOR_DF_NULL_TASK;
    const Task &task = *static_cast<const Task *>(handle);
    const auto with_cells_of = [&]<class Cell>(Cell) {
        return choose(task,
                      Sites<T, Cell>{task.nx, breakpoints<T>(task), nsite, site, static_cast<Cell *>(cell),
                                     nullptr, T(0), callback, p1, p2, flags},
                      site_hint, data_hint);
    };
    return task.wide ? with_cells_of(std::int64_t{}) : with_cells_of(std::int32_t{});
}

} // namespace

} // namespace qor::df

std::int32_t qor_df_kernel_sDFSearch1D(void *task, std::int64_t nsite, const float *site,
                                       std::int64_t site_hint, const float *data_hint, void *cell,
                                       qor_df_sCellCallback callback, void *p1, void *p2,
                                       std::int32_t *flags) {
    return qor::df::search_task(task, nsite, site, site_hint, data_hint, cell, callback, p1, p2, flags);
}

std::int32_t qor_df_kernel_dDFSearch1D(void *task, std::int64_t nsite, const double *site,
                                       std::int64_t site_hint, const double *data_hint, void *cell,
                                       qor_df_dCellCallback callback, void *p1, void *p2,
                                       std::int32_t *flags) {
    return qor::df::search_task(task, nsite, site, site_hint, data_hint, cell, callback, p1, p2, flags);
}
