// How a report is served.
#include "vector_math/frame/report.h"

#include "core_interface/core.h"
#include "core_interface/system.h"
#include "vector_math/frame/thread_state.h"

#include <atomic>
#include <cstddef>
#include <cstring>

static_assert(offsetof(FynErrorContext, func_name) == 40 && offsetof(FynErrorContext, func_name_len) == 104 &&
              offsetof(FynErrorContext, a1_im) == 112 && sizeof(FynErrorContext) == 144);

namespace qor::fyn {
namespace {

constexpr std::uint32_t common_actions = 0x2F00; // IGNORE, ERRNO, STDERR, EXCEPT, NOERR

// x87 exception bits, as they stand in the control and the status word
enum X87Exception : std::uint16_t { invalid = 0x01, zero_divide = 0x04, overflow = 0x08, underflow = 0x10 };
constexpr std::uint16_t x87_all = 0x3F;

struct CodeRow {
    std::int32_t code;
    int errno_value;
    std::uint16_t exception;
    std::int32_t heading;
};
constexpr CodeRow code_rows[] = {
    {status_ok, 0, 0, 0},
    {status_bad_argument, 22, 0, message_bad_argument},
    {status_bad_pointer, 13, 0, message_bad_pointer},
    {status_domain, 33, invalid, message_domain},
    {status_singularity, 34, zero_divide, message_singularity},
    {status_overflow, 34, overflow, message_overflow},
    {status_underflow, 34, underflow, message_underflow},
};
constexpr CodeRow other_code{0, 14, 0, message_warning};

const CodeRow &row_of(std::int32_t code) {
    for (const CodeRow &row : code_rows)
        if (row.code == code)
            return row;
    return other_code;
}

// A race only repeats the same search.
std::atomic<bool> errno_searched = false;
std::atomic<system::ErrnoAccessor> errno_accessor = nullptr;

void set_errno(int value) {
    if (!errno_searched.load(std::memory_order_acquire)) {
        errno_accessor.store(system::find_errno_accessor(), std::memory_order_relaxed);
        errno_searched.store(true, std::memory_order_release);
    }
    if (const system::ErrnoAccessor accessor = errno_accessor.load(std::memory_order_relaxed))
        *accessor() = value;
}

void print_report(const CodeRow &row, const FynErrorContext &record) {
    if (row.heading == 0)
        return;
    void *stream = system::standard_error();
    qor_serv_print(stream, row.heading, record.func_name, 0.0);
    if (!has_values(record.code))
        return;
    // Consecutive messages, one a value.
    auto lines = [&](std::int32_t first, std::initializer_list<double> values) {
        for (double value : values)
            qor_serv_print(stream, first++, record.func_name, value);
    };
    const bool two_results = record.r2 != 0.0 && record.r2 != record.r1;
    if (record.a1 == record.a2 || record.a2 == 0.0) {
        if (two_results)
            lines(message_one_argument_two_results, {record.a1, record.r1, record.r2});
        else
            lines(message_one_argument, {record.a1, record.r1});
    } else if (two_results) {
        lines(message_two_arguments_two_results, {record.a1, record.a2, record.r1, record.r2});
    } else {
        lines(message_two_arguments, {record.a1, record.a2, record.r1});
    }
}

// Raises the code's flag in the caller's x87 status; with its trap enabled the processor delivers the
// exception to the thread at the second load.
void raise_exception(std::uint16_t exception, std::uint32_t mode) {
    struct Environment {
        std::uint16_t control, unused1, status, unused2, others[10];
    } saved;
    static_assert(sizeof(Environment) == 28);
    asm volatile("fnstenv %0" : "=m"(saved));
    std::uint16_t unmasked = 0;
    if (mode & FYN_TRAP_INVALID)
        unmasked |= invalid;
    if (mode & FYN_TRAP_DIVBYZERO)
        unmasked |= zero_divide;
    if (mode & FYN_TRAP_OVERFLOW)
        unmasked |= overflow;
    if (mode & FYN_TRAP_UNDERFLOW)
        unmasked |= underflow;
    Environment raised = saved;
    raised.control = static_cast<std::uint16_t>(raised.control & ~unmasked);
    raised.status = static_cast<std::uint16_t>((raised.status & ~x87_all) | exception);
    saved.control |= x87_all;
    saved.status |= exception;
    asm volatile("fldenv %0\n\tfldenv %1" : : "m"(raised), "m"(saved) : "memory");
}

void copy_name(const char *name, FynErrorContext &record) {
    constexpr std::size_t longest = 47;
    std::size_t length = 0;
    while (length < longest && name[length] != '\0')
        ++length;
    std::memcpy(record.func_name, name, length);
    record.func_name[length] = '\0';
    record.func_name_len = static_cast<std::int32_t>(length);
}

} // namespace

bool serve_report(std::int32_t code, std::int32_t i, const void *a, std::size_t element_bytes,
                  const char *name, FynErrorContext &record) {
    FynThreadState &state = thread_state();
    const std::uint32_t mode = thread_mode(state);
    if ((mode & error_field) == FYN_ERRMODE_NOERR)
        return false;
    state.status = code;
    if ((mode & error_field) == FYN_ERRMODE_IGNORE)
        return false;

    record.code = code;
    record.index = i;
    if (state.interf_input_vector != nullptr) {
        const auto bytes =
            reinterpret_cast<std::intptr_t>(a) - reinterpret_cast<std::intptr_t>(state.interf_input_vector);
        const std::intptr_t elements = bytes / static_cast<std::intptr_t>(element_bytes);
        record.index =
            static_cast<std::int32_t>(static_cast<std::uint32_t>(i) + static_cast<std::uint32_t>(elements));
    }
    copy_name(name, record);

    if ((mode & FYN_ERRMODE_CALLBACK) && state.callback != nullptr && state.callback(&record) != 0)
        return false;
    if (mode & common_actions) {
        const CodeRow &row = row_of(code);
        if (mode & FYN_ERRMODE_ERRNO)
            set_errno(row.errno_value);
        if (mode & FYN_ERRMODE_STDERR)
            print_report(row, record);
        if (mode & FYN_ERRMODE_EXCEPT)
            raise_exception(row.exception, mode);
    }
    return true;
}

} // namespace qor::fyn
