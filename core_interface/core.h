// The entries of the core library `qor_core` that this library calls.
//
// Every entry is a dynamic import with C linkage: any library that exports the same names can be put
// in the place of the bundled one at load time. The bundled one lives in core/.
#pragma once

#include <cstdint>

extern "C" {

// Locks ----------------------------------------------------------------------------------------
// A fixed set of process-wide, non-recursive locks, numbered 0 .. 15. Numbers outside are ignored.
// The numbers this library uses are listed in `qor::CoreLock` below.
void qor_serv_lock(std::int32_t lock);
void qor_serv_unlock(std::int32_t lock);

// Environment ----------------------------------------------------------------------------------
// Copies the value of variable `name` with its NUL into `buffer` of `size` bytes. Returns the length
// of the value, 0 when the variable is missing or empty, and -1 (buffer empty) when it does not fit.
std::int32_t qor_serv_getenv(const char *name, char *buffer, std::int32_t size);

// Memory ---------------------------------------------------------------------------------------
// A block of `bytes` bytes whose address is a multiple of `alignment` (a power of two), or null.
void *qor_serv_allocate(std::uint64_t bytes, std::uint64_t alignment);
// Releases a block of qor_serv_allocate; null is allowed.
void qor_serv_deallocate(void *block);
// Copies `count` bytes when they fit into `capacity`. Returns 0, 22 for a null pointer, 34 when they
// do not fit; on failure the destination, when there is one, is zeroed over its capacity.
std::int32_t qor_serv_memcpy_s(void *destination, std::uint64_t capacity, const void *source, std::uint64_t count);

// Messages and exit ------------------------------------------------------------------------------
// Writes catalogue message `number` as one line to the system file handle `stream` (a HANDLE on
// Windows, a file descriptor cast to a pointer elsewhere). Headings show `text`, value lines `value`.
// An unknown number writes nothing. Returns 0, or -1 when the line could not be written.
std::int32_t qor_serv_print(void *stream, std::int32_t number, const char *text, double value);
// Ends the process with exit code `code`.
[[noreturn]] void qor_serv_exit(std::int32_t code);

// Triangular products ----------------------------------------------------------------------------
// B := alpha * op(A) * B (side 'L') or alpha * B * op(A) (side 'R'); A is triangular of order m or n,
// B is m by n with leading dimension ldb, all column-major. uplo 'U'/'L', transa 'N'/'T'/'C',
// diag 'N'/'U' (unit diagonal, not read); letters in either case. A wrong argument leaves B as it is.
// The p forms take A packed by columns. The x forms are tuned for small orders.
#define QOR_TRMM_ARGUMENTS(T)                                                                                \
    const char *side, const char *uplo, const char *transa, const char *diag, const std::int64_t *m,         \
        const std::int64_t *n, const T *alpha, const T *a, const std::int64_t *lda, T *b, const std::int64_t *ldb
#define QOR_PTRMM_ARGUMENTS(T)                                                                               \
    const char *side, const char *uplo, const char *transa, const char *diag, const std::int64_t *m,         \
        const std::int64_t *n, const T *alpha, const T *ap, T *b, const std::int64_t *ldb
void qor_blas4fyn_strmm(QOR_TRMM_ARGUMENTS(float));
void qor_blas4fyn_dtrmm(QOR_TRMM_ARGUMENTS(double));
void qor_blas_xstrmm_4fyn(QOR_TRMM_ARGUMENTS(float));
void qor_blas_xdtrmm_4fyn(QOR_TRMM_ARGUMENTS(double));
void qor_blas4fyn_sptrmm(QOR_PTRMM_ARGUMENTS(float));
void qor_blas4fyn_dptrmm(QOR_PTRMM_ARGUMENTS(double));
#undef QOR_TRMM_ARGUMENTS
#undef QOR_PTRMM_ARGUMENTS

// Tridiagonal systems ----------------------------------------------------------------------------
// For diagonally dominant matrices, without pivoting, "burning at both ends": elimination runs from
// both ends towards the middle row. dl (n-1), d (n), du (n-1) are overwritten by the factors.
// dttrfb factors, dttrsb solves with the factors (trans 'N', 'T' or 'C'), dtsvb does both at once.
// b is n by nrhs, column-major. info: 0 done, -k argument k is wrong, k > 0 pivot k is zero.
#define QOR_TRIDIAGONAL(P, T)                                                                                \
    void P##dttrfb_4dfl(const std::int64_t *n, T *dl, T *d, T *du, std::int64_t *info);                      \
    void P##dttrsb_4dfl(const char *trans, const std::int64_t *n, const std::int64_t *nrhs, const T *dl,     \
                        const T *d, const T *du, T *b, const std::int64_t *ldb, std::int64_t *info);         \
    void P##dtsvb_4dfl(const std::int64_t *n, const std::int64_t *nrhs, T *dl, T *d, T *du, T *b,            \
                       const std::int64_t *ldb, std::int64_t *info);
QOR_TRIDIAGONAL(s, float)
QOR_TRIDIAGONAL(d, double)
#undef QOR_TRIDIAGONAL

} // extern "C"

namespace qor {

// Releases a block where there is one: not every core library takes null.
inline void release(void *block) {
    if (block != nullptr)
        qor_serv_deallocate(block);
}

// The locks of the core library that this library takes.
enum CoreLock : std::int32_t {
    thread_index_lock = 0, // creation of the thread-local index
    record_heap_lock = 1,  // creation of the private heap of thread records
    environment_lock = 2,  // reading the environment
};

// Message numbers of the core library's catalogue.
enum CoreMessage : std::int32_t {
    message_bad_argument = 748,
    message_bad_pointer = 749,
    message_domain = 750,
    message_singularity = 751,
    message_overflow = 752,
    message_underflow = 753,
    message_warning = 754,
    message_one_argument = 755,          // a1, r1: 755, 756
    message_one_argument_two_results = 757, // a1, r1, r2: 757, 758, 759
    message_two_arguments = 760,         // a1, a2, r1: 760, 761, 762
    message_two_arguments_two_results = 763, // a1, a2, r1, r2: 763 .. 766
    message_no_thread_record = 773,
};

} // namespace qor
