// What the distributions share: uniform numbers from a stream, and the bracket in which they call vector
// math.
//
// A generator that transforms uniform numbers works in blocks: one request to the stream, then whole-vector
// functions through their dispatch tables, all while the block is in the first-level cache. It sets the
// thread's vector-math mode to "callback only" and puts a callback of its own in place, which gives finite
// values for the logarithm of 0 and its like; both are put back on every path.
#pragma once

#include "qor_fyn.h"
#include "statistics/streams/registry.h"
#include "vector_math/frame/thread_state.h"

#include <algorithm>
#include <cstdint>

namespace qor::bex {

inline constexpr std::int32_t block = 1024;            // variates a block
inline constexpr std::int32_t accurate_flag = 1 << 30; // of a method: results stay in the support

// Uniform numbers on [a, b) from the stream's generator; its status.
std::int32_t uniform(Stream &stream, std::int32_t n, float *r, float a, float b);
std::int32_t uniform(Stream &stream, std::int32_t n, double *r, double a, double b);

// For the lifetime of an object: errors of vector math go to `callback` alone.
class VectorMathBracket {
  public:
    explicit VectorMathBracket(FynErrorCallBack callback)
        : state_(fyn::thread_state()), mode_(fyn::exchange_mode(state_, FYN_ERRMODE_CALLBACK)),
          callback_(fyn::exchange_callback(state_, callback)) {}
    ~VectorMathBracket() {
        fyn::exchange_callback(state_, callback_);
        fyn::exchange_mode(state_, mode_);
    }
    VectorMathBracket(const VectorMathBracket &) = delete;
    VectorMathBracket &operator=(const VectorMathBracket &) = delete;

  private:
    fyn::FynThreadState &state_;
    std::uint32_t mode_;
    FynErrorCallBack callback_;
};

// The dispatch tables of a vector-math function.
struct VectorFunction {
    void *const *single_precision, *const *double_precision;
};
#define QOR_FUNCTION(name, function)                                                                         \
    inline constexpr VectorFunction name{qor_fyn_kernel_s##function##_ttab,                                  \
                                         qor_fyn_kernel_d##function##_ttab};
QOR_FUNCTION(exponential, Exp)
QOR_FUNCTION(inverse_error_function, ErfInv)
QOR_FUNCTION(logarithm, Ln)
QOR_FUNCTION(power_of_scalar, Powx)
QOR_FUNCTION(sine, Sin)
QOR_FUNCTION(sine_and_cosine, SinCos)
QOR_FUNCTION(square_root, Sqrt)
QOR_FUNCTION(tangent, Tan)
#undef QOR_FUNCTION

// Calls the function over n elements with denormals kept: its low-accuracy kernel in single precision, the
// fastest in double precision. The rest is what follows the first vector: a scalar, results.
template <class T, class... Rest>
void apply(const VectorFunction &function, std::int32_t n, const T *a, Rest... rest) {
    using Kernel = void (*)(std::int32_t, const T *, Rest...);
    void *const kernel =
        sizeof(T) == sizeof(float) ? function.single_precision[0] : function.double_precision[2];
    fyn::FynThreadState &state = fyn::thread_state();
    const std::uint32_t mode = fyn::exchange_mode(state, FYN_DENORM_FLUSH_OFF);
    reinterpret_cast<Kernel>(kernel)(n, a, rest...);
    fyn::exchange_mode(state, mode);
}

// What stands for the logarithm of 0: that of the smallest positive number.
template <class T>
inline constexpr double log_of_zero = sizeof(T) == sizeof(float) ? -0x1.9d1dap+6 : -744.4400719213812;

// Callback of generators whose functions fail at a logarithm of 0 only. poles_only: other codes leave the
// result as it is.
template <class T, bool poles_only = false> std::int32_t replace_by_log_of_zero(FynErrorContext *context) {
    if (!poles_only || context->code == FYN_STATUS_SINGULARITY)
        context->r1 = context->r2 = log_of_zero<T>;
    return 0;
}

// Calls work(count, piece) for the pieces of r, each small enough to stay in the first-level cache.
template <class T, class Work> void in_pieces(std::int32_t n, T *r, const Work &work) {
    for (std::int32_t done = 0; done < n; done += std::min(n - done, block))
        work(std::min(n - done, block), r + done);
}

// work(i) for the elements of a piece; four registers a turn where the compiler puts it into vector code.
template <class Work> void each_element(std::int32_t n, const Work &work) {
#pragma GCC unroll 4
    for (std::int32_t i = 0; i < n; ++i)
        work(i);
}

// r = r beta + a, not below a where `accurate` asks for it.
template <class T> void scale_and_shift(std::int32_t n, T *r, T beta, T a, bool accurate = false) {
    if (accurate)
        each_element(n, [=](std::int32_t i) { r[i] = std::max(a, r[i] * beta + a); });
    else
        each_element(n, [=](std::int32_t i) { r[i] = r[i] * beta + a; });
}

} // namespace qor::bex
