// The tables of per-function addresses.
#include "data_fitting/tables.h"

#include "core_interface/core.h"

#include <limits>

namespace qor::df {

namespace {

// Makes a table of `count` addresses. Of `filled` ones the first is `first`, the others follow at `stride`
// bytes.
template <class Address>
Status rebuild(Address *&table, std::int64_t count, std::int64_t filled, Address first,
               std::uint64_t stride) {
    release(table);
    table = nullptr;
    // A negative count is more than there is memory for.
    const auto entries = static_cast<std::uint64_t>(count);
    if (entries > std::numeric_limits<std::uint64_t>::max() / sizeof(Address))
        return QOR_DF_NO_MEMORY;
    table = static_cast<Address *>(qor_serv_allocate(entries * sizeof(Address), block_alignment));
    if (table == nullptr)
        return QOR_DF_NO_MEMORY;
    const auto base = reinterpret_cast<std::uintptr_t>(first);
    for (std::int64_t i = 0; i < filled; ++i)
        table[i] = reinterpret_cast<Address>(base + static_cast<std::uint64_t>(i) * stride);
    return QOR_DF_OK;
}

} // namespace

Status rebuild_values(Task &task, std::int64_t ny, const void *y, std::int64_t hint,
                      std::size_t element_bytes) {
    // With no functions yet there is still the address to keep.
    const std::int64_t count = hint == QOR_DF_MATRIX_BY_COLUMNS || ny == 0 ? 1 : ny;
    const std::int64_t filled = hint == QOR_DF_SEPARATE_ARRAYS ? 1 : count;
    return rebuild(task.y, count, filled, y, static_cast<std::uint64_t>(task.nx) * element_bytes);
}

Status rebuild_coefficients(Task &task, void *coefficients, std::int64_t hint, std::size_t element_bytes) {
    if (task.ny == 0)
        return QOR_DF_BAD_FUNCTION_COUNT;
    const std::int64_t filled = static_cast<std::int8_t>(hint) < 0 ? 1 : task.ny;
    // Splines of type 1 have coefficients of the breakpoints, the others of the cells.
    const auto places = static_cast<std::uint64_t>(task.type == 1 ? task.nx : task.nx - 1);
    const std::uint64_t row = static_cast<std::uint64_t>(task.order) * places;
    return rebuild(task.coefficients, task.ny, filled, coefficients, row * element_bytes);
}

} // namespace qor::df
