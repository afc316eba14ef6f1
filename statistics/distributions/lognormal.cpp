// Lognormal variates: the exponential of Gaussian ones.
#include "qor_bex_distributions.h"
#include "statistics/distributions/gaussian.h"

namespace qor::bex {

namespace {

// The whole method word decides: with the accurate flag the first method, too, goes through the inverse
// distribution. Callers know it so.
constexpr std::int32_t gaussian_method(std::int32_t method) {
    return method == BEX_LOGNORMAL_BOX_MULLER2 ? box_muller_2 : inverse_distribution;
}

template <class T>
std::int32_t lognormal_variates(std::int32_t method, void *stream, std::int32_t n, T *r, T a, T sigma, T b,
                                T beta) {
    const std::int32_t status =
        gaussian(gaussian_method(method), *static_cast<Stream *>(stream), n, r, a, sigma);
    if (status < 0)
        return status;
    const bool accurate = (method & accurate_flag) != 0;
    const VectorMathBracket bracket(nullptr); // overflow and underflow are results
    in_pieces(n, r, [=](std::int32_t count, T *piece) {
        apply(exponential, count, piece, piece);
        scale_and_shift(count, piece, beta, b, accurate);
    });
    return status;
}

} // namespace

} // namespace qor::bex

using namespace qor::bex;

extern "C" {

std::int32_t _bexsRngLognormal(std::int32_t method, void *stream, std::int32_t n, float *r, float a,
                               float sigma, float b, float beta) {
    return lognormal_variates(method, stream, n, r, a, sigma, b, beta);
}

std::int32_t _bexdRngLognormal(std::int32_t method, void *stream, std::int32_t n, double *r, double a,
                               double sigma, double b, double beta) {
    return lognormal_variates(method, stream, n, r, a, sigma, b, beta);
}

} // extern "C"
