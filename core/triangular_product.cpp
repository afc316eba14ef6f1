// Triangular products B := alpha op(A) B and B := alpha B op(A), with A full or packed by columns.
//
// The product from the right is the product from the left of the transposes, B' := alpha op(A)' B', so
// one loop serves every form. It sees B through two strides and op(A) as the lower or upper triangle L
// of a matrix of order n:
//
//     b(i) := alpha * sum of L(i, k) b(k) over k in ascending order.
//
// Columns of B are taken a group of lanes at a time. A group is worked on in tiles of rows, turned so
// that lanes lie side by side in memory. Rows of a lower triangle are done from the last to the first and
// rows of an upper one from the first to the last: what a row still needs has then not been overwritten.
// The order of the sum depends neither on the tiles nor on the storage of A, so that every form of
// the same product gives the same bits.

#include "core/arguments.h"
#include "core_interface/core.h"

#include <cstdint>

namespace qor::core {
namespace {

constexpr std::int64_t tile_rows = 64;

// Four 16-byte vectors of T: the columns of B worked on together.
template <typename T> struct Group {
    typedef T Vector __attribute__((vector_size(16)));
    static constexpr std::int64_t vectors = 4;
    static constexpr std::int64_t lanes = vectors * static_cast<std::int64_t>(sizeof(Vector) / sizeof(T));
};

// A tile of rows of one group, lanes side by side.
template <typename T> struct alignas(16) Tile { T row[tile_rows][Group<T>::lanes]; };

// Element (i, j) of a triangle stored in a full array.
template <typename T> struct FullTriangle {
    const T *a;
    std::int64_t lda;

    T operator()(std::int64_t i, std::int64_t j) const { return a[i + j * lda]; }
};

// Element (i, j) of a triangle packed by columns: column j begins after the columns before it.
template <typename T> struct PackedTriangle {
    const T *a;
    std::int64_t order;
    bool upper;

    T operator()(std::int64_t i, std::int64_t j) const {
        return a[upper ? i + j * (j + 1) / 2 : i + j * (2 * order - j - 1) / 2];
    }
};

// A matrix seen through two strides.
template <typename T> struct View {
    T *first;
    std::int64_t row_stride;
    std::int64_t column_stride;

    T &operator()(std::int64_t i, std::int64_t j) const { return first[i * row_stride + j * column_stride]; }
};

struct Shape {
    std::int64_t order;   // of A, and rows of B as the loop sees it
    std::int64_t columns; // of B as the loop sees it
    bool lower;           // op(A) as the loop sees it
    bool transposed;      // op(A)(i, k) is A(k, i)
    bool unit;
};

// sum += coefficients[0 .. count) * rows[0 .. count), in every lane.
template <typename T>
void add_products(T *sum, const T *coefficients, const T (*rows)[Group<T>::lanes], std::int64_t count) {
    using Vector = typename Group<T>::Vector;
    Vector *const sums = reinterpret_cast<Vector *>(sum);
    Vector s0 = sums[0], s1 = sums[1], s2 = sums[2], s3 = sums[3];
    for (std::int64_t k = 0; k < count; ++k) {
        const Vector *const x = reinterpret_cast<const Vector *>(rows[k]);
        const T c = coefficients[k];
        s0 += c * x[0];
        s1 += c * x[1];
        s2 += c * x[2];
        s3 += c * x[3];
    }
    sums[0] = s0;
    sums[1] = s1;
    sums[2] = s2;
    sums[3] = s3;
}

// Lanes without a column repeat the last column, so that they raise no floating-point flag of their own.
template <typename T> void load_tile(Tile<T> &tile, const View<T> &b, std::int64_t rows, std::int64_t used) {
    for (std::int64_t lane = 0; lane < Group<T>::lanes; ++lane) {
        const std::int64_t column = lane < used ? lane : used - 1;
        for (std::int64_t i = 0; i < rows; ++i)
            tile.row[i][lane] = b(i, column);
    }
}

template <typename T>
void store_tile(const Tile<T> &tile, const View<T> &b, std::int64_t rows, std::int64_t used, T alpha) {
    for (std::int64_t lane = 0; lane < used; ++lane) {
        for (std::int64_t i = 0; i < rows; ++i)
            b(i, lane) = alpha * tile.row[i][lane];
    }
}

// Adds the products of tile `source` of B, whose first row is `first_k`, to the rows from `first_i` on.
// `diagonal` says that the two tiles are the same rows, where op(A) has only a part of each row.
template <typename T, typename Triangle>
void add_tile(Tile<T> &sums, const Tile<T> &source, const Triangle &a, const Shape &shape,
              std::int64_t first_i, std::int64_t rows, std::int64_t first_k, std::int64_t count) {
    const bool diagonal = first_i == first_k;
    T coefficients[tile_rows];
    for (std::int64_t i = 0; i < rows; ++i) {
        const std::int64_t begin = diagonal && !shape.lower ? i : 0;
        const std::int64_t end = diagonal && shape.lower ? i + 1 : count;
        const bool skip = diagonal && shape.unit;
        const std::int64_t read_begin = skip && !shape.lower ? begin + 1 : begin;
        const std::int64_t read_end = skip && shape.lower ? end - 1 : end;
        if (shape.transposed) {
            for (std::int64_t k = read_begin; k < read_end; ++k)
                coefficients[k] = a(first_k + k, first_i + i);
        } else {
            for (std::int64_t k = read_begin; k < read_end; ++k)
                coefficients[k] = a(first_i + i, first_k + k);
        }
        if (skip)
            coefficients[i] = 1;
        add_products<T>(sums.row[i], coefficients + begin, source.row + begin, end - begin);
    }
}

template <typename T, typename Triangle>
void multiply_group(const Triangle &a, const Shape &shape, T alpha, const View<T> &b, std::int64_t used) {
    Tile<T> source, sums;
    const std::int64_t tiles = (shape.order + tile_rows - 1) / tile_rows;
    const auto rows_of = [&shape](std::int64_t first) {
        return shape.order - first < tile_rows ? shape.order - first : tile_rows;
    };
    for (std::int64_t step = 0; step < tiles; ++step) {
        const std::int64_t target = shape.lower ? tiles - 1 - step : step;
        const std::int64_t first_i = target * tile_rows;
        const std::int64_t rows = rows_of(first_i);
        for (std::int64_t i = 0; i < rows; ++i) {
            // Minus zero is the neutral element of the sum: it keeps the sign of a zero.
            for (T &sum : sums.row[i])
                sum = static_cast<T>(-0.0);
        }
        const std::int64_t last_source = shape.lower ? target : tiles - 1;
        for (std::int64_t t = shape.lower ? 0 : target; t <= last_source; ++t) {
            const std::int64_t first_k = t * tile_rows;
            const std::int64_t count = rows_of(first_k);
            load_tile(source, {&b(first_k, 0), b.row_stride, b.column_stride}, count, used);
            add_tile(sums, source, a, shape, first_i, rows, first_k, count);
        }
        store_tile(sums, {&b(first_i, 0), b.row_stride, b.column_stride}, rows, used, alpha);
    }
}

template <typename T, typename Triangle>
void multiply(const Triangle &a, const Shape &shape, T alpha, const View<T> &b) {
    for (std::int64_t first = 0; first < shape.columns; first += Group<T>::lanes) {
        const std::int64_t left = shape.columns - first;
        const std::int64_t used = left < Group<T>::lanes ? left : Group<T>::lanes;
        multiply_group(a, shape, alpha, {&b(0, first), b.row_stride, b.column_stride}, used);
    }
}

// The options of a call, read from its letters.
struct Options {
    bool right, upper, transposed, unit, valid;
};

Options read_options(const char *side, const char *uplo, const char *transa, const char *diag) {
    Options options{};
    options.right = is_letter(*side, 'R');
    options.upper = is_letter(*uplo, 'U');
    options.transposed = is_letter(*transa, 'T') || is_letter(*transa, 'C');
    options.unit = is_letter(*diag, 'U');
    options.valid = (options.right || is_letter(*side, 'L')) && (options.upper || is_letter(*uplo, 'L')) &&
                    (options.transposed || is_letter(*transa, 'N')) &&
                    (options.unit || is_letter(*diag, 'N'));
    return options;
}

template <typename T, typename Triangle>
void product(const Options &options, std::int64_t m, std::int64_t n, T alpha, const Triangle &a, T *b,
             std::int64_t ldb) {
    if (m == 0 || n == 0)
        return;
    if (alpha == 0) { // neither A nor B is read: what is not a number vanishes too
        for (std::int64_t j = 0; j < n; ++j) {
            for (std::int64_t i = 0; i < m; ++i)
                b[i + j * ldb] = 0;
        }
        return;
    }
    // From the right the loop sees the transposes of B and of op(A).
    const bool transposed = options.transposed != options.right;
    const bool lower = options.upper == transposed;
    const Shape shape{options.right ? n : m, options.right ? m : n, lower, transposed, options.unit};
    multiply(a, shape, alpha, options.right ? View<T>{b, ldb, 1} : View<T>{b, 1, ldb});
}

template <typename T>
void full_product(const Options &options, std::int64_t m, std::int64_t n, T alpha, const T *a,
                  std::int64_t lda, T *b, std::int64_t ldb) {
    const std::int64_t order = options.right ? n : m;
    if (!options.valid || m < 0 || n < 0 || lda < smallest_leading_dimension(order) ||
        ldb < smallest_leading_dimension(m))
        return;
    product(options, m, n, alpha, FullTriangle<T>{a, lda}, b, ldb);
}

template <typename T>
void packed_product(const Options &options, std::int64_t m, std::int64_t n, T alpha, const T *ap, T *b,
                    std::int64_t ldb) {
    const std::int64_t order = options.right ? n : m;
    if (!options.valid || m < 0 || n < 0 || ldb < smallest_leading_dimension(m))
        return;
    product(options, m, n, alpha, PackedTriangle<T>{ap, order, options.upper}, b, ldb);
}

} // namespace
} // namespace qor::core

// The x forms want small orders to be quick. A group of columns costs no set-up that grows with anything
// but the order, so the common loop serves them, and both names give the same bits.
#define FULL_ENTRY(name, T)                                                                                  \
    void name(const char *side, const char *uplo, const char *transa, const char *diag,                      \
              const std::int64_t *m, const std::int64_t *n, const T *alpha, const T *a,                      \
              const std::int64_t *lda, T *b, const std::int64_t *ldb) {                                      \
        const qor::core::Options options = qor::core::read_options(side, uplo, transa, diag);                \
        qor::core::full_product(options, *m, *n, *alpha, a, *lda, b, *ldb);                                  \
    }
#define PACKED_ENTRY(name, T)                                                                                \
    void name(const char *side, const char *uplo, const char *transa, const char *diag,                      \
              const std::int64_t *m, const std::int64_t *n, const T *alpha, const T *ap, T *b,               \
              const std::int64_t *ldb) {                                                                     \
        const qor::core::Options options = qor::core::read_options(side, uplo, transa, diag);                \
        qor::core::packed_product(options, *m, *n, *alpha, ap, b, *ldb);                                     \
    }

FULL_ENTRY(qor_blas4fyn_strmm, float)
FULL_ENTRY(qor_blas4fyn_dtrmm, double)
FULL_ENTRY(qor_blas_xstrmm_4fyn, float)
FULL_ENTRY(qor_blas_xdtrmm_4fyn, double)
PACKED_ENTRY(qor_blas4fyn_sptrmm, float)
PACKED_ENTRY(qor_blas4fyn_dptrmm, double)
