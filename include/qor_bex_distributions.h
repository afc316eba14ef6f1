/*
 * qor_bex_distributions.h: random variates drawn from streams (qor_bex_streams.h).
 *
 * Every generator is called as (method, stream, n, r, parameters ...) and writes n variates to r in order,
 * taking its uniform numbers from the stream. Results depend on the stream's state and the parameters alone,
 * not on threads, alignment, or the system.
 *
 * method      the low bits choose the algorithm; BEX_ACCURATE may be added where a generator honours it
 * stream      any stream, also one of a generator that the caller registered
 * n           number of variates; below 1 nothing is written
 * parameters  are not checked
 *
 * Returns the stream's status: 0 or positive on success; a negative one ends the call, and of r only the
 * blocks finished before it (multiples of 1024 variates) are of use. BEX_STATUS_BAD_ID for a stream without a
 * generator. The stream stays usable. The calling thread's vector-math callback, errno and standard
 * error see nothing of the work; its mode comes back as it was, except that a denormal field of 0 may
 * come back as FYN_DENORM_FLUSH_OFF, which means the same.
 *
 * Different streams may be used by different threads at once; one stream may not.
 */
#ifndef QOR_BEX_DISTRIBUTIONS_H
#define QOR_BEX_DISTRIBUTIONS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Every result is forced into the closed interval of the distribution's support. */
#define BEX_ACCURATE 0x40000000

/* The generator's raw words do not hold uniformly distributed bits. */
#define BEX_STATUS_NO_UNIFORM_BITS (-1014)

/* Uniform ----------------------------------------------------------------------------------------- */

/* Uniform on [a, b). Rounding of a + (b - a) u may give b; with BEX_ACCURATE never anything outside [a, b]. One
 * number of the stream for each. */
int32_t _bexsRngUniform(int32_t method, void *stream, int32_t n, float *r, float a, float b);
int32_t _bexdRngUniform(int32_t method, void *stream, int32_t n, double *r, double a, double b);

/* Uniform on the integers a .. b - 1: the floor of doubles uniform on [a, b). `method` is not looked at. */
int32_t _bexiRngUniform(int32_t method, void *stream, int32_t n, int32_t *r, int32_t a, int32_t b);

/* n raw words as the generator makes them, of its word_bytes each: not all their bits need be random. */
int32_t _bexiRngUniformBits(int32_t method, void *stream, int32_t n, void *r);

/* Words all of whose bits are uniform: of MCG59 the bits 27 .. 58, of MT19937, MT2203, SFMT19937, ARS5,
 * PHILOX4X32X10 and the hardware generator the raw words. A 64-bit word takes two, the first as its low
 * half. Other generators give BEX_STATUS_NO_UNIFORM_BITS and write nothing. */
int32_t _bexiRngUniformBits32(int32_t method, void *stream, int32_t n, uint32_t *r);
int32_t _bexiRngUniformBits64(int32_t method, void *stream, int32_t n, uint64_t *r);

/* Gaussian ---------------------------------------------------------------------------------------- */

/* Normal with mean a and standard deviation sigma:
 *   density exp(-(x - a)^2 / (2 sigma^2)) / (sigma sqrt(2 pi))
 *
 * BEX_GAUSSIAN_BOX_MULLER   sqrt(-2 ln u1) sin(2 pi u2): two uniforms each.
 * BEX_GAUSSIAN_BOX_MULLER2  sine and cosine of each pair in turn: two uniforms for two. After an odd number the
 *                           cosine is kept with the stream (attached data 1 in single, 2 in double precision)
 *                           and comes first in the next call of this method. -4 without memory for it.
 * BEX_GAUSSIAN_ICDF         sqrt(2) erfinv(u), u on [-1, 1): one uniform each.
 * Another method gives BEX_STATUS_BAD_METHOD. Uniforms of exactly 0 (-1) give large finite variates. */
#define BEX_GAUSSIAN_BOX_MULLER 0
#define BEX_GAUSSIAN_BOX_MULLER2 1
#define BEX_GAUSSIAN_ICDF 2
int32_t _bexsRngGaussian(int32_t method, void *stream, int32_t n, float *r, float a, float sigma);
int32_t _bexdRngGaussian(int32_t method, void *stream, int32_t n, double *r, double a, double sigma);

/* n vectors of dimen numbers, vector after vector: T z + a with z standard normals of the Gaussian method, a
 * the mean (dimen numbers) and T the lower triangular factor of the covariance T T', stored as t by mstorage.
 * dimen 1: a Gaussian of mean a[0] and deviation t[0]. Another mstorage gives BEX_STATUS_BAD_METHOD and draws
 * nothing. On failure r is of no use. */
#define BEX_STORAGE_FULL 0     /* dimen x dimen, by rows; above the diagonal nothing is read */
#define BEX_STORAGE_PACKED 1   /* the columns from the diagonal down, dimen (dimen + 1) / 2 numbers */
#define BEX_STORAGE_DIAGONAL 2 /* dimen numbers: a diagonal T */
int32_t _bexsRngGaussianMV(int32_t method, void *stream, int32_t n, float *r, int32_t dimen, int32_t mstorage,
                           const float *a, const float *t);
int32_t _bexdRngGaussianMV(int32_t method, void *stream, int32_t n, double *r, int32_t dimen, int32_t mstorage,
                           const double *a, const double *t);

/* b + beta exp(g), g Gaussian with mean a and deviation sigma. Method 0 takes g by Box-Muller2 and every other
 * method word, also BEX_ACCURATE alone, by the inverse distribution. BEX_ACCURATE: not below b. */
#define BEX_LOGNORMAL_BOX_MULLER2 0
#define BEX_LOGNORMAL_ICDF 1
int32_t _bexsRngLognormal(int32_t method, void *stream, int32_t n, float *r, float a, float sigma, float b,
                          float beta);
int32_t _bexdRngLognormal(int32_t method, void *stream, int32_t n, double *r, double a, double sigma, double b,
                          double beta);

/* Inverse transforms ------------------------------------------------------------------------------ */

/* One method (0), the transform of uniform numbers u on [0, 1); a displacement a, scale beta. One uniform each,
 * Laplace two. The logarithm of 0 counts as that of the smallest positive number. */

/* a - beta ln u. BEX_ACCURATE: not below a. */
int32_t _bexsRngExponential(int32_t method, void *stream, int32_t n, float *r, float a, float beta);
int32_t _bexdRngExponential(int32_t method, void *stream, int32_t n, double *r, double a, double beta);
/* a + beta ln(-ln u): density exp(y - exp(y)) / beta, y = (x - a) / beta. */
int32_t _bexsRngGumbel(int32_t method, void *stream, int32_t n, float *r, float a, float beta);
int32_t _bexdRngGumbel(int32_t method, void *stream, int32_t n, double *r, double a, double beta);
/* a + beta tan(v), v uniform on [-pi/2, pi/2). */
int32_t _bexsRngCauchy(int32_t method, void *stream, int32_t n, float *r, float a, float beta);
int32_t _bexdRngCauchy(int32_t method, void *stream, int32_t n, double *r, double a, double beta);
/* a + beta sqrt(-ln u), without a factor of 2 under the root. BEX_ACCURATE: not below a. */
int32_t _bexsRngRayleigh(int32_t method, void *stream, int32_t n, float *r, float a, float beta);
int32_t _bexdRngRayleigh(int32_t method, void *stream, int32_t n, double *r, double a, double beta);
/* a + beta (-ln u)^(1/alpha), shape alpha. BEX_ACCURATE: not below a. */
int32_t _bexsRngWeibull(int32_t method, void *stream, int32_t n, float *r, float alpha, float a, float beta);
int32_t _bexdRngWeibull(int32_t method, void *stream, int32_t n, double *r, double alpha, double a, double beta);
/* a - beta ln u where a second uniform number is at most 1/2, a + beta ln u elsewhere. */
int32_t _bexsRngLaplace(int32_t method, void *stream, int32_t n, float *r, float a, float beta);
int32_t _bexdRngLaplace(int32_t method, void *stream, int32_t n, double *r, double a, double beta);

/* Discrete ---------------------------------------------------------------------------------------- */

/* One single-precision uniform number u each; `method` is not looked at. */

/* 1 where u is below p rounded to single precision, else 0. */
int32_t _bexiRngBernoulli(int32_t method, void *stream, int32_t n, int32_t *r, double p);
/* Failures before the first success of probability p: floor(ln u / ln(1 - p)), computed in single precision. What
 * passes 2^31 - 1, for p below 4e-8, comes out as -2^31. */
int32_t _bexiRngGeometric(int32_t method, void *stream, int32_t n, int32_t *r, double p);

#ifdef __cplusplus
}
#endif

#endif
