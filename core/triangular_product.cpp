// Triangular products B := alpha op(A) B and B := alpha B op(A), with A full or packed by columns.
//
// The product from the right is the product from the left of the transposes, B' := alpha op(A)' B', so
// one loop serves every form. It sees B through two strides and op(A) as the lower or upper triangle L
// of a matrix of order n:
//
//     b(i) := alpha * sum of L(i, k) b(k) over k in ascending order.
//
// Columns of B are lanes: they are turned into tiles of rows in which lanes lie side by side, some groups of
// lanes at a time, so that what has to be copied of A is copied once for them all. A row's sums stay in
// registers while the coefficients of a tile run past; few columns take more rows at once instead. Rows of a
// lower triangle are done from the last tile to the first and rows of an upper one from the first to the
// last: what a row still needs has then not been overwritten.
// The order of the sum depends neither on the tiles nor on the storage of A, so that every form of the same
// product gives the same bits, and a column the same bits whatever its neighbours.

#include "core/arguments.h"
#include "core_interface/core.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace qor::core {
namespace {

using Index = std::int64_t;

constexpr Index tile_rows = 64;
constexpr Index most_groups = 4; // of lanes, worked on together

template <typename T> struct VectorOf { typedef T Type __attribute__((vector_size(16))); };
template <typename T> using Vector = typename VectorOf<T>::Type;

// The lanes of a group, and of one of its vectors.
template <typename T> constexpr Index vector_lanes = Index{16 / sizeof(T)};
template <typename T> constexpr Index group_lanes = 4 * vector_lanes<T>;

// A tile of rows of one group, lanes side by side.
template <typename T> struct alignas(16) Tile { T row[tile_rows][group_lanes<T>]; };

// A triangle stored in a full array: element (i, j) is column(j)[i].
template <typename T> struct FullTriangle {
    const T *a;
    Index lda;

    const T *column(Index j) const { return a + j * lda; }
};

// A triangle packed by columns: the elements of a column follow those of the columns before it.
template <typename T> struct PackedTriangle {
    const T *a;
    Index order;
    bool upper;

    const T *column(Index j) const { return a + (upper ? j * (j + 1) / 2 : j * (2 * order - j - 1) / 2); }
};

// A matrix seen through two strides.
template <typename T> struct View {
    T *first;
    Index row_stride;
    Index column_stride;

    T &operator()(Index i, Index j) const { return first[i * row_stride + j * column_stride]; }
};

struct Shape {
    Index order;     // of A, and rows of B as the loop sees it
    Index columns;   // of B as the loop sees it
    bool lower;      // op(A) as the loop sees it
    bool transposed; // op(A)(i, k) is A(k, i)
    bool unit;
};

// sum[r] += coefficients[r][k] * rows[k] for k = begin .. end - 1, in the lanes of the first `vectors`
// vectors.
template <typename T, std::size_t vectors, std::size_t many>
void add_products(T (*sum)[group_lanes<T>], const T *const *coefficients, const T (*rows)[group_lanes<T>],
                  Index begin, Index end) {
    Vector<T> s[many][vectors];
    const T *c[many];
    for (std::size_t r = 0; r < many; ++r) {
        c[r] = coefficients[r];
        for (std::size_t v = 0; v < vectors; ++v)
            s[r][v] = reinterpret_cast<const Vector<T> *>(sum[r])[v];
    }
    for (Index k = begin; k < end; ++k) {
        const Vector<T> *const x = reinterpret_cast<const Vector<T> *>(rows[k]);
        for (std::size_t r = 0; r < many; ++r)
            for (std::size_t v = 0; v < vectors; ++v)
                s[r][v] += c[r][k] * x[v];
    }
    for (std::size_t r = 0; r < many; ++r)
        for (std::size_t v = 0; v < vectors; ++v)
            reinterpret_cast<Vector<T> *>(sum[r])[v] = s[r][v];
}

// The part of a triangle that two tiles share: rows of op(A) against rows of B. Where the tiles are the same
// rows, a row of op(A) begins or ends at the diagonal.
template <typename T> struct Part {
    const T *row[tile_rows]; // coefficients
    Index rows, count;
    bool diagonal, lower;

    Index begin(Index i) const { return diagonal && !lower ? i : 0; }
    Index end(Index i) const { return diagonal && lower ? i + 1 : count; }
};

template <typename T, std::size_t vectors>
void add_part(Tile<T> &sums, const Part<T> &part, const Tile<T> &source) {
    constexpr Index many = vectors > 2 ? 2 : 4; // rows: what the registers hold
    Index i = 0;
    for (; part.rows - i >= many; i += many) {
        // The rows have the middle in common; on the diagonal each has its own head or tail.
        const Index begin = part.begin(i + many - 1), end = part.end(i);
        for (Index r = i; r < i + many; ++r)
            if (part.begin(r) < begin)
                add_products<T, vectors, 1>(sums.row + r, part.row + r, source.row, part.begin(r), begin);
        add_products<T, vectors, many>(sums.row + i, part.row + i, source.row, begin, end);
        for (Index r = i; r < i + many; ++r)
            if (end < part.end(r))
                add_products<T, vectors, 1>(sums.row + r, part.row + r, source.row, end, part.end(r));
    }
    for (; i < part.rows; ++i)
        add_products<T, vectors, 1>(sums.row + i, part.row + i, source.row, part.begin(i), part.end(i));
}

// Lanes without a column repeat the last column, so that they raise no floating-point flag of their own.
template <typename T> void load_tile(Tile<T> &tile, const View<T> &b, Index rows, Index used) {
    const T *column[group_lanes<T>];
    for (Index lane = 0; lane < group_lanes<T>; ++lane)
        column[lane] = &b(0, lane < used ? lane : used - 1);
    for (Index i = 0; i < rows; ++i)
        for (Index lane = 0; lane < group_lanes<T>; ++lane)
            tile.row[i][lane] = column[lane][i * b.row_stride];
}

template <typename T>
void store_tile(const Tile<T> &tile, const View<T> &b, Index rows, Index used, T alpha) {
    for (Index lane = 0; lane < used; ++lane) {
        T *const column = &b(0, lane);
        for (Index i = 0; i < rows; ++i)
            column[i * b.row_stride] = alpha * tile.row[i][lane];
    }
}

// Rows of op(A) that do not lie in memory as the loop wants them; the padding spreads columns over the cache.
template <typename T> struct Coefficients { T row[tile_rows][tile_rows + 64 / sizeof(T)]; };

// Rows from first_i on against rows of B from first_k on.
template <typename T, typename Triangle>
void find_part(Part<T> &part, Coefficients<T> &copy, const Triangle &a, const Shape &shape, Index first_i,
               Index first_k) {
    const bool own_diagonal = part.diagonal && shape.unit; // whatever A holds there
    if (shape.transposed && !own_diagonal) {
        for (Index i = 0; i < part.rows; ++i)
            part.row[i] = a.column(first_i + i) + first_k;
        return;
    }
    for (Index i = 0; i < part.rows; ++i)
        part.row[i] = copy.row[i];
    // By the columns of A, in which elements follow one another: rows of op(A), where A is transposed.
    const Index columns = shape.transposed ? part.rows : part.count;
    const Index length = shape.transposed ? part.count : part.rows;
    const bool from_diagonal = shape.lower != shape.transposed; // columns begin there; else they end there
    for (Index j = 0; j < columns; ++j) {
        const T *const column =
            a.column((shape.transposed ? first_i : first_k) + j) + (shape.transposed ? first_k : first_i);
        const Index begin = part.diagonal && from_diagonal ? j + own_diagonal : 0;
        const Index end = part.diagonal && !from_diagonal ? j + 1 - own_diagonal : length;
        if (shape.transposed)
            for (Index l = begin; l < end; ++l)
                copy.row[j][l] = column[l];
        else
            for (Index l = begin; l < end; ++l)
                copy.row[l][j] = column[l];
        if (own_diagonal)
            copy.row[j][j] = 1;
    }
}

// Columns of B, at most most_groups groups of them.
template <typename T, typename Triangle>
void multiply_groups(const Triangle &a, const Shape &shape, T alpha, const View<T> &b, Index columns) {
    Tile<T> source[most_groups], sums[most_groups];
    Coefficients<T> copy;
    Part<T> part;
    part.lower = shape.lower;
    constexpr decltype(&add_part<T, 1>) add_by_vectors[] = {add_part<T, 1>, add_part<T, 2>, add_part<T, 3>,
                                                            add_part<T, 4>};
    const Index groups = (columns + group_lanes<T> - 1) / group_lanes<T>;
    const Index tiles = (shape.order + tile_rows - 1) / tile_rows;
    const auto rows_of = [&shape](Index tile) { return std::min(shape.order - tile * tile_rows, tile_rows); };
    const auto used = [columns](Index g) { return std::min(columns - g * group_lanes<T>, group_lanes<T>); };
    const auto view = [&b](Index tile, Index g) {
        return View<T>{&b(tile * tile_rows, g * group_lanes<T>), b.row_stride, b.column_stride};
    };
    for (Index step = 0; step < tiles; ++step) {
        const Index target = shape.lower ? tiles - 1 - step : step;
        part.rows = rows_of(target);
        // Minus zero is the neutral element of the sum: it keeps the sign of a zero.
        for (Index g = 0; g < groups; ++g)
            std::fill_n(sums[g].row[0], part.rows * group_lanes<T>, static_cast<T>(-0.0));
        const Index last = shape.lower ? target : tiles - 1;
        for (Index t = shape.lower ? 0 : target; t <= last; ++t) {
            part.count = rows_of(t);
            part.diagonal = t == target;
            find_part(part, copy, a, shape, target * tile_rows, t * tile_rows);
            for (Index g = 0; g < groups; ++g) {
                load_tile(source[g], view(t, g), part.count, used(g));
                add_by_vectors[(used(g) - 1) / vector_lanes<T>](sums[g], part, source[g]);
            }
        }
        for (Index g = 0; g < groups; ++g)
            store_tile(sums[g], view(target, g), part.rows, used(g), alpha);
    }
}

template <typename T, typename Triangle>
void multiply(const Triangle &a, const Shape &shape, T alpha, const View<T> &b) {
    constexpr Index most = most_groups * group_lanes<T>;
    for (Index first = 0; first < shape.columns; first += most)
        multiply_groups(a, shape, alpha, {&b(0, first), b.row_stride, b.column_stride},
                        std::min(shape.columns - first, most));
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
