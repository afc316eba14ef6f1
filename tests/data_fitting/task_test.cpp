#include "tests/data_fitting/task_support.h"

#include <algorithm>
#include <limits>
#include <random>
#include <vector>

namespace {

using qor::df::Task;

constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();

template <class T> struct FittingTask : test::TaskTest<T> {
    std::vector<T> points{0, 1, 2, 4}, values = std::vector<T>(20);
};
TYPED_TEST_SUITE(FittingTask, test::Precisions);

TYPED_TEST(FittingTask, CreationChecksInOrder) {
    const TypeParam *const x = this->points.data(), *const y = this->values.data(), *const none = nullptr;
    const struct {
        std::int64_t nx;
        const TypeParam *x;
        std::int64_t xhint, ny;
        const TypeParam *y;
        std::int64_t yhint;
        std::int32_t status;
    } calls[] = {
        // Each row mends what the one before it was refused for.
        {1, none, 3, 0, y, 0x11, -1004}, {2, none, 3, 0, y, 0x11, -1005}, {2, x, 3, 0, y, 0x11, -1006},
        {2, x, 2, 0, y, 0x11, -1007},    {2, x, 2, 1, none, 0x11, -1008}, {2, x, 2, 1, y, 0x11, -1009},
        {2, x, 2, 1, y, 0x10, 0},        {-2, x, 0, 0, none, 0, -1004},   {2, x, 5, 0, none, 0, -1006},
        {2, x, -1, 0, none, 0, -1006},   {2, x, 0, -1, none, 0, -1008},   {2, x, 0, 1, y, 0x40, -1009},
        {2, x, 0, 1, y, 0x30, -1009},    {2, x, 0, 1, y, 0x90, -1009},    {2, x, 0, 1, y, -0x80, -1009},
        {2, x, 0, 1, y, 0x100, -1009},   {2, x, 0, 0, none, 0x80, 0},     {2, x, 4, -1, y, 0x20, 0},
    };
    for (const auto &call : calls) {
        const std::int32_t status =
            this->create_new(call.nx, call.x, call.xhint, call.ny, call.y, call.yhint);
        EXPECT_EQ(status, call.status) << &call - calls;
        EXPECT_EQ(this->handle != nullptr, call.status == 0);
    }
    EXPECT_EQ(qor_df_kernel_DeleteTask(&this->handle), 0);
    EXPECT_EQ(qor_df_kernel_DeleteTask(&this->handle), -1000);
}

TYPED_TEST(FittingTask, NewRecord) {
    const std::int64_t nx = 4, ny = 3;
    for (const std::int64_t hint : {0x00, 0x10, 0x20, 0x80}) {
        ASSERT_EQ(this->create_new(nx, this->points.data(), 4, ny, this->values.data(), hint, 64), 0);
        Task expected;
        std::memset(&expected, 0, sizeof expected);
        expected.wide = 64;
        expected.marker = 4;
        expected.precision = sizeof(TypeParam) == 8;
        expected.valid = 1;
        expected.nx = nx;
        expected.x = this->points.data();
        expected.xhint = 4;
        expected.ny = ny;
        expected.y = this->task().y;
        expected.yhint = hint;
        EXPECT_TRUE(this->holds(expected));
        const std::int64_t entries = hint == 0x20 ? 1 : ny, filled = hint == 0x80 ? 1 : entries;
        EXPECT_EQ(qor_test_last_size(), static_cast<std::uint64_t>(entries) * 8);
        for (std::int64_t i = 0; i < filled; ++i)
            EXPECT_EQ(this->task().y[i], &this->values[static_cast<std::size_t>(i * nx)]);
    }
}

// Bins by what they mean, for ascending breakpoints: `low` is the last breakpoint that lies in one of the
// bins 1 .. j - 1, `high` the first that lies in one of the bins j + 1 .. count - 1.
template <class T> void expect_bins(const Task &task) {
    const T *const x = static_cast<const T *>(task.x);
    const std::int64_t nx = task.nx,
                       count = std::min<std::int64_t>(std::max<std::int64_t>(nx / 16, 16), 1024);
    ASSERT_EQ(task.bin_count, count);
    const T scale = static_cast<T>(count) / (x[nx - 1] - x[0]);
    ASSERT_EQ(qor::df::bin_scale<T>(task), scale);
    std::vector<std::int64_t> bin(static_cast<std::size_t>(nx)); // only ascending sequences are looked at
    for (std::size_t i = 0; i < bin.size(); ++i)
        bin[i] = static_cast<std::int64_t>((x[i] - x[0]) * scale);
    const auto first_in = [&](std::int64_t j) {
        return std::lower_bound(bin.begin(), bin.end(), j) - bin.begin();
    };
    std::vector<qor::df::Bin> expected;
    for (std::int64_t j = 0; j < count; ++j)
        expected.push_back({first_in(j) > first_in(1) ? first_in(j) - 1 : 0,
                            first_in(j + 1) < first_in(count) ? first_in(j + 1) : nx - 1});
    expected.push_back(expected.back());
    ASSERT_EQ(std::memcmp(task.bins, expected.data(), expected.size() * sizeof expected[0]), 0)
        << "nx " << nx;
}

TYPED_TEST(FittingTask, BinTable) {
    using T = TypeParam;
    std::mt19937_64 random(1);
    const auto uniform = [&] { return static_cast<T>(random() >> 40) * T{0x1p-24}; };
    for (const std::size_t nx : {2u, 3u, 17u, 271u, 272u, 320u, 1000u, 16383u, 16400u, 40000u})
        for (const int shape : {0, 1, 2, 3, 4}) {
            std::vector<T> x(nx);
            for (std::size_t i = 0; i < nx; ++i) {
                const T even = static_cast<T>(i) / static_cast<T>(nx - 1);
                x[i] = shape == 0   ? even
                       : shape == 1 ? uniform()
                       : shape == 2 ? even * even * even * T{1e-30f} // crowded at the left end
                       : shape == 3 ? T(random() % 8)                // repeated
                                    : static_cast<T>(i);             // all in bin 0 but the last
            }
            if (shape == 4)
                x[nx - 1] = T{1e9f};
            std::sort(x.begin(), x.end());
            if (x[0] == x[nx - 1])
                x[nx - 1] += 1;
            ASSERT_EQ(this->create_new(static_cast<std::int64_t>(nx), x.data(), 0, 0, nullptr, 0), 0);
            EXPECT_EQ(qor_test_last_size(), static_cast<std::uint64_t>(this->task().bin_count) * 16 + 32);
            EXPECT_EQ(qor_test_last_alignment(), 128u);
            expect_bins<T>(this->task());
            if (this->HasFatalFailure())
                FAIL() << "shape " << shape;
        }
    // Partitions that no bins fit: the table still says "anywhere", and nothing outside it is written.
    const T infinity = std::numeric_limits<T>::infinity(), nan = std::numeric_limits<T>::quiet_NaN();
    const T tiny = std::numeric_limits<T>::denorm_min();
    for (const std::vector<T> &x : {std::vector<T>{0, 0, 0},
                                    {0, tiny, 2 * tiny},
                                    {0, nan, 1},
                                    {0, -1e9f, 1},
                                    {0, 0.5f, nan},
                                    {0, 2, infinity},
                                    {3, 2, 1},
                                    {0, 100, 1}}) {
        ASSERT_EQ(this->create_new(3, x.data(), 1, 0, nullptr, 0), 0);
        for (int j = 0; j <= 16; ++j) {
            EXPECT_GE(this->task().bins[j].low, 0);
            EXPECT_LE(this->task().bins[j].high, 2);
        }
    }
}

TYPED_TEST(FittingTask, BinTableIsRebuiltByHintOneAlone) {
    std::vector<TypeParam> x(320);
    for (std::size_t i = 0; i < x.size(); ++i)
        x[i] = static_cast<TypeParam>(i);
    ASSERT_EQ(this->create_new(4, this->points.data(), 4, 0, nullptr, 0), 0);
    EXPECT_EQ(this->task().bins, nullptr);
    ASSERT_EQ(this->edit_pointer(this->handle, 1, x.data()), 0);
    ASSERT_EQ(qor_df_kernel_iEditVal(this->handle, 14, 320), 0);
    for (const int hint : {0, 2, 4, 2}) {
        ASSERT_EQ(qor_df_kernel_iEditVal(this->handle, 15, hint), 0);
        EXPECT_EQ(this->task().bins, nullptr);
    }
    ASSERT_EQ(qor_df_kernel_iEditVal(this->handle, 15, 1), 0);
    expect_bins<TypeParam>(this->task());
    ASSERT_EQ(qor_df_kernel_iEditVal(this->handle, 14, 300), 0);
    ASSERT_EQ(qor_df_kernel_iEditVal(this->handle, 15, 2), 0);
    EXPECT_EQ(this->task().bin_count, 20);
    ASSERT_EQ(qor_df_kernel_iEditVal(this->handle, 15, 1), 0);
    expect_bins<TypeParam>(this->task());
}

const struct {
    std::int64_t code;
    std::vector<std::int64_t> accepted, refused;
    std::int32_t status;
} value_codes[] = {
    {14, {2, 3, largest}, {1, 0, -1}, -1004},
    {16, {1, largest}, {0, -1}, -1007},
    {17, {0x80, 0x20, 0x10, 0}, {1, 0x11, 0x30, 0x40, 0x81, 0x90, 0x120, -0x80}, -1009},
    {18, {0, 4, largest}, {-1}, -1010},
    {19, {0, 1, 2, 3, 4, 5, 9}, {-1, 6, 7, 8, 10}, -1011},
    {20, {0, 1, 2, 8, 15, -1, 0x1008}, {3, 7, 16, -9}, -1012},
    {21, {0, 64, largest}, {-1}, -1014},
    {22, {0x80, 0x20, 0x10, 0}, {1, 0x11, 0x30, 0x40, 0x81, 0x90, 0x120, -0x80}, -1017},
    {23, {1, 0}, {2, -1, std::int64_t{1} << 32}, -1036},
    {15, {0, 2, 4}, {-1, 3, 5, 16}, -1006},
};

TYPED_TEST(FittingTask, Values) {
    for (const bool wide : {false, true}) {
        ASSERT_EQ(this->create_new(4, this->points.data(), 0, 0, nullptr, 0, wide), 0);
        for (const auto &[code, accepted, refused, status] : value_codes) {
            for (const std::int64_t value : accepted) {
                EXPECT_EQ(qor_df_kernel_iEditVal(this->handle, code, value), 0) << code << ' ' << value;
                std::int64_t read = 0x5555555555555555;
                EXPECT_EQ(qor_df_kernel_iQueryVal(this->handle, code, &read), 0);
                EXPECT_EQ(read, wide ? value : 0x5555555500000000 | (value & 0xFFFFFFFF)) << code;
            }
            const Task before = this->task();
            for (const std::int64_t value : refused)
                EXPECT_EQ(qor_df_kernel_iEditVal(this->handle, code, value), status) << code << ' ' << value;
            EXPECT_TRUE(this->holds(before));
        }
    }
    std::int64_t read = 7;
    for (const std::int64_t code : {-1, 0, 1, 5, 13, 24}) {
        EXPECT_EQ(qor_df_kernel_iEditVal(this->handle, code, 1), -1019);
        EXPECT_EQ(qor_df_kernel_iQueryVal(this->handle, code, &read), -1019);
    }
    EXPECT_EQ(read, 7);
}

TYPED_TEST(FittingTask, Pointers) {
    using T = TypeParam;
    ASSERT_EQ(this->create_new(4, this->points.data(), 4, 0, nullptr, 0), 0);
    const std::int32_t null_status[] = {-1005, -1008, -1013, -1015, -1016};
    void *read;
    std::vector<T> a(100);
    for (std::int64_t code = 1; code <= 5; ++code) {
        EXPECT_EQ(this->edit_pointer(this->handle, code, nullptr), null_status[code - 1]);
        EXPECT_EQ(this->edit_pointer(this->handle, code, &a[static_cast<std::size_t>(code)]),
                  code == 5 ? -1007 : 0);
    }
    for (std::int64_t code = 1; code <= 5; ++code) {
        EXPECT_EQ(this->query_pointer(this->handle, code, &read), 0);
        EXPECT_EQ(read, code == 5 ? nullptr : &a[static_cast<std::size_t>(code)]);
    }
    EXPECT_EQ(this->edit_pointer(this->handle, 6, a.data()), -1019);
    EXPECT_EQ(this->query_pointer(this->handle, 0, &read), -1019);

    // Tables, under the counts and hints of the moment.
    qor_df_kernel_iEditVal(this->handle, 16, 3);
    const std::int64_t hints[] = {0x80, 0x20, 0x10, 0x00, 0x80, 0x80};
    for (const std::int64_t type : {0, 1, 2})
        for (int h = 0; h < 5; ++h) {
            const std::int64_t hint = hints[h], coefficient_hint = hints[h + 1];
            EXPECT_EQ(qor_df_kernel_iEditVal(this->handle, 17, hint), 0);
            EXPECT_EQ(
                this->edit_spline(this->handle, 3, type, 0, nullptr, 0, nullptr, nullptr, coefficient_hint),
                0);
            ASSERT_EQ(this->edit_pointer(this->handle, 2, a.data()), 0);
            EXPECT_EQ(qor_test_last_size(), hint == 0x20 ? 8u : 24u);
            ASSERT_EQ(this->edit_pointer(this->handle, 5, a.data()), 0);
            EXPECT_EQ(qor_test_last_size(), 24u);
            const int row = type == 1 ? 12 : 9;
            for (int j = 0; j < 3; ++j) {
                if (j == 0 || hint < 0x20) {
                    EXPECT_EQ(this->task().y[j], &a[static_cast<std::size_t>(4 * j)]);
                }
                if (j == 0 || coefficient_hint != 0x80) {
                    EXPECT_EQ(this->task().coefficients[j], &a[static_cast<std::size_t>(row * j)]);
                }
            }
        }
    // Here both tables are of separate arrays.
    for (const std::int64_t code : {2, 5}) {
        for (std::int64_t i = 0; i < 3; ++i) {
            EXPECT_EQ(this->edit_entry(this->handle, code, i, &a[static_cast<std::size_t>(50 + i)]), 0);
            EXPECT_EQ(this->query_entry(this->handle, code, i, &read), 0);
            EXPECT_EQ(read, &a[static_cast<std::size_t>(50 + i)]);
        }
        EXPECT_EQ(this->edit_entry(this->handle, code, 3, nullptr), -1020);
        EXPECT_EQ(this->edit_entry(this->handle, code, -1, a.data()), -1020);
        EXPECT_EQ(this->edit_entry(this->handle, code, 0, nullptr), null_status[code - 1]);
        EXPECT_EQ(this->query_entry(this->handle, code, 3, &read), 0);
        EXPECT_EQ(this->query_entry(this->handle, code, 4, &read), -1020);
        EXPECT_EQ(this->query_entry(this->handle, code, -1, &read), -1020);
    }
    qor_df_kernel_iEditVal(this->handle, 17, 0x20);
    EXPECT_EQ(this->edit_entry(this->handle, 2, 9, a.data()), -1009);
    EXPECT_EQ(this->query_entry(this->handle, 2, 0, &read), -1009);
    for (const std::int64_t code : {1, 3, 4, 6, 17}) {
        EXPECT_EQ(this->edit_entry(this->handle, code, 0, a.data()), -1019);
        EXPECT_EQ(this->query_entry(this->handle, code, 0, &read), -1019);
    }
}

TYPED_TEST(FittingTask, SplineParametersAreSetUpToTheRefusedOne) {
    using T = TypeParam;
    T bc[2], ic[2], c[40];
    const struct {
        std::int64_t order, type, bc_type;
        T *bc;
        std::int64_t ic_type;
        T *ic, *c;
        std::int64_t hint, ny;
        std::int32_t status;
        int stored; // 1: order and type, 2: boundary conditions, 3: internal conditions, 4: coefficients
    } calls[] = {
        {-1, -1, 5, nullptr, 1, nullptr, c, 0x80, 0, -1010, 0},
        {4, -1, 5, nullptr, 1, nullptr, c, 0x80, 0, -1011, 0},
        {4, 2, 5, nullptr, 1, nullptr, c, 0x80, 0, -1015, 1},
        {4, 2, 5, bc, 1, nullptr, c, 0x80, 0, -1013, 2},
        {4, 2, 64, nullptr, 0, ic, c, 0x80, 0, -1012, 2},
        {4, 2, 2, nullptr, 1, ic, c, 0x80, 0, -1007, 3},
        {4, 2, -7, bc, 0, nullptr, c, 0x33, 2, 0, 4},
        {2, 7, 3, bc, 9, ic, nullptr, 0x10, 0, 0, 4},
    };
    for (const auto &call : calls) {
        ASSERT_EQ(
            this->create_new(4, this->points.data(), 4, call.ny, call.ny ? this->values.data() : nullptr, 0),
            0);
        Task expected = this->task();
        EXPECT_EQ(this->edit_spline(this->handle, call.order, call.type, call.bc_type, call.bc, call.ic_type,
                                    call.ic, call.c, call.hint),
                  call.status);
        if (call.stored >= 1)
            expected.order = call.order, expected.type = call.type;
        if (call.stored >= 2)
            expected.bc_type = call.bc_type, expected.bc = call.bc;
        if (call.stored >= 3)
            expected.ic_type = call.ic_type, expected.ic = call.ic;
        if (call.stored >= 4)
            expected.coefficient_hint = call.hint, expected.coefficients = this->task().coefficients;
        EXPECT_TRUE(this->holds(expected)) << &call - calls;
        if (call.stored == 4 && call.c != nullptr) {
            EXPECT_EQ(this->task().coefficients[1], c + call.order * 3);
        }
    }
}

TYPED_TEST(FittingTask, MissingTaskOutputAndValidity) {
    using T = TypeParam;
    ASSERT_EQ(this->create_new(4, this->points.data(), 4, 2, this->values.data(), 0), 0);
    this->task().valid = 0;
    const Task before = this->task();
    T c[40];
    for (void *const task : {static_cast<void *>(nullptr), this->handle}) {
        const std::int32_t status = task == nullptr ? -1000 : 0;
        void *out = c;
        EXPECT_EQ(qor_df_kernel_iEditVal(task, 99, 1), status);
        EXPECT_EQ(qor_df_kernel_iQueryVal(task, 99, &out), status);
        EXPECT_EQ(this->edit_pointer(task, 99, nullptr), status);
        EXPECT_EQ(this->query_pointer(task, 99, &out), status);
        EXPECT_EQ(this->edit_entry(task, 99, 1, nullptr), status);
        EXPECT_EQ(this->query_entry(task, 99, 2, &out), status);
        EXPECT_EQ(this->query_entry(task, 99, 3, &out), task == nullptr ? -1000 : -1020);
        EXPECT_EQ(this->edit_spline(task, -1, 0, 0, nullptr, 0, nullptr, c, 0), status);
        EXPECT_EQ(out, c);
        EXPECT_EQ(qor_df_kernel_iQueryVal(task, 99, nullptr), task == nullptr ? -1000 : -1037);
        EXPECT_EQ(this->query_pointer(task, 99, nullptr), task == nullptr ? -1000 : -1037);
        EXPECT_EQ(this->query_entry(task, 99, -1, nullptr), task == nullptr ? -1000 : -1037);
    }
    EXPECT_TRUE(this->holds(before));
}

TYPED_TEST(FittingTask, MemoryFailure) {
    using T = TypeParam;
    for (std::uint64_t k = 1; k <= 3; ++k) { // record, values, bins
        qor_test_fail_allocation(k);
        EXPECT_EQ(this->create_new(4, this->points.data(), 1, 2, this->values.data(), 0), -1001) << k;
        EXPECT_EQ(this->handle != nullptr, k > 1);
        this->remove();
    }
    // Counts that no memory holds, one of them a multiple of the address space.
    for (const std::int64_t ny :
         {std::int64_t{-1}, std::int64_t{1} << 61, std::numeric_limits<std::int64_t>::min()})
        EXPECT_EQ(this->create_new(4, this->points.data(), 4, ny, this->values.data(), 0), -1001);

    T c[40];
    ASSERT_EQ(this->create_new(4, this->points.data(), 4, 2, this->values.data(), 0), 0);
    qor_df_kernel_iEditVal(this->handle, 16, std::int64_t{1} << 61);
    EXPECT_EQ(this->edit_pointer(this->handle, 2, c), -1001);
    EXPECT_EQ(this->edit_pointer(this->handle, 5, c), -1001);

    const auto edit = [&](int what) {
        return what == 0   ? this->edit_pointer(this->handle, 2, this->values.data())
               : what == 1 ? this->edit_pointer(this->handle, 5, c)
               : what == 2 ? qor_df_kernel_iEditVal(this->handle, 15, 1)
                           : this->edit_spline(this->handle, 2, 0, 0, nullptr, 0, nullptr, c, 0x10);
    };
    for (int what = 0; what < 4; ++what)
        for (const bool retry : {false, true}) {
            ASSERT_EQ(this->create_new(4, this->points.data(), 1, 2, this->values.data(), 0), 0);
            ASSERT_EQ(this->edit_pointer(this->handle, 5, c), 0);
            qor_test_fail_allocation(1);
            EXPECT_EQ(edit(what), -1001);
            EXPECT_EQ(qor_test_live_blocks(), 3u);
            EXPECT_EQ(this->task().coefficient_hint, 0);
            for (const std::int64_t code : {2, 5}) {
                const bool lost = code == 2 ? what == 0 : what % 2 == 1;
                void *read = &read;
                EXPECT_EQ(this->query_pointer(this->handle, code, &read), 0);
                EXPECT_EQ(read == nullptr, lost);
                EXPECT_EQ(this->query_entry(this->handle, code, 1, &read), 0);
                EXPECT_EQ(read == nullptr, lost);
                EXPECT_EQ(this->edit_entry(this->handle, code, 1, c), !lost ? 0 : code == 2 ? -1008 : -1016);
            }
            if (retry) {
                EXPECT_EQ(edit(what), 0);
            }
        }
}

} // namespace
