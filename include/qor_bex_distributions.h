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

#ifdef __cplusplus
}
#endif

#endif
