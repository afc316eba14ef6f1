// Continuous variates by one closed-form transform of uniform numbers (L. Devroye, "Non-Uniform Random
// Variate Generation", 1986, chapter 2): Exponential, Gumbel, Cauchy, Rayleigh, Weibull, Laplace.
#include "qor_bex_distributions.h"
#include "statistics/distributions/frame.h"

namespace qor::bex {

namespace {

// One request for n uniform numbers on [0, 1), then `transform` over the pieces of r.
template <class T, class Transform>
std::int32_t transformed(FynErrorCallBack callback, void *stream, std::int32_t n, T *r,
                         const Transform &transform) {
    const VectorMathBracket bracket(callback);
    const std::int32_t status = uniform(*static_cast<Stream *>(stream), n, r, T(0), T(1));
    if (status >= 0)
        in_pieces(n, r, transform);
    return status;
}

template <class T> void negate(std::int32_t n, T *r) {
    each_element(n, [=](std::int32_t i) { r[i] = -r[i]; });
}

template <class T>
std::int32_t exponential_variates(std::int32_t method, void *stream, std::int32_t n, T *r, T a, T beta) {
    const bool accurate = (method & accurate_flag) != 0;
    return transformed(replace_by_log_of_zero<T>, stream, n, r, [=](std::int32_t count, T *piece) {
        apply(logarithm, count, piece, piece);
        scale_and_shift(count, piece, -beta, a, accurate);
    });
}

// The logarithm of standard exponential variates.
template <class T> std::int32_t gumbel_variates(void *stream, std::int32_t n, T *r, T a, T beta) {
    return transformed(replace_by_log_of_zero<T>, stream, n, r, [=](std::int32_t count, T *piece) {
        apply(logarithm, count, piece, piece);
        scale_and_shift(count, piece, T(-1), T(0));
        apply(logarithm, count, piece, piece);
        scale_and_shift(count, piece, beta, a);
    });
}

template <class T>
std::int32_t rayleigh_variates(std::int32_t method, void *stream, std::int32_t n, T *r, T a, T beta) {
    const bool accurate = (method & accurate_flag) != 0;
    return transformed(replace_by_log_of_zero<T, true>, stream, n, r, [=](std::int32_t count, T *piece) {
        apply(logarithm, count, piece, piece);
        negate(count, piece);
        apply(square_root, count, piece, piece);
        scale_and_shift(count, piece, beta, a, accurate);
    });
}

template <class T>
std::int32_t weibull_variates(std::int32_t method, void *stream, std::int32_t n, T *r, T alpha, T a, T beta) {
    const bool accurate = (method & accurate_flag) != 0;
    const T exponent = T(1) / alpha;
    return transformed(replace_by_log_of_zero<T, true>, stream, n, r, [=](std::int32_t count, T *piece) {
        apply(logarithm, count, piece, piece);
        negate(count, piece);
        if (alpha != T(1))
            apply(power_of_scalar, count, piece, exponent, piece);
        scale_and_shift(count, piece, beta, a, accurate);
    });
}

// The tangent of angles inside a half turn: nothing fails, so there is no bracket.
template <class T> std::int32_t cauchy_variates(void *stream, std::int32_t n, T *r, T a, T beta) {
    constexpr T half_pi = T(1.5707963267948966);
    const std::int32_t status = uniform(*static_cast<Stream *>(stream), n, r, -half_pi, half_pi);
    if (status >= 0)
        in_pieces(n, r, [=](std::int32_t count, T *piece) {
            apply(tangent, count, piece, piece);
            scale_and_shift(count, piece, beta, a);
        });
    return status;
}

// An exponential variate to one side of a or to the other, as a second uniform number says.
template <class T> std::int32_t laplace_variates(void *stream, std::int32_t n, T *r, T a, T beta) {
    const VectorMathBracket bracket(replace_by_log_of_zero<T>);
    T uniforms[2 * block];
    std::int32_t status = status_ok;
    for (std::int32_t done = 0; done < n;) {
        const std::int32_t count = std::min(n - done, block);
        status = uniform(*static_cast<Stream *>(stream), 2 * count, uniforms, T(0), T(1));
        if (status < 0)
            return status;
        T *const piece = r + done;
        each_element(count, [&](std::int32_t i) { piece[i] = uniforms[2 * i]; });
        apply(logarithm, count, piece, piece);
        each_element(count, [&](std::int32_t i) {
            piece[i] = (uniforms[2 * i + 1] <= T(0.5) ? -beta : beta) * piece[i] + a;
        });
        done += count;
    }
    return status;
}

} // namespace

} // namespace qor::bex

using namespace qor::bex;

#define QOR_BOTH_PRECISIONS(DEFINE) DEFINE(s, float) DEFINE(d, double)

extern "C" {

#define QOR_DEFINE(t, T)                                                                                     \
    std::int32_t _bex##t##RngExponential(std::int32_t method, void *stream, std::int32_t n, T *r, T a,       \
                                         T beta) {                                                           \
        return exponential_variates(method, stream, n, r, a, beta);                                          \
    }                                                                                                        \
    std::int32_t _bex##t##RngGumbel(std::int32_t, void *stream, std::int32_t n, T *r, T a, T beta) {         \
        return gumbel_variates(stream, n, r, a, beta);                                                       \
    }                                                                                                        \
    std::int32_t _bex##t##RngCauchy(std::int32_t, void *stream, std::int32_t n, T *r, T a, T beta) {         \
        return cauchy_variates(stream, n, r, a, beta);                                                       \
    }                                                                                                        \
    std::int32_t _bex##t##RngRayleigh(std::int32_t method, void *stream, std::int32_t n, T *r, T a,          \
                                      T beta) {                                                              \
        return rayleigh_variates(method, stream, n, r, a, beta);                                             \
    }                                                                                                        \
    std::int32_t _bex##t##RngWeibull(std::int32_t method, void *stream, std::int32_t n, T *r, T alpha, T a,  \
                                     T beta) {                                                               \
        return weibull_variates(method, stream, n, r, alpha, a, beta);                                       \
    }                                                                                                        \
    std::int32_t _bex##t##RngLaplace(std::int32_t, void *stream, std::int32_t n, T *r, T a, T beta) {        \
        return laplace_variates(stream, n, r, a, beta);                                                      \
    }
QOR_BOTH_PRECISIONS(QOR_DEFINE)

} // extern "C"
