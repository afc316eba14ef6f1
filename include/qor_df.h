/*
 * qor_df.h: data fitting in one dimension: tasks, linear splines, cell search.
 *
 * A task describes a partition of an interval by its breakpoints, the values of one or more functions
 * at the breakpoints, the spline to be built and where its coefficients go. The task keeps the addresses
 * of the caller's arrays, never a copy: the arrays must stay in place, unchanged, until the task is
 * deleted or is given another address.
 *
 * Entries come in pairs, qor_df_kernel_s... for float and qor_df_kernel_d... for double. A task is of the
 * precision it was created with, and is edited by the entries of that precision.
 *
 * Threads: creation, edits and deletion of one task are the caller's to serialise. Queries, spline
 * construction and cell search only read the record: any number of them may run on one task at once while
 * no edit runs. Different tasks are independent.
 */
#ifndef QOR_DF_H
#define QOR_DF_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Status codes: what every entry returns. */
enum {
    QOR_DF_OK = 0,
    QOR_DF_NULL_TASK = -1000,
    QOR_DF_NO_MEMORY = -1001,
    QOR_DF_RESERVED_ARGUMENT = -1002,    /* a reserved pointer is not null */
    QOR_DF_BAD_BREAKPOINT_COUNT = -1004, /* fewer than two */
    QOR_DF_NULL_BREAKPOINTS = -1005,
    QOR_DF_BAD_PARTITION_HINT = -1006,
    QOR_DF_BAD_FUNCTION_COUNT = -1007,
    QOR_DF_NULL_VALUES = -1008,
    QOR_DF_BAD_VALUE_STORAGE = -1009,
    QOR_DF_BAD_SPLINE_ORDER = -1010,
    QOR_DF_BAD_SPLINE_TYPE = -1011,
    QOR_DF_BAD_INTERNAL_CONDITIONS_TYPE = -1012,
    QOR_DF_NULL_INTERNAL_CONDITIONS = -1013,
    QOR_DF_BAD_BOUNDARY_CONDITIONS_TYPE = -1014,
    QOR_DF_NULL_BOUNDARY_CONDITIONS = -1015,
    QOR_DF_NULL_COEFFICIENTS = -1016,
    QOR_DF_BAD_COEFFICIENT_STORAGE = -1017,
    QOR_DF_UNKNOWN_CODE = -1019,
    QOR_DF_INDEX_OUT_OF_RANGE = -1020,
    QOR_DF_BAD_DATA_HINT = -1026,
    QOR_DF_BAD_SETTING = -1036,
    QOR_DF_NULL_OUTPUT = -1037
};

/* Partition hints. */
enum {
    QOR_DF_NO_PARTITION_HINT = 0,
    QOR_DF_NON_UNIFORM = 1,
    QOR_DF_QUASI_UNIFORM = 2, /* breakpoints nearly evenly spaced */
    QOR_DF_UNIFORM = 4        /* x holds the two ends only */
};

/* Storage hints, of function values and of coefficients. */
enum {
    QOR_DF_NO_STORAGE_HINT = 0x00,   /* as by rows */
    QOR_DF_MATRIX_BY_ROWS = 0x10,    /* one matrix, a function after the other */
    QOR_DF_MATRIX_BY_COLUMNS = 0x20, /* one matrix, a breakpoint after the other */
    QOR_DF_SEPARATE_ARRAYS = 0x80    /* each function in an array of its own */
};

/* Site hints. */
enum { QOR_DF_SITES_IN_BLOCKS = 4, QOR_DF_SORTED_SITES = 64 };

/* Tasks ------------------------------------------------------------------------------------------- */

/* Parameter codes of the pointer entries; the index entries know QOR_DF_VALUES and QOR_DF_COEFFICIENTS. */
enum {
    QOR_DF_BREAKPOINTS = 1,
    QOR_DF_VALUES = 2,
    QOR_DF_INTERNAL_CONDITIONS = 3,
    QOR_DF_BOUNDARY_CONDITIONS = 4,
    QOR_DF_COEFFICIENTS = 5
};

/* Parameter codes of the value entries. */
enum {
    QOR_DF_BREAKPOINT_COUNT = 14,
    QOR_DF_PARTITION_HINT = 15,
    QOR_DF_FUNCTION_COUNT = 16,
    QOR_DF_VALUE_STORAGE = 17,
    QOR_DF_SPLINE_ORDER = 18,
    QOR_DF_SPLINE_TYPE = 19,
    QOR_DF_INTERNAL_CONDITIONS_TYPE = 20,
    QOR_DF_BOUNDARY_CONDITIONS_TYPE = 21,
    QOR_DF_COEFFICIENT_STORAGE = 22,
    QOR_DF_SETTING = 23
};

/*
 * Creates a task and stores its handle in *task.
 *
 *   nx, x      the breakpoints, 2 or more, ascending (not checked); with QOR_DF_UNIFORM x holds the two
 *              ends only and the breakpoints are evenly spaced between them
 *   xhint      a partition hint; the cell search chooses its method by it
 *   ny, y      the functions and their values at the breakpoints; 0 and null when they come later
 *   yhint      how the values are stored. QOR_DF_NO_STORAGE_HINT, QOR_DF_MATRIX_BY_ROWS: value i of
 *              function j is y[j * nx + i]. QOR_DF_MATRIX_BY_COLUMNS: y[i * ny + j].
 *              QOR_DF_SEPARATE_ARRAYS: y is function 0's array; the others are still to be given, by
 *              qor_df_kernel_?EditIdxPtr
 *   int_width  not 0 when the caller's integers have 64 bits: queries of values then store 8 bytes, else 4
 *
 * Arguments are checked from the left: QOR_DF_BAD_BREAKPOINT_COUNT, QOR_DF_NULL_BREAKPOINTS,
 * QOR_DF_BAD_PARTITION_HINT, QOR_DF_BAD_FUNCTION_COUNT (0 functions with y given), QOR_DF_NULL_VALUES,
 * QOR_DF_BAD_VALUE_STORAGE, and last QOR_DF_NULL_TASK for a null `task`; *task is not written then.
 * QOR_DF_NO_MEMORY: no task when memory for the record itself was missing (*task is not written),
 * otherwise *task holds an incomplete one that is good for qor_df_kernel_DeleteTask alone.
 */
int32_t qor_df_kernel_sNewTask1D(void **task, int64_t nx, const float *x, int64_t xhint, int64_t ny,
                                 const float *y, int64_t yhint, int64_t int_width);
int32_t qor_df_kernel_dNewTask1D(void **task, int64_t nx, const double *x, int64_t xhint, int64_t ny,
                                 const double *y, int64_t yhint, int64_t int_width);

/* Releases the task, not the caller's arrays, and sets *task to null. QOR_DF_NULL_TASK when it is. */
int32_t qor_df_kernel_DeleteTask(void **task);

/*
 * Edits and queries. All check the task first (QOR_DF_NULL_TASK), queries then `out`
 * (QOR_DF_NULL_OUTPUT); all return QOR_DF_OK at once, doing nothing, for a task that was not created
 * whole, and QOR_DF_UNKNOWN_CODE for a code they do not know. A refused edit changes nothing, but for the
 * partial edits of qor_df_kernel_?EditPPSpline1D. After QOR_DF_NO_MEMORY the table that was to be
 * rebuilt is gone.
 *
 * Edits compute nothing anew except where it is said here: after changing counts, hints or breakpoints
 * the caller gives the values, the coefficients or the partition hint QOR_DF_NON_UNIFORM again.
 */

/*
 * Sets or reads one value. Accepted values, and the status otherwise:
 *
 *   QOR_DF_BREAKPOINT_COUNT          2 or more               QOR_DF_BAD_BREAKPOINT_COUNT
 *   QOR_DF_PARTITION_HINT            a partition hint        QOR_DF_BAD_PARTITION_HINT
 *       QOR_DF_NON_UNIFORM also rebuilds the search table from the breakpoints (QOR_DF_NO_MEMORY)
 *   QOR_DF_FUNCTION_COUNT            1 or more               QOR_DF_BAD_FUNCTION_COUNT
 *   QOR_DF_VALUE_STORAGE             a storage hint          QOR_DF_BAD_VALUE_STORAGE
 *   QOR_DF_SPLINE_ORDER              0 or more               QOR_DF_BAD_SPLINE_ORDER
 *   QOR_DF_SPLINE_TYPE               0 to 5, 9               QOR_DF_BAD_SPLINE_TYPE
 *   QOR_DF_INTERNAL_CONDITIONS_TYPE  0, 1, 2, bit 3 set      QOR_DF_BAD_INTERNAL_CONDITIONS_TYPE
 *   QOR_DF_BOUNDARY_CONDITIONS_TYPE  0 or more               QOR_DF_BAD_BOUNDARY_CONDITIONS_TYPE
 *   QOR_DF_COEFFICIENT_STORAGE       a storage hint          QOR_DF_BAD_COEFFICIENT_STORAGE
 *   QOR_DF_SETTING                   0, 1                    QOR_DF_BAD_SETTING
 *
 * `out` points to an integer of the width given at creation; one of 4 bytes gets the low half.
 */
int32_t qor_df_kernel_iEditVal(void *task, int64_t code, int64_t value);
int32_t qor_df_kernel_iQueryVal(void *task, int64_t code, void *out);

/*
 * Sets or reads the address of an array. A null `array` is refused with the code's own status:
 * QOR_DF_NULL_BREAKPOINTS, QOR_DF_NULL_VALUES, QOR_DF_NULL_INTERNAL_CONDITIONS,
 * QOR_DF_NULL_BOUNDARY_CONDITIONS, QOR_DF_NULL_COEFFICIENTS.
 *
 * Values and coefficients are given for all functions at once, under the task's present counts, storage
 * hint, spline order and type (QOR_DF_NO_MEMORY; coefficients without functions:
 * QOR_DF_BAD_FUNCTION_COUNT). The coefficients of function j begin at array + j * S,
 * S = order * nx for spline type 1 and order * (nx - 1) for all others; with QOR_DF_SEPARATE_ARRAYS
 * `array` is function 0's and the others are still to be given. Queries give function 0's address, null
 * when nothing was given yet.
 */
int32_t qor_df_kernel_sEditPtr(void *task, int64_t code, const void *array);
int32_t qor_df_kernel_dEditPtr(void *task, int64_t code, const void *array);
int32_t qor_df_kernel_sQueryPtr(void *task, int64_t code, void **out);
int32_t qor_df_kernel_dQueryPtr(void *task, int64_t code, void **out);

/*
 * Sets or reads the address of the values or the coefficients of function `index`, 0 .. ny - 1.
 * QOR_DF_INDEX_OUT_OF_RANGE; a query lets index = ny pass and stores an address that means nothing.
 * QOR_DF_BAD_VALUE_STORAGE for the values of a task with QOR_DF_MATRIX_BY_COLUMNS. A null `array`, or
 * setting one of a task that has no values (coefficients) yet, gives QOR_DF_NULL_VALUES
 * (QOR_DF_NULL_COEFFICIENTS); queries then store null.
 */
int32_t qor_df_kernel_sEditIdxPtr(void *task, int64_t code, int64_t index, const void *array);
int32_t qor_df_kernel_dEditIdxPtr(void *task, int64_t code, int64_t index, const void *array);
int32_t qor_df_kernel_sQueryIdxPtr(void *task, int64_t code, int64_t index, void **out);
int32_t qor_df_kernel_dQueryIdxPtr(void *task, int64_t code, int64_t index, void **out);

/*
 * Sets the spline's parameters at once, each pair after its own check, so that what comes before a
 * refused argument is set:
 *
 *   order, type        0 or more: QOR_DF_BAD_SPLINE_ORDER, QOR_DF_BAD_SPLINE_TYPE
 *   bc_type, bc        null bc with a type of 3 or more, 64 excepted: QOR_DF_NULL_BOUNDARY_CONDITIONS
 *   ic_type, ic        type without array: QOR_DF_NULL_INTERNAL_CONDITIONS; array without type:
 *                      QOR_DF_BAD_INTERNAL_CONDITIONS_TYPE
 *   scoeff, its hint   as for qor_df_kernel_?EditPtr, under the hint given here, which is not checked; a
 *                      null scoeff leaves the addresses as they are
 */
int32_t qor_df_kernel_sEditPPSpline1D(void *task, int64_t order, int64_t type, int64_t bc_type,
                                      const float *bc, int64_t ic_type, const float *ic, float *scoeff,
                                      int64_t scoeff_hint);
int32_t qor_df_kernel_dEditPPSpline1D(void *task, int64_t order, int64_t type, int64_t bc_type,
                                      const double *bc, int64_t ic_type, const double *ic, double *scoeff,
                                      int64_t scoeff_hint);

/* Linear splines ---------------------------------------------------------------------------------- */

/*
 * Writes the coefficients of the piecewise-linear interpolant of every function: for cell i = 0 .. nx - 2
 * of function j, numbers 2i and 2i + 1 of its row are the value y_j(i) at the cell's left end and the
 * slope (y_j(i+1) - y_j(i)) / (x[i+1] - x[i]), with QOR_DF_UNIFORM
 * (y_j(i+1) - y_j(i)) * ((nx - 1) * (1 / (x[1] - x[0]))). Rows must not overlap the input. Breakpoints are
 * not checked: equal neighbours give infinite or NaN slopes.
 *
 * `reserved` must be null (QOR_DF_RESERVED_ARGUMENT); the two words are not read.
 * QOR_DF_BAD_BREAKPOINT_COUNT, QOR_DF_BAD_VALUE_STORAGE; QOR_DF_NULL_TASK, QOR_DF_NULL_VALUES and
 * QOR_DF_NULL_COEFFICIENTS for a task that is missing or lacks its values or coefficients altogether.
 */
int32_t qor_df_kernel_sDFLinearSpline1D(void *task, int64_t word1, void *reserved, int64_t word2);
int32_t qor_df_kernel_dDFLinearSpline1D(void *task, int64_t word1, void *reserved, int64_t word2);

/* Cell search ------------------------------------------------------------------------------------- */

/*
 * The cell of a site s is 0 for s < x[0], i for x[i-1] <= s < x[i], nx - 1 for s = x[nx-1] and nx above it:
 * a site at an inner breakpoint belongs to the cell that begins there. A NaN gets some cell in 0 .. nx.
 *
 *   entry qor_df_kernel_?DF...   partition                   sites      uses beside nx, x and the sites
 *   UniformSearch1D              uniform: x[0], x[1] = ends  any        step
 *   QuasiUniformSearch1D         nearly uniform              any        step
 *   SortedSearch1D               any                         ascending  *state
 *   HybridSearch1D               any                         any        -
 *   PeakSearch1D                 any                         any        -
 *   UserDefSearch1D              any                         any        callback, p1, p2, flags
 *   UniUserDefSearch1D           uniform, as above           any        step, callback, p1, p2, flags
 *
 * nx >= 2 breakpoints ascend; equal neighbours are allowed. Breakpoints and sites are not checked, nor
 * read or written beyond their ends whatever they hold. `cell` receives nsite integers and must not overlap
 * the other arrays. Pointers a method does not use may be null. nsite < 1 does nothing.
 *
 * Forms: ...32 and ...64 write 32-bit and 64-bit cells (and state); ...64Pack is ...64. The form without a
 * suffix writes 32-bit ones when bit 1 of `mode` is set and bit 0 clear, else 64-bit ones.
 *
 * Uniform: trunc((s - x[0]) / step) + 1, at most nx, where every full group of four sites multiplies by
 * 1 / step and the up to three sites after the last group divide; near a breakpoint the two can differ.
 *
 * Sorted: *state is the cell from which the first site looks to the right, 0 at the start; it is moved on,
 * so that further calls can go on with further sites. It stays where it is for a site at x[nx-1].
 *
 * User-defined: see the callback.
 *
 * All return 0, the user-defined methods the callback's result where that is not QOR_DF_ALL_PLACED.
 */
enum { QOR_DF_ALL_PLACED = 1000 };

/*
 * Places sites of the caller's own arrays, all as passed to the search: *nsite sites, their cells (integers
 * as wide as the entry writes) and flags; `p1` and `p2` are the caller's. It is called once. A negative
 * result ends the search and becomes its status; QOR_DF_ALL_PLACED says that every cell is written. After
 * any other result a site whose flag is not 0 keeps its cell, and each other site is searched for: on a
 * uniform partition by the uniform method, else from the cell the callback wrote, taken as a guess (a
 * negative one as 0). A site equal to the breakpoint x[guess] keeps the cell `guess`.
 */
typedef int32_t (*qor_df_sCellCallback)(int64_t *nsite, const float *site, void *cell, int32_t *flags,
                                        void *p1, void *p2);
typedef int32_t (*qor_df_dCellCallback)(int64_t *nsite, const double *site, void *cell, int32_t *flags,
                                        void *p1, void *p2);

#define QOR_DF_SITES(T, CELL)                                                                                \
    int64_t nx, const T *x, int64_t nsite, const T *site, CELL *state, T step, void *unused1, void *unused2, \
        void *unused3, CELL *cell
#define QOR_DF_CALLBACK(P)                                                                                   \
    , void *unused4, qor_df_##P##CellCallback callback, void *p1, void *p2, int32_t *flags
#define QOR_DF_NO_CALLBACK(P)
#define QOR_DF_FORMS(NAME, P, T, WORDS)                                                                      \
    int32_t qor_df_kernel_##P##DF##NAME(QOR_DF_SITES(T, void) WORDS(P), int64_t mode);                       \
    int32_t qor_df_kernel_##P##DF##NAME##32(QOR_DF_SITES(T, int32_t) WORDS(P));                              \
    int32_t qor_df_kernel_##P##DF##NAME##64(QOR_DF_SITES(T, int64_t) WORDS(P));                              \
    int32_t qor_df_kernel_##P##DF##NAME##64Pack(QOR_DF_SITES(T, int64_t) WORDS(P));
#define QOR_DF_METHOD(NAME, WORDS)                                                                           \
    QOR_DF_FORMS(NAME, s, float, WORDS)                                                                      \
    QOR_DF_FORMS(NAME, d, double, WORDS)

QOR_DF_METHOD(UniformSearch1D, QOR_DF_NO_CALLBACK)
QOR_DF_METHOD(QuasiUniformSearch1D, QOR_DF_NO_CALLBACK)
QOR_DF_METHOD(SortedSearch1D, QOR_DF_NO_CALLBACK)
QOR_DF_METHOD(HybridSearch1D, QOR_DF_NO_CALLBACK)
QOR_DF_METHOD(PeakSearch1D, QOR_DF_NO_CALLBACK)
QOR_DF_METHOD(UserDefSearch1D, QOR_DF_CALLBACK)
QOR_DF_METHOD(UniUserDefSearch1D, QOR_DF_CALLBACK)

#undef QOR_DF_METHOD
#undef QOR_DF_FORMS
#undef QOR_DF_NO_CALLBACK
#undef QOR_DF_CALLBACK
#undef QOR_DF_SITES

/*
 * Searches the task's partition by the method that fits:
 *
 *   with a callback            user-defined, the uniform one for QOR_DF_UNIFORM
 *   QOR_DF_QUASI_UNIFORM       quasi-uniform
 *   QOR_DF_UNIFORM             uniform
 *   QOR_DF_SORTED_SITES        sorted, from state 0
 *   data_hint not null         peak when data_hint[1] is 1, hybrid when it is 0
 *   otherwise                  hybrid
 *
 * The step is (right end - left end) / (nx - 1). Cells are as wide as the task's integers, 64 bits when
 * `int_width` was not 0. `data_hint` has at least 5 numbers and is read only where the table gets to it:
 * QOR_DF_BAD_DATA_HINT unless element 1 is 0 or 1 and, when it is 1, element 4 (where sites are densest) is
 * in 0 .. nx. p1, p2 and flags belong to the callback. QOR_DF_NULL_TASK.
 */
int32_t qor_df_kernel_sDFSearch1D(void *task, int64_t nsite, const float *site, int64_t site_hint,
                                  const float *data_hint, void *cell, qor_df_sCellCallback callback, void *p1,
                                  void *p2, int32_t *flags);
int32_t qor_df_kernel_dDFSearch1D(void *task, int64_t nsite, const double *site, int64_t site_hint,
                                  const double *data_hint, void *cell, qor_df_dCellCallback callback,
                                  void *p1, void *p2, int32_t *flags);

#ifdef __cplusplus
}
#endif
#endif
