// The data-fitting task: the record behind the handle, and what every part of the room reads from it.
//
// The task owns four blocks: the record, the table of function-value pointers, the table of coefficient
// pointers and the bin table. Every array of numbers is the caller's.
#pragma once

#include "qor_df.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace qor::df {

using Status = std::int32_t;

enum Precision : std::uint32_t { single_precision = 0, double_precision = 1 };
template <class T>
inline constexpr Precision precision_of = std::is_same_v<T, float> ? single_precision : double_precision;

// Breakpoint indices of bin j: a site in the bin lies in a cell whose left breakpoint is low .. high.
struct Bin {
    std::int64_t low, high;
};

// Bins per unit of x, in the task's precision.
union BinScale {
    float s;
    double d;
};

struct Task {
    std::uint32_t wide; // the caller's integers have 64 bits (not 0) or 32
    std::uint8_t marker;
    std::uint32_t precision;
    std::uint32_t valid;
    std::int64_t nx;
    const void *x;
    std::int64_t xhint;
    std::int64_t ny;
    const void **y; // 1 entry for QOR_DF_MATRIX_BY_COLUMNS, ny otherwise; null: no functions yet
    std::int64_t yhint;
    std::int64_t order;
    std::int64_t type;
    std::int64_t ic_type;
    const void *ic;
    std::int64_t bc_type;
    const void *bc;
    void **coefficients; // ny entries, or null
    std::int64_t coefficient_hint;
    std::uint32_t setting;
    std::int64_t bin_count;
    Bin *bins; // bin_count + 1 of them, or null
    BinScale bin_scale;
};

// Callers' programs know the record by its offsets.
static_assert(std::is_standard_layout_v<Task> && std::is_trivial_v<Task> && sizeof(Task) == 160);
static_assert(offsetof(Task, marker) == 4 && offsetof(Task, precision) == 8 && offsetof(Task, valid) == 12);
static_assert(offsetof(Task, nx) == 16 && offsetof(Task, x) == 24 && offsetof(Task, xhint) == 32);
static_assert(offsetof(Task, ny) == 40 && offsetof(Task, y) == 48 && offsetof(Task, yhint) == 56);
static_assert(offsetof(Task, order) == 64 && offsetof(Task, type) == 72 && offsetof(Task, ic_type) == 80);
static_assert(offsetof(Task, ic) == 88 && offsetof(Task, bc_type) == 96 && offsetof(Task, bc) == 104);
static_assert(offsetof(Task, coefficients) == 112 && offsetof(Task, coefficient_hint) == 120);
static_assert(offsetof(Task, setting) == 128 && offsetof(Task, bin_count) == 136);
static_assert(offsetof(Task, bins) == 144 && offsetof(Task, bin_scale) == 152);

inline constexpr std::uint64_t block_alignment = 128; // of every block of a task

template <class T> const T *breakpoints(const Task &task) { return static_cast<const T *>(task.x); }

template <class T> T bin_scale(const Task &task) {
    if constexpr (std::is_same_v<T, float>)
        return task.bin_scale.s;
    else
        return task.bin_scale.d;
}

// Edits and queries leave a task alone whose creation broke off.
inline bool is_whole(const Task &task) { return task.valid == 1; }

// What callers may give as hints.
constexpr bool is_partition_hint(std::int64_t hint) { return hint >= 0 && hint <= 4 && hint != 3; }
constexpr bool is_storage_hint(std::int64_t hint) {
    return hint == QOR_DF_NO_STORAGE_HINT || hint == QOR_DF_MATRIX_BY_ROWS ||
           hint == QOR_DF_MATRIX_BY_COLUMNS || hint == QOR_DF_SEPARATE_ARRAYS;
}

} // namespace qor::df
