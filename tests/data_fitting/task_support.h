// The task entries of one precision, and a fixture that watches the task's memory.
#pragma once

#include "data_fitting/task.h"
#include "substitute_core/control.h"

#include <cstring>
#include <gtest/gtest.h>

namespace test {

template <class T> struct Entries;
template <> struct Entries<float> {
    static constexpr auto create = qor_df_kernel_sNewTask1D;
    static constexpr auto edit_pointer = qor_df_kernel_sEditPtr;
    static constexpr auto query_pointer = qor_df_kernel_sQueryPtr;
    static constexpr auto edit_entry = qor_df_kernel_sEditIdxPtr;
    static constexpr auto query_entry = qor_df_kernel_sQueryIdxPtr;
    static constexpr auto edit_spline = qor_df_kernel_sEditPPSpline1D;
    static constexpr auto build = qor_df_kernel_sDFLinearSpline1D;
};
template <> struct Entries<double> {
    static constexpr auto create = qor_df_kernel_dNewTask1D;
    static constexpr auto edit_pointer = qor_df_kernel_dEditPtr;
    static constexpr auto query_pointer = qor_df_kernel_dQueryPtr;
    static constexpr auto edit_entry = qor_df_kernel_dEditIdxPtr;
    static constexpr auto query_entry = qor_df_kernel_dQueryIdxPtr;
    static constexpr auto edit_spline = qor_df_kernel_dEditPPSpline1D;
    static constexpr auto build = qor_df_kernel_dDFLinearSpline1D;
};

// One task at a time. Every block it took must have been released, once, when the test ends.
template <class T> struct TaskTest : testing::Test, Entries<T> {
    void *handle = nullptr;

    TaskTest() { qor_test_reset(); }
    ~TaskTest() override {
        remove();
        EXPECT_EQ(qor_test_live_blocks(), 0u);
        EXPECT_EQ(qor_test_bad_releases(), 0u);
    }
    qor::df::Task &task() { return *static_cast<qor::df::Task *>(handle); }
    std::int32_t create_new(std::int64_t nx, const T *x, std::int64_t xhint, std::int64_t ny, const T *y,
                            std::int64_t yhint, std::int64_t width = 1) {
        remove();
        return Entries<T>::create(&handle, nx, x, xhint, ny, y, yhint, width);
    }
    void remove() {
        if (handle != nullptr) {
            EXPECT_EQ(qor_df_kernel_DeleteTask(&handle), 0);
        }
        EXPECT_EQ(handle, nullptr);
    }
    // The record is that of `expected`, byte by byte.
    bool holds(const qor::df::Task &expected) { return std::memcmp(handle, &expected, sizeof expected) == 0; }
};

using Precisions = testing::Types<float, double>;

} // namespace test
