// Creation and deletion of summary-statistics tasks.
#include "statistics/summary/task.h"

#include "core_interface/core.h"
#include "statistics/summary/parameters.h"

#include <cstring>

namespace qor::bex {

namespace {

template <class Integer> Integer read(const void *address) {
    Integer value;
    std::memcpy(&value, address, sizeof value);
    return value;
}

std::int64_t read_integer(const void *address, bool wide) {
    return wide ? read<std::int64_t>(address) : read<std::int32_t>(address);
}

bool below_one(const void *address, bool wide) {
    return address == nullptr || read_integer(address, wide) < 1;
}

std::int32_t check_observations(const void *n, const void *xstorage, bool wide) {
    if (xstorage == nullptr)
        return BEX_SS_STATUS_NULL_STORAGE;
    const std::int64_t storage = read_integer(xstorage, wide);
    if (storage != BEX_SS_BY_VARIABLE && storage != BEX_SS_BY_OBSERVATION)
        return BEX_SS_STATUS_BAD_OBSERVATION_STORAGE;
    return below_one(n, wide) ? BEX_SS_STATUS_BAD_OBSERVATION_COUNT : BEX_SS_STATUS_OK;
}

std::int32_t new_task(Precision precision, void **out, const void *p, const void *n, const void *xstorage,
                      const void *x, const void *w, const void *indices, std::int32_t wide) {
    if (below_one(p, wide != 0))
        return BEX_SS_STATUS_BAD_DIMENSION;
    if (x != nullptr)
        if (const std::int32_t status = check_observations(n, xstorage, wide != 0);
            status != BEX_SS_STATUS_OK)
            return status;
    if (out == nullptr)
        return BEX_SS_STATUS_NULL_TASK;
    void *const block = qor_serv_allocate(sizeof(SummaryTask), task_alignment);
    if (block == nullptr)
        return BEX_SS_STATUS_NO_MEMORY;
    SummaryTask &task = *static_cast<SummaryTask *>(std::memset(block, 0, sizeof(SummaryTask)));
    task.words[width_and_kind] = std::bit_cast<std::uint32_t>(wide) | task_kind << 32;
    task.words[precision_word] = precision;
    task.attach(parameter(BEX_SS_DIMENSION).slot, p);
    task.attach(parameter(BEX_SS_OBSERVATION_COUNT).slot, n);
    task.attach(parameter(BEX_SS_VARIABLE_INDICES).slot, indices);
    task.attach(parameter(BEX_SS_OBSERVATIONS).slot, x);
    task.attach(parameter(BEX_SS_WEIGHTS).slot, w);
    task.attach(parameter(BEX_SS_OBSERVATION_STORAGE).slot, xstorage);
    *out = block;
    return BEX_SS_STATUS_OK;
}

// The routines may register more of them, so the count is read anew for each.
void run_clean_ups(SummaryTask &task) {
    for (std::int64_t k = 0; k < std::bit_cast<std::int64_t>(task.words[clean_up_count]); ++k)
        std::bit_cast<CleanUp>(task.words[first_clean_up + k])(&task);
}

} // namespace

} // namespace qor::bex

extern "C" {

using namespace qor::bex;

std::int32_t __bexsSSNewTask(void **task, const void *p, const void *n, const void *xstorage, const void *x,
                             const void *w, const void *indices, std::int32_t wide) {
    return new_task(single_precision, task, p, n, xstorage, x, w, indices, wide);
}

std::int32_t __bexdSSNewTask(void **task, const void *p, const void *n, const void *xstorage, const void *x,
                             const void *w, const void *indices, std::int32_t wide) {
    return new_task(double_precision, task, p, n, xstorage, x, w, indices, wide);
}

std::int32_t __bexSSDeleteTask(void **handle) {
    if (handle == nullptr || *handle == nullptr)
        return BEX_SS_STATUS_NULL_TASK;
    SummaryTask &task = *static_cast<SummaryTask *>(*handle);
    qor::release(std::bit_cast<void *>(task.words[private_buffer]));
    run_clean_ups(task);
    qor_serv_deallocate(&task);
    *handle = nullptr;
    return BEX_SS_STATUS_OK;
}

} // extern "C"
