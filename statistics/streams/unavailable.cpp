// Entries of the generators that this version of the library does not have. Delete a generator's line when
// its own file is written.
//
// All output entries are names of one routine: it looks at no argument, so one serves every signature.
#include "statistics/streams/stream.h"

#pragma GCC diagnostic ignored "-Wattribute-alias"

using namespace qor::bex;

extern "C" {

std::int32_t qor_bex_not_available() { return status_not_available; }
std::int32_t qor_bex_no_such_output() { return status_no_such_output; }

#define QOR_ALIAS(name, routine) decltype(name) name __attribute__((alias(#routine)));

// Statuses by method: what a generator will never support it refuses already as it always will.
#define QOR_REFUSING_INIT(name, leapfrog_status, skip_status, extended_status)                               \
    std::int32_t __bexBRng##name##InitStream(std::int32_t method, void *, std::int32_t, const void *) {      \
        constexpr std::int32_t by_method[] = {status_not_available, leapfrog_status, skip_status,            \
                                              extended_status};                                              \
        return method < initialise || method > skip_ahead_extended ? status_bad_method : by_method[method];  \
    }
#define QOR_UNAVAILABLE(name, leapfrog_status, skip_status, extended_status)                                 \
    QOR_REFUSING_INIT(name, leapfrog_status, skip_status, extended_status)                                   \
    QOR_ALIAS(__bexsBRng##name, qor_bex_not_available)                                                       \
    QOR_ALIAS(__bexdBRng##name, qor_bex_not_available)                                                       \
    QOR_ALIAS(__bexiBRng##name, qor_bex_not_available)

// clang-format off
QOR_UNAVAILABLE(Sobol,         status_not_available, status_not_available, status_no_skip_ahead_extended)
QOR_UNAVAILABLE(Niederr,       status_not_available, status_not_available, status_no_skip_ahead_extended)
QOR_UNAVAILABLE(MT2203,        status_no_leapfrog,   status_no_skip_ahead, status_no_skip_ahead_extended)
QOR_UNAVAILABLE(SFMT19937,     status_no_leapfrog,   status_not_available, status_no_skip_ahead_extended)
QOR_UNAVAILABLE(TRNG,          status_no_leapfrog,   status_no_skip_ahead, status_no_skip_ahead_extended)
QOR_UNAVAILABLE(ARS5,          status_no_leapfrog,   status_not_available, status_not_available)
QOR_UNAVAILABLE(PHILOX4X32X10, status_no_leapfrog,   status_not_available, status_not_available)
// clang-format on

// The abstract generators yield numbers of one type only; that one output is still to come.
#define QOR_ABSTRACT(name, own, other, another)                                                              \
    QOR_REFUSING_INIT(name, status_no_leapfrog, status_no_skip_ahead, status_no_skip_ahead_extended)         \
    QOR_ALIAS(own, qor_bex_not_available)                                                                    \
    QOR_ALIAS(other, qor_bex_no_such_output)                                                                 \
    QOR_ALIAS(another, qor_bex_no_such_output)
QOR_ABSTRACT(iAbstract, __bexiBRngiAbstract, __bexsBRngiAbstract, __bexdBRngiAbstract)
QOR_ABSTRACT(dAbstract, __bexdBRngdAbstract, __bexsBRngdAbstract, __bexiBRngdAbstract)
QOR_ABSTRACT(sAbstract, __bexsBRngsAbstract, __bexdBRngsAbstract, __bexiBRngsAbstract)

} // extern "C"
