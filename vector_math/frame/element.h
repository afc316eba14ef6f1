// What a function of one element looks like: the contract between the functions in kernels/ and the
// frames that run them over vectors.
//
// A function is a struct with one static member, a template or overload set over the element type:
//
//   struct Cbrt {
//       template <class T> static Status eval(T x, T &r) noexcept;          // one in, one out
//   };
//   two in, one out       Status eval(T x, T y, T &r)        (a vector and a scalar: y is the scalar)
//   one in, two out       Status eval(T x, T &r1, T &r2)
//   complex               Complex<T> in the place of T where the function takes or gives one
//   linear fraction       Status eval(T a, T b, T scale_a, T shift_a, T scale_b, T shift_b, T &r)
//
// eval writes every result and returns a status; it never touches errno, mode or control words. It runs
// with round to nearest and all exceptions masked unless the struct names another guard (see guard.h):
//   static constexpr X87Guard x87_guard = X87Guard::extended;    // uses long double
//   static constexpr SseGuard sse_guard = SseGuard::masks_only;  // keeps the caller's rounding
//   template <class T> static constexpr SseGuard sse_guard_for;  // where it depends on the element type
#pragma once

#include <cstdint>

namespace qor::fyn {

template <class T> struct Complex { T re, im; };

enum Status : std::int32_t {
    status_ok = 0,
    status_bad_argument = -1,
    status_bad_pointer = -2,
    status_domain = 1,      // argument outside the function's domain
    status_singularity = 2, // pole: an infinite result from a finite argument, exactly
    status_overflow = 3,    // result too large: finite arguments, infinite result
    status_underflow = 4,   // result too small: subnormal or zero though not exactly so
};

// Which of a table's three kernels: for functions that have more than one.
enum class Accuracy { low, high, enhanced_performance };

enum class X87Guard { masks_only, double_precision, extended };
// masks_only: rounding and flushing stay the caller's. mode_driven: round to nearest, denormals flushed
// when the thread's mode says so. silent: the default environment, and no flag of the work survives; quiet:
// the same in the caller's rounding and flushing.
enum class SseGuard { masks_only, mode_driven, silent, quiet };

} // namespace qor::fyn
