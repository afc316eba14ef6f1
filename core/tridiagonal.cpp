// Tridiagonal systems of diagonally dominant matrices, eliminated from both ends without pivoting.
//
// With middle = n / 2, rows 0 .. middle - 1 are eliminated downwards and rows n - 1 .. middle + 1
// upwards, a row of each in turn: the two chains of divisions do not wait for each other. The result is
// A = E F, where E has a unit diagonal and
//
//     above the middle row:  E(i + 1, i) in dl[i],  F(i, i) in d[i],  F(i, i + 1) in du[i];
//     below the middle row:  E(i - 1, i) in du[i - 1],  F(i, i) in d[i],  F(i, i - 1) in dl[i - 1].
//
// Solving for A is E, inwards, then F, outwards; for the transpose it is F', inwards, then E', outwards.

#include "core/arguments.h"
#include "core_interface/core.h"

#include <cstdint>

namespace qor::core {
namespace {

// Calls down(i) for i = 0 .. middle - 1 and up(j) for j = n - 1 .. middle + 1, in turn.
template <typename Down, typename Up> void inwards(std::int64_t n, Down down, Up up) {
    const std::int64_t middle = n / 2;
    std::int64_t j = n - 1;
    for (std::int64_t i = 0; i < middle; ++i) {
        down(i);
        if (j > middle)
            up(j--);
    }
}

// Calls up(i) for i = middle - 1 .. 0 and down(j) for j = middle + 1 .. n - 1, in turn.
template <typename Up, typename Down> void outwards(std::int64_t n, Up up, Down down) {
    const std::int64_t middle = n / 2;
    std::int64_t j = middle + 1;
    for (std::int64_t i = middle - 1; i >= 0; --i) {
        up(i);
        if (j < n)
            down(j++);
    }
}

// Returns 0, or the number (from 1) of the first zero pivot met; the arrays are then partly factored.
template <typename T> std::int64_t factor(std::int64_t n, T *dl, T *d, T *du) {
    std::int64_t zero = 0;
    const auto usable = [&zero, d](std::int64_t i) {
        if (zero == 0 && d[i] == 0)
            zero = i + 1;
        return zero == 0;
    };
    inwards(
        n,
        [&](std::int64_t i) {
            if (!usable(i))
                return;
            dl[i] /= d[i];
            d[i + 1] -= dl[i] * du[i];
        },
        [&](std::int64_t j) {
            if (!usable(j))
                return;
            du[j - 1] /= d[j];
            d[j - 1] -= du[j - 1] * dl[j - 1];
        });
    if (n > 0)
        usable(n / 2);
    return zero;
}

template <typename T> void solve_column(std::int64_t n, const T *dl, const T *d, const T *du, T *b) {
    inwards(
        n, [&](std::int64_t i) { b[i + 1] -= dl[i] * b[i]; },
        [&](std::int64_t j) { b[j - 1] -= du[j - 1] * b[j]; });
    b[n / 2] /= d[n / 2];
    outwards(
        n, [&](std::int64_t i) { b[i] = (b[i] - du[i] * b[i + 1]) / d[i]; },
        [&](std::int64_t j) { b[j] = (b[j] - dl[j - 1] * b[j - 1]) / d[j]; });
}

template <typename T>
void solve_transposed_column(std::int64_t n, const T *dl, const T *d, const T *du, T *b) {
    inwards(
        n,
        [&](std::int64_t i) {
            b[i] /= d[i];
            b[i + 1] -= du[i] * b[i];
        },
        [&](std::int64_t j) {
            b[j] /= d[j];
            b[j - 1] -= dl[j - 1] * b[j];
        });
    b[n / 2] /= d[n / 2];
    outwards(
        n, [&](std::int64_t i) { b[i] -= dl[i] * b[i + 1]; },
        [&](std::int64_t j) { b[j] -= du[j - 1] * b[j - 1]; });
}

template <typename T>
void solve(bool transposed, std::int64_t n, std::int64_t nrhs, const T *dl, const T *d, const T *du, T *b,
           std::int64_t ldb) {
    if (n == 0)
        return;
    for (std::int64_t column = 0; column < nrhs; ++column) {
        T *const first = b + column * ldb;
        if (transposed)
            solve_transposed_column(n, dl, d, du, first);
        else
            solve_column(n, dl, d, du, first);
    }
}

template <typename T> std::int64_t factor_entry(std::int64_t n, T *dl, T *d, T *du) {
    return n < 0 ? -1 : factor(n, dl, d, du);
}

template <typename T>
std::int64_t solve_entry(char trans, std::int64_t n, std::int64_t nrhs, const T *dl, const T *d, const T *du,
                         T *b, std::int64_t ldb) {
    const bool transposed = is_letter(trans, 'T') || is_letter(trans, 'C');
    if (!transposed && !is_letter(trans, 'N'))
        return -1;
    if (n < 0)
        return -2;
    if (nrhs < 0)
        return -3;
    if (ldb < smallest_leading_dimension(n))
        return -8;
    solve(transposed, n, nrhs, dl, d, du, b, ldb);
    return 0;
}

// A zero pivot leaves the right-hand sides as they are.
template <typename T>
std::int64_t factor_and_solve_entry(std::int64_t n, std::int64_t nrhs, T *dl, T *d, T *du, T *b,
                                    std::int64_t ldb) {
    if (n < 0)
        return -1;
    if (nrhs < 0)
        return -2;
    if (ldb < smallest_leading_dimension(n))
        return -7;
    const std::int64_t info = factor(n, dl, d, du);
    if (info == 0)
        solve<T>(false, n, nrhs, dl, d, du, b, ldb);
    return info;
}

} // namespace
} // namespace qor::core

#define ENTRIES(P, T)                                                                                        \
    void P##dttrfb_4dfl(const std::int64_t *n, T *dl, T *d, T *du, std::int64_t *info) {                     \
        *info = qor::core::factor_entry(*n, dl, d, du);                                                      \
    }                                                                                                        \
    void P##dttrsb_4dfl(const char *trans, const std::int64_t *n, const std::int64_t *nrhs, const T *dl,     \
                        const T *d, const T *du, T *b, const std::int64_t *ldb, std::int64_t *info) {        \
        *info = qor::core::solve_entry(*trans, *n, *nrhs, dl, d, du, b, *ldb);                               \
    }                                                                                                        \
    void P##dtsvb_4dfl(const std::int64_t *n, const std::int64_t *nrhs, T *dl, T *d, T *du, T *b,            \
                       const std::int64_t *ldb, std::int64_t *info) {                                        \
        *info = qor::core::factor_and_solve_entry(*n, *nrhs, dl, d, du, b, *ldb);                            \
    }

ENTRIES(s, float)
ENTRIES(d, double)
