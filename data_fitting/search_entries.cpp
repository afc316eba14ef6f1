// The entries of cell search: seven methods, two precisions, four forms.
#include "data_fitting/search_lockstep.h"
#include "data_fitting/search_quasi_uniform.h"
#include "data_fitting/search_sorted.h"
#include "data_fitting/search_uniform.h"
#include "data_fitting/search_user_defined.h"

namespace qor::df {
namespace {

// Bit 1 without bit 0 asks for 32-bit integers.
bool asks_wide(std::int64_t mode) { return (mode & 3) != 2; }

} // namespace
} // namespace qor::df

using namespace qor::df;

// The words of every form, those of a callback, and the search they ask for.
#define SITES(T, CELL)                                                                                       \
    std::int64_t nx, const T *x, std::int64_t nsite, const T *site, CELL *state, T step, void *, void *,     \
        void *, CELL *cell
#define CALLBACK(T) , void *, CellCallback<T> callback, void *p1, void *p2, std::int32_t *flags
#define NO_CALLBACK(T)
#define CALLBACK_MEMBERS callback, p1, p2, flags
#define NO_CALLBACK_MEMBERS nullptr, nullptr, nullptr, nullptr
#define SEARCH(METHOD, T, CELL, WORDS)                                                                       \
    search<METHOD>(Sites<T, CELL>{nx, x, nsite, site, static_cast<CELL *>(cell), static_cast<CELL *>(state), \
                                  step, WORDS##_MEMBERS})

#define FORM(NAME, METHOD, T, CELL, WORDS)                                                                   \
    std::int32_t NAME(SITES(T, CELL) WORDS(T)) { return SEARCH(METHOD, T, CELL, WORDS); }
#define FORMS(NAME, METHOD, T, WORDS)                                                                        \
    FORM(NAME##32, METHOD, T, std::int32_t, WORDS)                                                           \
    FORM(NAME##64, METHOD, T, std::int64_t, WORDS)                                                           \
    FORM(NAME##64Pack, METHOD, T, std::int64_t, WORDS)                                                       \
    std::int32_t NAME(SITES(T, void) WORDS(T), std::int64_t mode) {                                          \
        return asks_wide(mode) ? SEARCH(METHOD, T, std::int64_t, WORDS)                                      \
                               : SEARCH(METHOD, T, std::int32_t, WORDS);                                     \
    }
#define PRECISIONS(NAME, METHOD, WORDS)                                                                      \
    FORMS(qor_df_kernel_sDF##NAME##1D, METHOD, float, WORDS)                                                 \
    FORMS(qor_df_kernel_dDF##NAME##1D, METHOD, double, WORDS)

PRECISIONS(UniformSearch, Uniform, NO_CALLBACK)
PRECISIONS(QuasiUniformSearch, QuasiUniform, NO_CALLBACK)
PRECISIONS(SortedSearch, Sorted, NO_CALLBACK)
PRECISIONS(HybridSearch, AnyPartition, NO_CALLBACK)
PRECISIONS(PeakSearch, AnyPartition, NO_CALLBACK)
PRECISIONS(UserDefSearch, UserDefined, CALLBACK)
PRECISIONS(UniUserDefSearch, UniformUserDefined, CALLBACK)
