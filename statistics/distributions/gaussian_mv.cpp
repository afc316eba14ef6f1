// Multivariate Gaussian variates: a Cholesky factor times vectors of standard normals, plus the mean.
#include "core_interface/core.h"
#include "qor_bex_distributions.h"
#include "statistics/distributions/gaussian.h"

#include <limits>

namespace qor::bex {

namespace {

constexpr std::int64_t small_order = 10; // the core library has a product of its own up to here

// r := T r for the dimen x n matrix r. By rows, T is the transposed upper triangle by columns.
template <class T>
using FullProduct = void(const char *, const char *, const char *, const char *, const std::int64_t *,
                         const std::int64_t *, const T *, const T *, const std::int64_t *, T *,
                         const std::int64_t *);
template <class T>
using PackedProduct = void(const char *, const char *, const char *, const char *, const std::int64_t *,
                           const std::int64_t *, const T *, const T *, T *, const std::int64_t *);
template <class T> struct Products;
template <> struct Products<float> {
    static constexpr FullProduct<float> *small = qor_blas_xstrmm_4fyn, *full = qor_blas4fyn_strmm;
    static constexpr PackedProduct<float> *packed = qor_blas4fyn_sptrmm;
};
template <> struct Products<double> {
    static constexpr FullProduct<double> *small = qor_blas_xdtrmm_4fyn, *full = qor_blas4fyn_dtrmm;
    static constexpr PackedProduct<double> *packed = qor_blas4fyn_dptrmm;
};

// n * dimen standard normals. The generators count to 2^31 - 1; an even number a call leaves no pair open.
template <class T>
std::int32_t standard_normals(std::int32_t method, Stream &stream, std::int64_t count, T *r) {
    constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max() - 1;
    for (; count > most; count -= most, r += most)
        if (const auto status = gaussian(method, stream, std::int32_t{most}, r, T(0), T(1)); status < 0)
            return status;
    return gaussian(method, stream, static_cast<std::int32_t>(std::max<std::int64_t>(count, 0)), r, T(0),
                    T(1));
}

template <class T>
std::int32_t multivariate(std::int32_t method, void *handle, std::int32_t n, T *r, std::int32_t dimen,
                          std::int32_t mstorage, const T *a, const T *t) {
    Stream &stream = *static_cast<Stream *>(handle);
    if (dimen == 1)
        return gaussian(method, stream, n, r, a[0], t[0]);
    if (mstorage < BEX_STORAGE_FULL || mstorage > BEX_STORAGE_DIAGONAL)
        return status_bad_method;
    const std::int32_t status = standard_normals(method, stream, std::int64_t{n} * dimen, r);
    if (status < 0 || n < 1)
        return status;
    const std::int64_t rows = dimen, columns = n;
    const T one = 1;
    if (mstorage == BEX_STORAGE_FULL)
        (rows <= small_order ? Products<T>::small : Products<T>::full)("L", "U", "T", "N", &rows, &columns,
                                                                       &one, t, &rows, r, &rows);
    else if (mstorage == BEX_STORAGE_PACKED)
        Products<T>::packed("L", "L", "N", "N", &rows, &columns, &one, t, r, &rows);
    for (std::int64_t j = 0; j < columns; ++j) {
        T *const vector = r + j * rows;
        for (std::int64_t i = 0; i < rows; ++i)
            vector[i] = (mstorage == BEX_STORAGE_DIAGONAL ? t[i] * vector[i] : vector[i]) + a[i];
    }
    return status;
}

} // namespace

} // namespace qor::bex

using namespace qor::bex;

extern "C" {

std::int32_t _bexsRngGaussianMV(std::int32_t method, void *stream, std::int32_t n, float *r,
                                std::int32_t dimen, std::int32_t mstorage, const float *a, const float *t) {
    return multivariate(method, stream, n, r, dimen, mstorage, a, t);
}

std::int32_t _bexdRngGaussianMV(std::int32_t method, void *stream, std::int32_t n, double *r,
                                std::int32_t dimen, std::int32_t mstorage, const double *a, const double *t) {
    return multivariate(method, stream, n, r, dimen, mstorage, a, t);
}

} // extern "C"
