// Gaussian variates.
//
// Box-Muller: sqrt(-2 ln u1) times the sine and cosine of 2 pi u2 are two independent standard normals
// (G. E. P. Box and M. E. Muller, "A note on the generation of random normal deviates", Ann. Math. Stat. 29,
// 1958). The first method takes the sine alone, the second both; of an odd number the second keeps the last
// pair of uniforms with the stream and owes its cosine to the next call.
// Inverse distribution: sqrt(2) erfinv(u) for u on [-1, 1).
#include "statistics/distributions/gaussian.h"

#include "core_interface/core.h"
#include "qor_bex_distributions.h"
#include "qor_bex_streams.h"

#include <algorithm>
#include <iterator>

namespace qor::bex {

namespace {

template <class T> struct Constants;

template <> struct Constants<double> {
    static constexpr double two_pi = 6.283185307179586, sqrt_two = 1.4142135623730951;
    static constexpr double bound = 5.8635847487551676; // of the inverse error function: erfinv(1 - 2^-54)
    static constexpr std::uint32_t chunk_id = 2;
};

template <> struct Constants<float> {
    static constexpr float two_pi = 6.2831855F, sqrt_two = 1.4142135F;
    static constexpr double bound = 3.8325068950653076;
    static constexpr std::uint32_t chunk_id = 1;
};

// Finite values in the place of vector math's infinities and NaNs.
template <class T> std::int32_t replace_result(FynErrorContext *context) {
    using C = Constants<T>;
    if (context->code == FYN_STATUS_SINGULARITY && context->a1 == 0)
        context->r1 = context->r2 = log_of_zero<T>;
    else if (context->code == FYN_STATUS_DOMAIN || context->code == FYN_STATUS_SINGULARITY)
        context->r1 = context->r2 = context->a1 < 0 ? -C::bound : C::bound;
    return 0;
}

// sqrt(-2 ln u), in place.
template <class T> void to_radii(std::int32_t n, T *u) {
    apply(logarithm, n, u, u);
    each_element(n, [=](std::int32_t i) { u[i] *= T(-2); });
    apply(square_root, n, u, u);
}

// Pairs of uniforms to radii and angles.
template <class T> void split(std::int32_t pairs, const T *uniforms, T *radii, T *angles) {
    each_element(pairs, [=](std::int32_t i) {
        radii[i] = uniforms[2 * i];
        angles[i] = uniforms[2 * i + 1] * Constants<T>::two_pi;
    });
    to_radii(pairs, radii);
}

template <class T> std::int32_t sines_only(Stream &stream, std::int32_t n, T *r, T a, T sigma) {
    T uniforms[2 * block], radii[block], angles[block];
    std::int32_t status = status_ok;
    for (std::int32_t done = 0; done < n;) {
        const std::int32_t count = std::min(n - done, block);
        status = uniform(stream, 2 * count, uniforms, T(0), T(1));
        if (status < 0)
            return status;
        split(count, uniforms, radii, angles);
        apply(sine, count, angles, angles);
        each_element(count, [&](std::int32_t i) { r[done + i] = radii[i] * sigma * angles[i] + a; });
        done += count;
    }
    return status;
}

// The pair of uniforms whose cosine is owed to the next call; none when u1 is `nothing_owed`.
template <class T> struct Owed { T u1, u2; };
template <class T> constexpr T nothing_owed = T(-1);

// The stream's own, made at its first use; null with a status when it cannot be.
template <class T> Owed<T> *owed_by(Stream &stream, std::int32_t &status) {
    const std::uint32_t id = Constants<T>::chunk_id;
    if (void *const found = __bexSearchChunk(&stream, id); found != nullptr)
        return static_cast<Owed<T> *>(found);
    void *const fresh = qor_serv_allocate(sizeof(Owed<T>), record_alignment);
    if (fresh == nullptr) {
        status = status_no_memory;
        return nullptr;
    }
    auto *const owed = static_cast<Owed<T> *>(fresh);
    *owed = {nothing_owed<T>, nothing_owed<T>};
    status = __bexAddChunk(&stream, id, nullptr, owed, sizeof *owed);
    if (status >= 0)
        return owed;
    qor_serv_deallocate(fresh);
    return nullptr;
}

// The two variates of a pair of uniforms.
template <class T> struct Pair {
    T sine, cosine;
    explicit Pair(const Owed<T> &uniforms) {
        T radius, angle;
        split(1, &uniforms.u1, &radius, &angle);
        apply(sine_and_cosine, 1, &angle, &sine, &cosine);
        sine *= radius;
        cosine *= radius;
    }
};

template <class T> std::int32_t sines_and_cosines(Stream &stream, std::int32_t n, T *r, T a, T sigma) {
    std::int32_t status = status_ok;
    if (n < 1)
        return status;
    Owed<T> *const owed = owed_by<T>(stream, status);
    if (owed == nullptr)
        return status;
    std::int32_t done = 0;
    if (owed->u1 != nothing_owed<T>)
        r[done++] = Pair<T>(*owed).cosine * sigma + a;
    T uniforms[block], radii[block / 2], angles[block / 2], cosines[block / 2];
    while (n - done > 1) {
        const std::int32_t pairs = std::min(n - done, block) / 2;
        status = uniform(stream, 2 * pairs, uniforms, T(0), T(1));
        if (status < 0)
            return status;
        split(pairs, uniforms, radii, angles);
        apply(sine_and_cosine, pairs, angles, angles, cosines);
        each_element(pairs, [&](std::int32_t i) {
            r[done + 2 * i] = radii[i] * angles[i] * sigma + a;
            r[done + 2 * i + 1] = radii[i] * cosines[i] * sigma + a;
        });
        done += 2 * pairs;
    }
    Owed<T> last = {nothing_owed<T>, nothing_owed<T>};
    if (done < n) {
        status = uniform(stream, 2, &last.u1, T(0), T(1));
        if (status < 0)
            return status;
        r[done] = Pair<T>(last).sine * sigma + a;
    }
    *owed = last;
    return status;
}

template <class T> std::int32_t inverted(Stream &stream, std::int32_t n, T *r, T a, T sigma) {
    const std::int32_t status = uniform(stream, n, r, T(-1), T(1));
    if (status < 0)
        return status;
    const T scale = sigma * Constants<T>::sqrt_two;
    in_pieces(n, r, [scale, a](std::int32_t count, T *piece) {
        apply(inverse_error_function, count, piece, piece);
        scale_and_shift(count, piece, scale, a);
    });
    return status;
}

} // namespace

template <class T>
std::int32_t gaussian(std::int32_t method, Stream &stream, std::int32_t n, T *r, T a, T sigma) {
    constexpr decltype(&inverted<T>) methods[] = {sines_only<T>, sines_and_cosines<T>, inverted<T>};
    if (method < 0 || method >= std::int32_t{std::size(methods)})
        return status_bad_method;
    const VectorMathBracket bracket(replace_result<T>);
    return methods[method](stream, n, r, a, sigma);
}

template std::int32_t gaussian(std::int32_t, Stream &, std::int32_t, float *, float, float);
template std::int32_t gaussian(std::int32_t, Stream &, std::int32_t, double *, double, double);

} // namespace qor::bex

using namespace qor::bex;

extern "C" {

std::int32_t _bexsRngGaussian(std::int32_t method, void *stream, std::int32_t n, float *r, float a,
                              float sigma) {
    return gaussian(method, *static_cast<Stream *>(stream), n, r, a, sigma);
}

std::int32_t _bexdRngGaussian(std::int32_t method, void *stream, std::int32_t n, double *r, double a,
                              double sigma) {
    return gaussian(method, *static_cast<Stream *>(stream), n, r, a, sigma);
}

} // extern "C"
