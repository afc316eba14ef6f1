// Mode word, status, callback, reports and the floating-point environment, through the exported services.
#include "support/functions.h"

#include "qor_fyn.h"

#include <cerrno>
#include <cfenv>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <thread>
#include <vector>

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
const double pole = 0.0; // ln 0 is a pole, ln -1 outside the domain

// Runs in a thread of its own: a fresh record, the environment as given.
template <class Body> void on_fresh_thread(const char *environment, Body body) {
    test::set_environment_variable("QOR_FYN_MODE", environment);
    std::thread(body).join();
    test::set_environment_variable("QOR_FYN_MODE", nullptr);
}

std::vector<FynErrorContext> seen;
double replacement = 7;
int32_t verdict = 0;
int32_t record_call(FynErrorContext *context) {
    seen.push_back(*context);
    context->r1 = replacement;
    return verdict;
}

struct StateTest : testing::Test {
    void SetUp() override {
        seen.clear();
        replacement = 7;
        verdict = 0;
        old = _fynSetMode(FYN_HA | FYN_ERRMODE_DEFAULT | FYN_DENORM_FLUSH_OFF);
        _fynClearErrStatus();
        _fynSetInterfInputVectorPointer(nullptr);
    }
    void TearDown() override {
        _fynClearErrorCallBack();
        _fynSetMode(old);
    }
    std::uint32_t old;
};

TEST_F(StateTest, FirstModeComesFromTheEnvironment) {
    std::string long_value = "FYN_LA";
    while (long_value.size() + 7 <= 255)
        long_value += ",FYN_LA";
    const std::string too_long = long_value + ",FYN_LA,FYN_LA";
    const struct {
        const char *value;
        std::uint32_t mode;
    } cases[] = {
        {nullptr, 0x1A02},
        {"", 0x1A02},
        {"FYN_EP,FYN_ERRMODE_ERRNO", 0x203},
        {"FYN_LA", 0x1A01},
        {"FYN_ERRMODE_IGNORE", 0x102},
        {"FYN_EP;FYN_LA", 0x1A02},
        {"FYN_EP, FYN_LA", 0x1A02},
        {"FYN_EP,", 0x1A02},
        {"FYN_EP,,FYN_LA", 0x1A02},
        {",FYN_EP", 0x1A02},
        {"fyn_ep", 0x1A02},
        {"FYN_", 0x1A02},
        {"FYN_LAX", 0x1A02},
        {"FYN_DOUBLE_CONSISTENT", 0x1A02},
        {"FYN_DOUBLE_CONSISTEN", 0x1A22},
        {"FYN_FLOAT_CONSISTENT,FYN_DOUBLE_CONSISTEN", 0x1A32},
        {"FYN_RESTORE,FYN_DEFAULT_PRECISION", 0x1A32},
        {"FYN_LA,FYN_HA,FYN_ERRMODE_NOERR,FYN_ERRMODE_STDERR", 0x2403},
        {"FYN_TRAP_INVALID,FYN_TRAP_DIVBYZERO,FYN_TRAP_OVERFLOW,FYN_TRAP_UNDERFLOW", 0xF001A02},
        {"FYN_ERRMODE_DEFAULT,FYN_ERRMODE_EXCEPT,FYN_ERRMODE_CALLBACK,FYN_EP", 0x1A03},
        {"FYN_DENORM_FLUSH_ON", 0x1A02},
        {long_value.c_str(), 0x1A01},
        {too_long.c_str(), 0x1A02},
    };
    for (const auto &c : cases)
        on_fresh_thread(c.value, [&] { EXPECT_EQ(_fynGetMode(), c.mode) << (c.value ? c.value : "unset"); });
    // The slot service and a kernel initialise the mode as well.
    on_fresh_thread("FYN_EP", [] { EXPECT_EQ(qor_fyn_kernel_GetTTableIndex(), 2u); });
}

TEST_F(StateTest, SetModeMergesFieldByField) {
    const struct {
        std::uint32_t given, expected;
    } steps[] = {
        {0x800, 0x802},          {0, 0x802},
        {0x10, 0x802},           {0x1, 0x801},
        {0x280000, 0x280801},    {0x140000, 0x140801},
        {0x30000, 0x170801},     {0x10000, 0x150801},
        {0x5000000, 0x5150801},  {0x2000000, 0x2150801},
        {0xF0C000F0, 0x2150801}, {0x1A02, 0x2151A02},
    };
    on_fresh_thread(nullptr, [&] {
        std::uint32_t before = 0x1A02;
        for (const auto &step : steps) {
            EXPECT_EQ(_fynSetMode(step.given), before) << std::hex << step.given;
            EXPECT_EQ(_fynGetMode(), step.expected) << std::hex << step.given;
            before = step.expected;
        }
    });
}

TEST_F(StateTest, StatusAndCallbackServices) {
    on_fresh_thread(nullptr, [] {
        EXPECT_EQ(_fynSetErrStatus(5), 0);
        EXPECT_EQ(_fynGetErrStatus(), 5);
        EXPECT_EQ(_fynClearErrStatus(), 5);
        EXPECT_EQ(_fynGetErrStatus(), 0);
        EXPECT_EQ(_fynSetErrorCallBack(record_call), nullptr);
        EXPECT_EQ(_fynGetErrorCallBack(), record_call);
        EXPECT_EQ(_fynClearErrorCallBack(), record_call);
        EXPECT_EQ(_fynGetMode(), 0xA02u);
        // As the only bit of the field the callback's bit cannot be taken away.
        _fynSetMode(FYN_ERRMODE_CALLBACK);
        _fynSetErrorCallBack(record_call);
        EXPECT_EQ(_fynSetErrorCallBack(nullptr), record_call);
        EXPECT_EQ(_fynGetMode(), 0x1002u);
        _fynSetMode(FYN_ERRMODE_ERRNO);
        _fynSetErrorCallBack(record_call);
        EXPECT_EQ(_fynGetMode(), 0x1202u);
        int x;
        EXPECT_EQ(_fynSetInterfInputVectorPointer(&x), &x);
    });
    // A setting on one thread is not seen on another.
    std::thread([] { _fynSetErrStatus(99), _fynSetMode(FYN_EP); }).join();
    EXPECT_EQ(_fynGetErrStatus(), 0);
    EXPECT_EQ(_fynGetMode() & 0xF, FYN_HA);
}

TEST_F(StateTest, ErrorModesDecideWhatAReportDoes) {
    const struct {
        std::uint32_t mode;
        int status;
        std::size_t calls;
        int errno_value;
        bool flag;
        double result;
    } cases[] = {
        {FYN_ERRMODE_NOERR, 0, 0, 0, false, -inf},
        {FYN_ERRMODE_IGNORE, 2, 0, 0, false, -inf},
        {FYN_ERRMODE_ERRNO, 2, 0, 34, false, -inf},
        {FYN_ERRMODE_EXCEPT, 2, 0, 0, true, -inf},
        {FYN_ERRMODE_CALLBACK, 2, 1, 0, false, 7},
        {FYN_ERRMODE_DEFAULT, 2, 1, 34, true, 7},
        {FYN_ERRMODE_NOERR | FYN_ERRMODE_CALLBACK, 2, 1, 0, false, 7},
        {FYN_ERRMODE_IGNORE | FYN_ERRMODE_ERRNO, 2, 0, 34, false, -inf},
    };
    _fynSetErrorCallBack(record_call);
    for (const auto &c : cases) {
        for (int32_t answer : {0, 1}) {
            verdict = answer;
            const bool stopped = answer && c.calls;
            seen.clear();
            _fynClearErrStatus();
            _fynSetMode(c.mode);
            errno = 0;
            asm volatile("fnclex");
            double r = 0;
            _fyndLn(1, &pole, &r);
            std::uint16_t x87_status;
            asm volatile("fnstsw %0" : "=m"(x87_status));
            asm volatile("fnclex");
            EXPECT_EQ(_fynGetErrStatus(), c.status) << std::hex << c.mode;
            EXPECT_EQ(seen.size(), c.calls) << std::hex << c.mode;
            EXPECT_EQ(errno, stopped ? 0 : c.errno_value) << std::hex << c.mode;
            EXPECT_EQ((x87_status & 4) != 0, c.flag && !stopped) << std::hex << c.mode;
            EXPECT_EQ(r, stopped ? -inf : c.result) << std::hex << c.mode;
        }
    }
}

// With its trap on, an exception reaches the thread; with another trap on it only leaves its flag.
TEST_F(StateTest, TrapsDeliverTheirException) {
    const struct {
        std::uint32_t trap;
        double argument;
        void (*entry)(std::int32_t, const double *, double *);
    } cases[] = {
        {FYN_TRAP_INVALID, -1, _fyndLn},
        {FYN_TRAP_DIVBYZERO, 0, _fyndLn},
        {FYN_TRAP_OVERFLOW, 1000, _fyndExp},
        {FYN_TRAP_UNDERFLOW, -1000, _fyndExp},
    };
    // A thread of its own: traps that are on can be exchanged but not switched off.
    on_fresh_thread(nullptr, [&] {
        for (const auto &c : cases) {
            double r;
            _fynSetMode(FYN_ERRMODE_EXCEPT | (0x0F000000u & ~c.trap));
            c.entry(1, &c.argument, &r);
            EXPECT_DEATH((_fynSetMode(c.trap), c.entry(1, &c.argument, &r)), "") << std::hex << c.trap;
        }
    });
}

TEST_F(StateTest, CallbackRecordAndPositions) {
    _fynSetErrorCallBack(record_call);
    std::vector<double> a(200, 1.0), r(200);
    a[103] = -2.5;
    _fynSetInterfInputVectorPointer(a.data());
    _fyndLn(50, a.data() + 100, r.data());
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].code, 1);
    EXPECT_EQ(seen[0].index, 103);
    EXPECT_EQ(seen[0].a1, -2.5);
    EXPECT_EQ(seen[0].a2, -2.5);
    EXPECT_TRUE(std::isnan(seen[0].r1) && std::isnan(seen[0].r2));
    EXPECT_STREQ(seen[0].func_name, "vdLn");
    EXPECT_EQ(seen[0].func_name_len, 4);
    EXPECT_EQ(r[3], 7);
    _fynSetInterfInputVectorPointer(nullptr);

    // Two arguments, in place, strided, single: arguments as they were before the element was stored.
    seen.clear();
    float b[6] = {8, 0, 3, 0, 1, 0}, c[3] = {1, 0, 2};
    _fynsDivI(3, b + 4, -2, c, 1, b + 4, -2);
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].index, 1);
    EXPECT_EQ(seen[0].a1, 3);
    EXPECT_EQ(seen[0].a2, 0);
    EXPECT_EQ(seen[0].r1, inf);
    EXPECT_STREQ(seen[0].func_name, "vsDiv");
    EXPECT_EQ(b[2], 7);

    seen.clear();
    FynComplex16 z = {0, 0}, w = {0, 0};
    _fynzLn(1, &z, &w);
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_STREQ(seen[0].func_name, "vzLn");
    EXPECT_EQ(seen[0].code, 2);
    EXPECT_EQ(w.re, 7);
    EXPECT_EQ(seen[0].r1_im, w.im);
}

// The callback may call every service, and kernels too.
int32_t nested(FynErrorContext *) {
    const std::uint32_t old = _fynSetMode(FYN_ERRMODE_IGNORE);
    double r;
    _fyndLn(1, &pole, &r);
    _fynSetMode(old);
    _fynSetErrStatus(42);
    return 1;
}
TEST_F(StateTest, CallbackMayCallServices) {
    _fynSetErrorCallBack(nested);
    double r;
    _fyndLn(1, &pole, &r);
    EXPECT_EQ(_fynGetErrStatus(), 42);
    EXPECT_EQ(_fynGetErrorCallBack(), nested);
}

TEST_F(StateTest, NothingHappensForNoElements) {
    _fynSetErrorCallBack(record_call);
    for (const auto &row : test::function_rows())
        for (std::int32_t n : {0, -1, std::numeric_limits<std::int32_t>::min()})
            if (!row.is_pack() && !row.is("lin")) {
                const double scalar[2] = {1, 1};
                test::call(row, 1, n, nullptr, 1, scalar, 1, nullptr, 1, nullptr, 1);
            }
    EXPECT_TRUE(seen.empty());
    EXPECT_EQ(_fynGetErrStatus(), 0);
}

// Control words of both units come back, whatever they were; flags of the work stay, others too.
TEST_F(StateTest, FloatingPointEnvironmentComesBack) {
    _fynSetMode(FYN_ERRMODE_NOERR);
    const double arguments[4] = {0.5, 0.25, 0.75, 1};
    const std::uint16_t x87_words[] = {0x37F, 0x27F, 0x07F, 0xC7F, 0x372};
    const std::uint32_t sse_words[] = {0x1F80, 0x9FC0, 0x7F80, 0x3F80, 0x1F81, 0x1E80};
    for (const auto &row : test::function_rows()) {
        if (row.is_pack() || row.is("lin"))
            continue;
        for (std::uint16_t x87 : x87_words)
            for (std::uint32_t sse : sse_words) {
                double r1[4], r2[4];
                std::uint16_t x87_after;
                std::uint32_t sse_after;
                std::uint16_t x87_default = 0x37F;
                std::uint32_t sse_default = 0x1F80;
                asm volatile("fldcw %0\n\tldmxcsr %1" : : "m"(x87), "m"(sse));
                test::call(row, 1, 1, arguments, 1, arguments, 1, r1, 1, r2, 1);
                asm volatile("fnstcw %0\n\tstmxcsr %1" : "=m"(x87_after), "=m"(sse_after));
                asm volatile("fnclex\n\tfldcw %0\n\tldmxcsr %1" : : "m"(x87_default), "m"(sse_default));
                ASSERT_EQ(x87_after, x87) << row.stem();
                ASSERT_EQ(sse_after & ~0x3Fu, sse & ~0x3Fu) << row.stem();
                ASSERT_EQ(sse_after & sse & 0x3F, sse & 0x3F) << row.stem();
            }
    }
}

TEST_F(StateTest, DenormalsFollowTheMode) {
    const double tiny = -710;
    for (std::uint32_t flush : {FYN_DENORM_FLUSH_OFF, FYN_DENORM_FLUSH_ON, FYN_DENORM_FLUSH_OFF}) {
        _fynSetMode(FYN_ERRMODE_IGNORE | flush);
        double r = -1;
        _fyndExp(1, &tiny, &r);
        EXPECT_EQ(r > 0, flush == FYN_DENORM_FLUSH_OFF);
    }
}

} // namespace
