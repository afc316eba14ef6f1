// Edits and queries of tasks, by parameter code.
#include "core_interface/second_name.h"
#include "data_fitting/bins.h"
#include "data_fitting/tables.h"
#include "data_fitting/task.h"

#include <cstring>
#include <iterator>

namespace qor::df {

namespace {

// Fields are reached by their offsets, so that the codes are data.
std::byte *field(Task &task, std::size_t offset) { return reinterpret_cast<std::byte *>(&task) + offset; }

// The row of a code, or null.
template <class Row, std::size_t size>
const Row *find(const Row (&rows)[size], std::int64_t first_code, std::int64_t code) {
    return code >= first_code && code - first_code < static_cast<std::int64_t>(size)
               ? &rows[code - first_code]
               : nullptr;
}

// Values -------------------------------------------------------------------------------------------------

struct ValueCode {
    std::size_t offset, bytes;
    bool (*accepts)(std::int64_t value);
    Status refusal;
};

#define QOR_VALUE_FIELD(name) offsetof(Task, name), sizeof(Task::name)
template <std::int64_t least> bool at_least(std::int64_t value) { return value >= least; }

constexpr ValueCode value_codes[] = {
    {QOR_VALUE_FIELD(nx), at_least<2>, QOR_DF_BAD_BREAKPOINT_COUNT},
    {QOR_VALUE_FIELD(xhint), is_partition_hint, QOR_DF_BAD_PARTITION_HINT},
    {QOR_VALUE_FIELD(ny), at_least<1>, QOR_DF_BAD_FUNCTION_COUNT},
    {QOR_VALUE_FIELD(yhint), is_storage_hint, QOR_DF_BAD_VALUE_STORAGE},
    {QOR_VALUE_FIELD(order), at_least<0>, QOR_DF_BAD_SPLINE_ORDER},
    {QOR_VALUE_FIELD(type), [](std::int64_t value) { return (value >= 0 && value <= 5) || value == 9; },
     QOR_DF_BAD_SPLINE_TYPE},
    {QOR_VALUE_FIELD(ic_type),
     [](std::int64_t value) { return (value >= 0 && value <= 2) || (value & 8) != 0; },
     QOR_DF_BAD_INTERNAL_CONDITIONS_TYPE},
    {QOR_VALUE_FIELD(bc_type), at_least<0>, QOR_DF_BAD_BOUNDARY_CONDITIONS_TYPE},
    {QOR_VALUE_FIELD(coefficient_hint), is_storage_hint, QOR_DF_BAD_COEFFICIENT_STORAGE},
    {QOR_VALUE_FIELD(setting), [](std::int64_t value) { return value == 0 || value == 1; },
     QOR_DF_BAD_SETTING},
};
static_assert(std::size(value_codes) == QOR_DF_SETTING - QOR_DF_BREAKPOINT_COUNT + 1);
#undef QOR_VALUE_FIELD

Status edit_value(Task *task, std::int64_t code, std::int64_t value) {
    if (task == nullptr)
        return QOR_DF_NULL_TASK;
    if (!is_whole(*task))
        return QOR_DF_OK;
    const ValueCode *const row = find(value_codes, QOR_DF_BREAKPOINT_COUNT, code);
    if (row == nullptr)
        return QOR_DF_UNKNOWN_CODE;
    if (!row->accepts(value))
        return row->refusal;
    std::memcpy(field(*task, row->offset), &value, row->bytes);
    return code == QOR_DF_PARTITION_HINT && value == QOR_DF_NON_UNIFORM ? rebuild_bins(*task) : QOR_DF_OK;
}

Status query_value(Task *task, std::int64_t code, void *out) {
    if (task == nullptr)
        return QOR_DF_NULL_TASK;
    if (out == nullptr)
        return QOR_DF_NULL_OUTPUT;
    if (!is_whole(*task))
        return QOR_DF_OK;
    const ValueCode *const row = find(value_codes, QOR_DF_BREAKPOINT_COUNT, code);
    if (row == nullptr)
        return QOR_DF_UNKNOWN_CODE;
    std::int64_t value = 0;
    std::memcpy(&value, field(*task, row->offset), row->bytes);
    std::memcpy(out, &value, task->wide != 0 ? sizeof(std::int64_t) : sizeof(std::int32_t));
    return QOR_DF_OK;
}

// Pointers -----------------------------------------------------------------------------------------------

struct PointerCode {
    std::size_t offset;
    Status null_pointer;
    // Makes the table that the field points to; null where the field is the array's address itself.
    Status (*rebuild)(Task &task, const void *array, std::size_t element_bytes);
};

constexpr PointerCode pointer_codes[] = {
    {offsetof(Task, x), QOR_DF_NULL_BREAKPOINTS, nullptr},
    {offsetof(Task, y), QOR_DF_NULL_VALUES,
     [](Task &task, const void *array, std::size_t element_bytes) {
         return rebuild_values(task, task.ny, array, task.yhint, element_bytes);
     }},
    {offsetof(Task, ic), QOR_DF_NULL_INTERNAL_CONDITIONS, nullptr},
    {offsetof(Task, bc), QOR_DF_NULL_BOUNDARY_CONDITIONS, nullptr},
    {offsetof(Task, coefficients), QOR_DF_NULL_COEFFICIENTS,
     [](Task &task, const void *array, std::size_t element_bytes) {
         return rebuild_coefficients(task, const_cast<void *>(array), task.coefficient_hint, element_bytes);
     }},
};
static_assert(std::size(pointer_codes) == QOR_DF_COEFFICIENTS - QOR_DF_BREAKPOINTS + 1);

// What a pointer field holds: the address of an array, or of a table of such addresses.
const void **pointer(Task &task, const PointerCode &row) {
    const void **value;
    std::memcpy(&value, field(task, row.offset), sizeof value);
    return value;
}

template <class T> Status edit_pointer(Task *task, std::int64_t code, const void *array) {
    if (task == nullptr)
        return QOR_DF_NULL_TASK;
    if (!is_whole(*task))
        return QOR_DF_OK;
    const PointerCode *const row = find(pointer_codes, QOR_DF_BREAKPOINTS, code);
    if (row == nullptr)
        return QOR_DF_UNKNOWN_CODE;
    if (array == nullptr)
        return row->null_pointer;
    if (row->rebuild != nullptr)
        return row->rebuild(*task, array, sizeof(T));
    std::memcpy(field(*task, row->offset), &array, sizeof array);
    return QOR_DF_OK;
}

Status query_pointer(Task *task, std::int64_t code, void **out) {
    if (task == nullptr)
        return QOR_DF_NULL_TASK;
    if (out == nullptr)
        return QOR_DF_NULL_OUTPUT;
    if (!is_whole(*task))
        return QOR_DF_OK;
    const PointerCode *const row = find(pointer_codes, QOR_DF_BREAKPOINTS, code);
    if (row == nullptr)
        return QOR_DF_UNKNOWN_CODE;
    const void **const value = pointer(*task, *row);
    const bool is_table = row->rebuild != nullptr;
    *out = const_cast<void *>(is_table && value != nullptr ? value[0] : static_cast<const void *>(value));
    return QOR_DF_OK;
}

// Entries of tables --------------------------------------------------------------------------------------

// The row of a code whose field is a table, or null.
const PointerCode *find_table(std::int64_t code) {
    const PointerCode *const row = find(pointer_codes, QOR_DF_BREAKPOINTS, code);
    return row != nullptr && row->rebuild != nullptr ? row : nullptr;
}

bool lacks_entries(const Task &task, std::int64_t code) {
    return code == QOR_DF_VALUES && task.yhint == QOR_DF_MATRIX_BY_COLUMNS;
}

Status edit_entry(Task *task, std::int64_t code, std::int64_t index, const void *array) {
    if (task == nullptr)
        return QOR_DF_NULL_TASK;
    if (!is_whole(*task))
        return QOR_DF_OK;
    const PointerCode *const row = find_table(code);
    if (row == nullptr)
        return QOR_DF_UNKNOWN_CODE;
    if (lacks_entries(*task, code))
        return QOR_DF_BAD_VALUE_STORAGE;
    if (index < 0 || index >= task->ny)
        return QOR_DF_INDEX_OUT_OF_RANGE;
    const void **const table = pointer(*task, *row);
    if (array == nullptr || table == nullptr)
        return row->null_pointer;
    table[index] = array;
    return QOR_DF_OK;
}

Status query_entry(Task *task, std::int64_t code, std::int64_t index, void **out) {
    if (task == nullptr)
        return QOR_DF_NULL_TASK;
    if (out == nullptr)
        return QOR_DF_NULL_OUTPUT;
    // Callers rely on index ny passing: it reads the word after the table.
    if (index < 0 || index > task->ny)
        return QOR_DF_INDEX_OUT_OF_RANGE;
    if (!is_whole(*task))
        return QOR_DF_OK;
    const PointerCode *const row = find_table(code);
    if (row == nullptr)
        return QOR_DF_UNKNOWN_CODE;
    if (lacks_entries(*task, code))
        return QOR_DF_BAD_VALUE_STORAGE;
    const void **const table = pointer(*task, *row);
    *out = table != nullptr ? const_cast<void *>(table[index]) : nullptr;
    return QOR_DF_OK;
}

// Splines ------------------------------------------------------------------------------------------------

// Boundary conditions of these types have values.
constexpr bool needs_values(std::int64_t bc_type) { return bc_type >= 3 && bc_type != 64; }

template <class T>
Status edit_spline(Task *task, std::int64_t order, std::int64_t type, std::int64_t bc_type, const T *bc,
                   std::int64_t ic_type, const T *ic, T *coefficients, std::int64_t coefficient_hint) {
    if (task == nullptr)
        return QOR_DF_NULL_TASK;
    if (!is_whole(*task))
        return QOR_DF_OK;
    if (order < 0)
        return QOR_DF_BAD_SPLINE_ORDER;
    if (type < 0)
        return QOR_DF_BAD_SPLINE_TYPE;
    task->order = order;
    task->type = type;
    // A refusal from here on leaves what was set before: callers know it so.
    if (bc == nullptr && needs_values(bc_type))
        return QOR_DF_NULL_BOUNDARY_CONDITIONS;
    task->bc_type = bc_type;
    task->bc = bc;
    if ((ic_type != 0) != (ic != nullptr))
        return ic == nullptr ? QOR_DF_NULL_INTERNAL_CONDITIONS : QOR_DF_BAD_INTERNAL_CONDITIONS_TYPE;
    task->ic_type = ic_type;
    task->ic = ic;
    if (coefficients != nullptr) {
        const Status status = rebuild_coefficients(*task, coefficients, coefficient_hint, sizeof(T));
        if (status != QOR_DF_OK)
            return status;
    }
    task->coefficient_hint = coefficient_hint;
    return QOR_DF_OK;
}

Task *task_of(void *handle) { return static_cast<Task *>(handle); }

} // namespace

} // namespace qor::df

using namespace qor::df;

extern "C" {

std::int32_t qor_df_kernel_iEditVal(void *task, std::int64_t code, std::int64_t value) {
    return edit_value(task_of(task), code, value);
}

std::int32_t qor_df_kernel_iQueryVal(void *task, std::int64_t code, void *out) {
    return query_value(task_of(task), code, out);
}

std::int32_t qor_df_kernel_sEditPtr(void *task, std::int64_t code, const void *array) {
    return edit_pointer<float>(task_of(task), code, array);
}

std::int32_t qor_df_kernel_dEditPtr(void *task, std::int64_t code, const void *array) {
    return edit_pointer<double>(task_of(task), code, array);
}

std::int32_t qor_df_kernel_dQueryPtr(void *task, std::int64_t code, void **out) {
    return query_pointer(task_of(task), code, out);
}

std::int32_t qor_df_kernel_dEditIdxPtr(void *task, std::int64_t code, std::int64_t index, const void *array) {
    return edit_entry(task_of(task), code, index, array);
}

std::int32_t qor_df_kernel_dQueryIdxPtr(void *task, std::int64_t code, std::int64_t index, void **out) {
    return query_entry(task_of(task), code, index, out);
}

std::int32_t qor_df_kernel_sEditPPSpline1D(void *task, std::int64_t order, std::int64_t type,
                                           std::int64_t bc_type, const float *bc, std::int64_t ic_type,
                                           const float *ic, float *scoeff, std::int64_t scoeff_hint) {
    return edit_spline(task_of(task), order, type, bc_type, bc, ic_type, ic, scoeff, scoeff_hint);
}

std::int32_t qor_df_kernel_dEditPPSpline1D(void *task, std::int64_t order, std::int64_t type,
                                           std::int64_t bc_type, const double *bc, std::int64_t ic_type,
                                           const double *ic, double *scoeff, std::int64_t scoeff_hint) {
    return edit_spline(task_of(task), order, type, bc_type, bc, ic_type, ic, scoeff, scoeff_hint);
}

// Where only addresses move, precision does not matter.
QOR_SECOND_NAME(qor_df_kernel_sQueryPtr, qor_df_kernel_dQueryPtr);
QOR_SECOND_NAME(qor_df_kernel_sEditIdxPtr, qor_df_kernel_dEditIdxPtr);
QOR_SECOND_NAME(qor_df_kernel_sQueryIdxPtr, qor_df_kernel_dQueryIdxPtr);

} // extern "C"
