/*
 * qor_fyn.h: vector math, its modes, error reports and services.
 *
 * The entries themselves (about 2,000: _fynsExp, _fyndExp_HA, _fynzMulI_26 ...) and their tables are
 * declared in qor_fyn_functions.h, which this header includes.
 *
 * Every function may be called from any number of threads at once. Mode, error status, error callback
 * and base pointer belong to the calling thread. Vectors belong to the caller and are never kept.
 */
#ifndef QOR_FYN_H
#define QOR_FYN_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Complex elements: real part first. Arrays of C's and C++'s complex types have the same layout. */
typedef struct FynComplex8 {
    float re, im;
} FynComplex8;
typedef struct FynComplex16 {
    double re, im;
} FynComplex16;

/* The mode word --------------------------------------------------------------------------------- */

/* Accuracy, mask 0xF: which slot of a dispatch table a front end calls. */
#define FYN_DEFAULT_PRECISION 0x0u
#define FYN_LA 0x1u
#define FYN_HA 0x2u
#define FYN_EP 0x3u
/* Precision control, mask 0xF0: from the environment only; no kernel of this library reads it. */
#define FYN_FLOAT_CONSISTENT 0x10u
#define FYN_DOUBLE_CONSISTEN 0x20u
#define FYN_RESTORE 0x30u
/* What an exceptional element does, mask 0xFF00, a set of bits. */
#define FYN_ERRMODE_IGNORE 0x100u   /* alone: sets the status, nothing else */
#define FYN_ERRMODE_ERRNO 0x200u    /* sets errno */
#define FYN_ERRMODE_STDERR 0x400u   /* writes to standard error */
#define FYN_ERRMODE_EXCEPT 0x800u   /* raises the x87 exception flag, and the trap when it is enabled */
#define FYN_ERRMODE_CALLBACK 0x1000u /* calls the thread's error callback */
#define FYN_ERRMODE_NOERR 0x2000u   /* alone: nothing at all, not even the status */
#define FYN_ERRMODE_DEFAULT 0x1A00u
/* Denormal numbers, mask 0x3C0000: flushed to zero as results and as arguments, or kept. */
#define FYN_DENORM_FLUSH_ON 0x280000u
#define FYN_DENORM_FLUSH_OFF 0x140000u
/* Traps that FYN_ERRMODE_EXCEPT delivers, mask 0xF000000, a set of bits. */
#define FYN_TRAP_INVALID 0x1000000u
#define FYN_TRAP_DIVBYZERO 0x2000000u
#define FYN_TRAP_OVERFLOW 0x4000000u
#define FYN_TRAP_UNDERFLOW 0x8000000u

/* Status codes ---------------------------------------------------------------------------------- */

#define FYN_STATUS_OK 0
#define FYN_STATUS_BADARG (-1)     /* invalid argument; errno 22 */
#define FYN_STATUS_BADPTR (-2)     /* inaccessible memory; errno 13 */
#define FYN_STATUS_DOMAIN 1        /* argument outside the domain; errno 33, invalid operation */
#define FYN_STATUS_SINGULARITY 2   /* exact infinite result from a finite argument; errno 34, divide by zero */
#define FYN_STATUS_OVERFLOW 3      /* result too large; errno 34, overflow */
#define FYN_STATUS_UNDERFLOW 4     /* result too small; errno 34, underflow */

/* What the error callback receives. The callback may change r1 (and r2): when it returns 0 the changed
 * values are stored as the element's results, after errno, standard error and exception have been served
 * as the mode asks. When it returns another value nothing further happens. It may call the services. */
typedef struct FynErrorContext {
    int32_t code;          /* status code */
    int32_t index;         /* position of the element, see _fynSetInterfInputVectorPointer */
    double a1, a2;         /* arguments, real parts; a2 is a1 again for functions of one argument */
    double r1, r2;         /* results, real parts; r2 is r1 again for functions of one result */
    char func_name[64];    /* "vdExp", "vsPow3o2" ..., NUL-terminated */
    int32_t func_name_len;
    double a1_im, a2_im;   /* imaginary parts: complex functions only */
    double r1_im, r2_im;
} FynErrorContext;

typedef int32_t (*FynErrorCallBack)(FynErrorContext *context);

/* Services, each under two names ------------------------------------------------------------------ */

/* Merges `mode` into the thread's mode: of accuracy, error mode, denormal field, traps and the two bits
 * 0x30000, each given as non-zero replaces the old field. Returns the old mode. */
uint32_t _fynSetMode(uint32_t mode);
uint32_t qor_fyn_kernel_SetMode(uint32_t mode);
/* The thread's mode, taken from the environment variable QOR_FYN_MODE at its first use (0x1A02 without). */
uint32_t _fynGetMode(void);
uint32_t qor_fyn_kernel_GetMode(void);
/* The status of the last report on this thread. Set and Clear return the old one. */
int32_t _fynSetErrStatus(int32_t status);
int32_t qor_fyn_kernel_SetErrStatus(int32_t status);
int32_t _fynGetErrStatus(void);
int32_t qor_fyn_kernel_GetErrStatus(void);
int32_t _fynClearErrStatus(void);
int32_t qor_fyn_kernel_ClearErrStatus(void);
/* The thread's error callback. Set also turns FYN_ERRMODE_CALLBACK on (off for null), Clear turns it off;
 * where it is the only bit of the error mode it stays set, harmlessly. Both return the old callback. */
FynErrorCallBack _fynSetErrorCallBack(FynErrorCallBack callback);
FynErrorCallBack qor_fyn_kernel_SetErrorCallBack(FynErrorCallBack callback);
FynErrorCallBack _fynGetErrorCallBack(void);
FynErrorCallBack qor_fyn_kernel_GetErrorCallBack(void);
FynErrorCallBack _fynClearErrorCallBack(void);
FynErrorCallBack qor_fyn_kernel_ClearErrorCallBack(void);
/* The start of the whole first input vector, for callers that hand on a piece of it: reports then give
 * positions in the whole. Null switches this off. Returns its argument. */
void *_fynSetInterfInputVectorPointer(void *start);
void *qor_fyn_kernel_SetInterfInputVectorPointer(void *start);

/* The slot that the thread's mode selects: 0 LA, 1 HA, 2 EP; 0xFFFFFFFF when none is given. */
uint32_t qor_fyn_kernel_GetTTableIndex(void);
/* The same of a given mode; `context` is ignored. */
uint32_t qor_fyn_kernel_GetTTableIndexM(uint64_t context, uint32_t mode);

/* The processor level this library serves: 0, any x86-64 processor. */
int32_t dll_cpu_version(void);

#ifdef __cplusplus
}
#endif

#include "qor_fyn_functions.h"

#endif
