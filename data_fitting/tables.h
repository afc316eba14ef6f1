// The tables of per-function addresses. Elements of `element_bytes` bytes: a table is made by an entry of
// either precision.
#pragma once

#include "data_fitting/task.h"

namespace qor::df {

// Releases the task's table of values and makes a new one: `ny` functions whose values begin at `y` and are
// stored as `hint` says.
Status rebuild_values(Task &task, std::int64_t ny, const void *y, std::int64_t hint,
                      std::size_t element_bytes);

// The same for the coefficients of the task's functions.
Status rebuild_coefficients(Task &task, void *coefficients, std::int64_t hint, std::size_t element_bytes);

} // namespace qor::df
