// Thread records and reporting routines over a system of the test's own, whose services can fail, and the
// substitute core library, which records messages and locks.
#include "core_interface/core.h"
#include "core_interface/system.h"
#include "substitute_core/control.h"
#include "vector_math/frame/report.h"
#include "vector_math/frame/thread_state.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <vector>

namespace {

struct FakeSystem {
    bool index_fails = false, heap_fails = false, block_fails = false, value_fails = false;
    void *value = nullptr;
    int indexes = 0, heaps = 0, blocks = 0;
} fake;

} // namespace

namespace qor::system {

bool thread_index_create(ThreadIndex *index) {
    return !fake.index_fails && (*index = 5, ++fake.indexes, true);
}
void thread_index_free(ThreadIndex) { --fake.indexes; }
void *thread_value(ThreadIndex) { return fake.value; }
bool set_thread_value(ThreadIndex, void *value) { return !fake.value_fails && (fake.value = value, true); }
PrivateHeap *heap_create(std::size_t) {
    return fake.heap_fails ? nullptr : (++fake.heaps, reinterpret_cast<PrivateHeap *>(&fake));
}
void *heap_allocate(PrivateHeap *, std::size_t bytes) {
    return fake.block_fails ? nullptr : (++fake.blocks, std::malloc(bytes));
}
void heap_free(PrivateHeap *, void *block) {
    --fake.blocks;
    std::free(block);
}
void heap_destroy(PrivateHeap *) { --fake.heaps; }
ErrnoAccessor find_errno_accessor() {
    return [] { return &errno; };
}

} // namespace qor::system

namespace {

using namespace qor::fyn;

struct RecordTest : testing::Test {
    void SetUp() override {
        fake = {};
        qor_test_reset();
    }
    void TearDown() override {
        fake.value_fails = false;
        qor::system::library_unloaded();
        EXPECT_EQ(fake.indexes, 0);
        EXPECT_EQ(fake.heaps, 0);
        EXPECT_EQ(fake.blocks, 0);
        EXPECT_EQ(qor_test_locks_held(), 0u);
        EXPECT_EQ(qor_test_lock_errors(), 0u);
    }
};

std::vector<int> messages() {
    std::vector<int> numbers;
    for (std::uint64_t i = 0; i < qor_test_message_count(); ++i)
        numbers.push_back(qor_test_message_number(i));
    return numbers;
}

TEST_F(RecordTest, WithoutARecordTheProcessEnds) {
    for (bool FakeSystem::*failure : {&FakeSystem::index_fails, &FakeSystem::heap_fails,
                                      &FakeSystem::block_fails, &FakeSystem::value_fails}) {
        fake.*failure = true;
        EXPECT_FALSE(qor::system::library_attached());
        EXPECT_EQ(messages(), std::vector<int>{773});
        EXPECT_EXIT(qor_fyn_kernel_GetMode(), testing::ExitedWithCode(3), "");
        fake.*failure = false;
        EXPECT_EQ(qor_fyn_kernel_GetMode(), 0x1A02u); // a later try succeeds
        qor::system::library_unloaded();
        fake = {};
        qor_test_reset();
    }
}

TEST_F(RecordTest, LifeFollowsTheNotifications) {
    EXPECT_TRUE(qor::system::library_attached());
    EXPECT_EQ(fake.blocks, 1);
    void *first = fake.value;
    fake.value = nullptr; // another thread
    qor_fyn_kernel_SetErrStatus(3);
    EXPECT_EQ(fake.blocks, 2);
    EXPECT_EQ(fake.indexes, 1);
    EXPECT_EQ(fake.heaps, 1);
    qor::system::thread_detached(fake.value);
    fake.value = first;
    EXPECT_EQ(qor_fyn_kernel_GetErrStatus(), 0);
    EXPECT_EQ(qor_test_lock_count(qor::thread_index_lock), 1u);
    EXPECT_EQ(qor_test_lock_count(qor::record_heap_lock), 1u);
}

TEST_F(RecordTest, EnvironmentIsReadUnderItsLock) {
    qor_test_environment(QOR_TEST_ENVIRONMENT_SET, "FYN_EP");
    EXPECT_EQ(qor_fyn_kernel_GetMode(), 0x1A03u);
    EXPECT_EQ(qor_test_locks_held_at_read(), 1u << qor::environment_lock);
    EXPECT_EQ(qor_test_environment_reads(), 1u);
    qor_fyn_kernel_GetMode();
    EXPECT_EQ(qor_test_environment_reads(), 1u);
    qor::system::library_unloaded();
    qor_test_environment(QOR_TEST_ENVIRONMENT_FAILS, nullptr);
    EXPECT_EQ(qor_fyn_kernel_GetMode(), 0x1A02u);
}

// Headings and value lines by code, number of arguments and of results.
TEST_F(RecordTest, StandardErrorLines) {
    qor_fyn_kernel_SetMode(FYN_ERRMODE_STDERR);
    const struct {
        int code;
        double a1, a2, r1, r2;
        std::vector<int> numbers;
    } cases[] = {
        {-1, 1, 1, 1, 1, {748}},
        {-2, 1, 1, 1, 1, {749}},
        {1, 5, 5, 6, 6, {750, 755, 756}},
        {2, 5, 0, 6, 6, {751, 755, 756}},
        {3, 5, 5, 6, 7, {752, 757, 758, 759}},
        {4, 5, 5, 6, 0, {753, 755, 756}},
        {9, 5, 4, 6, 6, {754, 760, 761, 762}},
        {1, 5, 4, 6, 7, {750, 763, 764, 765, 766}},
        {0, 5, 4, 6, 7, {}},
    };
    for (const auto &c : cases) {
        qor_test_reset();
        double a1 = c.a1, a2 = c.a2, r1 = c.r1, r2 = c.r2;
        report_element(c.code, 0, &a1, &a2, &r1, &r2, "vdTest");
        EXPECT_EQ(messages(), c.numbers) << c.code;
        EXPECT_EQ(qor_fyn_kernel_GetErrStatus(), c.code);
        if (qor_test_message_count() > 2) {
            EXPECT_STREQ(qor_test_message_text(0), "vdTest");
            EXPECT_EQ(qor_test_message_value(1), c.a1);
            const bool second_result = c.numbers.back() == 759 || c.numbers.back() == 766;
            EXPECT_EQ(qor_test_message_value(qor_test_message_count() - 1), second_result ? c.r2 : c.r1)
                << c.code;
        }
    }
}

FynErrorContext last;
std::int32_t keep_and_replace(FynErrorContext *context) {
    last = *context;
    context->r1 = 10;
    context->r2 = 20;
    context->r1_im = 11;
    context->r2_im = 21;
    return 0;
}

// One text for the element types and forms: values, widths, write-back order.
template <class T>
void check_pointer_forms(double (*real)(T), double (*imaginary)(T), T (*make)(double, double)) {
    T a[4] = {make(1, -1), make(2, -2), make(3, -3), make(4, -4)},
      b[4] = {make(5, -5), make(6, -6), make(7, -7), make(8, -8)};
    T r1[4] = {}, r2[4] = {};
    for (bool strided : {false, true}) {
        const int i = strided ? 1 : 2;
        if (strided)
            report_element(1, i, a, 3, b, 2, r1, 1, r2, 0, "strided");
        else
            report_element(1, i, a, b, r1, r2, "plain");
        EXPECT_EQ(last.index, i);
        EXPECT_EQ(last.a1, real(a[strided ? 3 : 2]));
        EXPECT_EQ(last.a2, real(b[2]));
        EXPECT_EQ(last.a1_im, imaginary(a[strided ? 3 : 2]));
        EXPECT_EQ(last.a2_im, imaginary(b[2]));
        EXPECT_EQ(real(r1[i]), 10);
        EXPECT_EQ(real(r2[strided ? 0 : 2]), 20);
        if (imaginary(make(0, 1)) != 0) {
            EXPECT_EQ(imaginary(r1[i]), 11);
            EXPECT_EQ(imaginary(r2[strided ? 0 : 2]), 21);
        }
    }
    T same = make(0, 0); // one result under two pointers: r1 stays
    report_element(1, 0, a, a, &same, &same, "one");
    EXPECT_EQ(real(same), 10);
    qor_fyn_kernel_SetInterfInputVectorPointer(a);
    report_element(1, 1, a + 2, a + 2, r1, r1, "offset");
    EXPECT_EQ(last.index, 3);
    qor_fyn_kernel_SetInterfInputVectorPointer(nullptr);
    report_element<T>(-2, 7, nullptr, nullptr, nullptr, nullptr, "no element is touched");
    EXPECT_EQ(last.code, -2);
}

TEST_F(RecordTest, PointerForms) {
    qor_fyn_kernel_SetErrorCallBack(keep_and_replace);
    qor_fyn_kernel_SetMode(FYN_ERRMODE_CALLBACK);
    check_pointer_forms<float>([](float x) { return double{x}; }, [](float) { return 0.0; },
                               [](double re, double) { return static_cast<float>(re); });
    check_pointer_forms<double>([](double x) { return x; }, [](double) { return 0.0; },
                                [](double re, double) { return re; });
    check_pointer_forms<Complex<float>>(
        [](Complex<float> x) { return double{x.re}; }, [](Complex<float> x) { return double{x.im}; },
        [](double re, double im) {
            return Complex<float>{static_cast<float>(re), static_cast<float>(im)};
        });
    check_pointer_forms<Complex<double>>([](Complex<double> x) { return x.re; },
                                         [](Complex<double> x) { return x.im; },
                                         [](double re, double im) {
                                             return Complex<double>{re, im};
                                         });
    double x = 0;
    const std::string long_name(60, 'n');
    report_element(1, 0, &x, &x, &x, &x, long_name.c_str());
    EXPECT_EQ(last.func_name_len, 47);
    EXPECT_EQ(last.func_name, long_name.substr(0, 47));
}

} // namespace
