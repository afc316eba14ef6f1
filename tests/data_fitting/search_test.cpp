// Cell search against the cell convention read literally, one breakpoint after the other. All arrays stand
// at inaccessible pages, so that any read or write beside them ends the test.
#include "qor_df.h"
#include "support/guard_pages.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <utility>

namespace {

using std::int32_t;
using std::int64_t;
using test::Edge;
using test::GuardedArray;

template <class Plain, class Narrow, class Wide> struct Forms {
    const char *name;
    Plain *plain;
    Narrow *narrow;
    Wide *wide, *pack;
};

template <class T> struct Entries;
#define FORMS(P, METHOD)                                                                                     \
    Forms {                                                                                                  \
#METHOD, qor_df_kernel_##P##DF##METHOD##Search1D, qor_df_kernel_##P##DF##METHOD##Search1D32,         \
            qor_df_kernel_##P##DF##METHOD##Search1D64, qor_df_kernel_##P##DF##METHOD##Search1D64Pack         \
    }
#define ENTRIES(P, T)                                                                                        \
    template <> struct Entries<T> {                                                                          \
        static constexpr auto new_task = qor_df_kernel_##P##NewTask1D;                                       \
        static constexpr auto edit_pointer = qor_df_kernel_##P##EditPtr;                                     \
        static constexpr auto generic = qor_df_kernel_##P##DFSearch1D;                                       \
        static constexpr auto hybrid = FORMS(P, Hybrid), peak = FORMS(P, Peak), sorted = FORMS(P, Sorted),   \
                              quasi = FORMS(P, QuasiUniform), uniform = FORMS(P, Uniform);                   \
        static constexpr auto user = FORMS(P, UserDef), uniform_user = FORMS(P, UniUserDef);                 \
    };
ENTRIES(s, float)
ENTRIES(d, double)

// call(width, entry, mode...) for every form of a method.
template <class Method, class Call> void for_all_forms(const Method &method, const Call &call) {
    SCOPED_TRACE(method.name);
    call(int32_t{}, method.narrow);
    call(int64_t{}, method.wide);
    call(int64_t{}, method.pack);
    for (const int64_t mode : {0, 1, 3, 4, 7})
        call(int64_t{}, method.plain, mode);
    for (const int64_t mode : {2, 6})
        call(int32_t{}, method.plain, mode);
}

template <class T> using Limits = std::numeric_limits<T>;
template <class X> int64_t count(const X &x) { return static_cast<int64_t>(x.size()); }

// Is this the cell of s by the convention? A NaN may have any.
template <class X, class T> bool is_cell(const X &x, T s, int64_t cell) {
    if (std::isnan(s))
        return cell >= 0 && cell <= count(x);
    std::size_t i = 0;
    while (i < x.size() && !(s < x[i]))
        ++i;
    return cell == (s == x[x.size() - 1] ? count(x) - 1 : static_cast<int64_t>(i));
}

template <class X, class T, class Cell>
void expect_cells(const X &x, const GuardedArray<T> &site, const GuardedArray<Cell> &cell) {
    for (std::size_t i = 0; i < site.size(); ++i)
        ASSERT_TRUE(is_cell(x, site[i], cell[i]))
            << "site " << site[i] << " at " << i << ", cell " << cell[i];
}

// Searches with every form; gives cells and state to check.
template <class Method, class T, class Check>
void search(const Method &method, const GuardedArray<T> &x, int64_t nx, const GuardedArray<T> &site, T step,
            int64_t state, const Check &check) {
    for_all_forms(method, [&]<class Cell>(Cell, auto *entry, auto... mode) {
        const GuardedArray<Cell> cell(site.size(), Edge::end, Cell{-7}),
            word(1, Edge::end, static_cast<Cell>(state));
        ASSERT_EQ(entry(nx, x.data(), count(site), site.data(), word.data(), step, nullptr, nullptr, nullptr,
                        cell.data(), mode...),
                  0);
        check(cell, int64_t{word[0]});
    });
}

template <class T> struct Task {
    void *handle = nullptr;
    Task(int64_t nx, const T *x, int64_t hint, int64_t width) {
        EXPECT_EQ(Entries<T>::new_task(&handle, nx, x, hint, 0, nullptr, 0, width), 0);
    }
    Task(const Task &) = delete;
    ~Task() { qor_df_kernel_DeleteTask(&handle); }

    int32_t search(const GuardedArray<T> &site, int64_t site_hint, const T *data_hint, void *cell) {
        return Entries<T>::generic(handle, count(site), site.data(), site_hint, data_hint, cell, nullptr,
                                   nullptr, nullptr, nullptr);
    }
};

enum Shape {
    even,
    irregular,
    clustered,
    repeated,
    all_equal,
    denormal,
    huge,
    neighbours,
    infinite_ends,
    shapes
};

template <class T> std::vector<T> partition(int shape, std::size_t nx, std::mt19937_64 &random) {
    std::uniform_real_distribution<double> unit(0, 1);
    const auto breakpoint = [&](std::size_t i) {
        const double u = unit(random), n = static_cast<double>(nx);
        switch (shape) {
        case even:
            return T(-3) + T(i) * T(0.1);
        case irregular:
            return T(u - 0.5);
        case clustered:
            return T(u < 0.9 ? 0.5 + 1e-4 * unit(random) : 100 * u);
        case repeated:
            return T(std::floor(u * n / 3));
        case all_equal:
            return T(2);
        case denormal:
            return T(std::floor((u - 0.5) * 4 * n)) * Limits<T>::denorm_min();
        case huge:
            return T(2 * u - 1) * Limits<T>::max();
        case neighbours:
            return 1 + T(i) * Limits<T>::epsilon();
        default:
            return i == 0 ? -Limits<T>::infinity() : i + 1 == nx ? Limits<T>::infinity() : T(u);
        }
    };
    std::vector<T> x(nx);
    for (std::size_t i = 0; i < nx; ++i)
        x[i] = breakpoint(i);
    std::sort(x.begin(), x.end());
    return x;
}

// Breakpoints and their neighbours, numbers between and beyond, infinities and NaN, in any order.
template <class T> std::vector<T> sites_of(const std::vector<T> &x, std::mt19937_64 &random) {
    constexpr T infinity = Limits<T>::infinity(), nan = Limits<T>::quiet_NaN();
    std::vector<T> site = {-infinity, infinity, nan, -nan, -Limits<T>::max(), Limits<T>::max(), T(0), -T(0)};
    std::uniform_real_distribution<double> unit(-0.1, 1.1);
    for (std::size_t i = 0; i < x.size(); i += x.size() / 150 + 1) {
        const T u = T(unit(random));
        for (const T s : {x[i], std::nextafter(x[i], -infinity), std::nextafter(x[i], infinity),
                          x.front() * (1 - u) + x.back() * u})
            site.push_back(s);
    }
    site.push_back(x.back());
    std::shuffle(site.begin(), site.end(), random);
    return site;
}

template <class T> class CellSearch : public testing::Test {};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(CellSearch, Precisions);

TYPED_TEST(CellSearch, EveryMethodKeepsTheConvention) {
    using T = TypeParam;
    using E = Entries<T>;
    std::mt19937_64 random(11);
    std::vector<std::size_t> sizes = {40, 41, 42, 43, 99, 100, 101, 102, 1000};
    for (std::size_t nx = 2; nx <= 20; ++nx)
        sizes.push_back(nx);
    for (int shape = 0; shape < shapes; ++shape)
        for (const std::size_t size : sizes) {
            SCOPED_TRACE("shape " + std::to_string(shape) + ", nx " + std::to_string(size));
            const std::vector<T> breakpoints = partition<T>(shape, size, random);
            std::vector<T> sites = sites_of(breakpoints, random);
            const Edge edge = size % 2 ? Edge::begin : Edge::end;
            const GuardedArray<T> x(breakpoints, edge), site(sites, edge);
            std::sort(sites.begin(), std::partition(sites.begin(), sites.end(), [](T s) { return s == s; }));
            const GuardedArray<T> ascending(sites, edge);
            const auto check = [&](const auto &cell, int64_t) { expect_cells(x, site, cell); };
            const auto check_ascending = [&](const auto &cell, int64_t) { expect_cells(x, ascending, cell); };

            search(E::hybrid, x, count(x), site, T(0), 0, check);
            search(E::peak, x, count(x), site, T(0), 0, check);
            search(E::sorted, x, count(x), ascending, T(0), 0, check_ascending);
            // The step only helps: any will do.
            const T step = (x[size - 1] - x[0]) / T(size - 1);
            for (const T h : {step, step * T(0.9), step * 50, -step, T(0), Limits<T>::infinity()})
                search(E::quasi, x, count(x), site, h, 0, check);
            const T no_peak[5] = {9, 0, 9, 9, -9}, peak[5] = {9, 1, 9, 9, T(size)};
            for (const int64_t hint : {QOR_DF_NO_PARTITION_HINT, QOR_DF_NON_UNIFORM, QOR_DF_QUASI_UNIFORM}) {
                const auto search_task = [&]<class Cell>(Cell width) {
                    Task<T> task(count(x), x.data(), hint, width);
                    const GuardedArray<Cell> cell(site.size(), edge);
                    for (const T *data_hint : {static_cast<const T *>(nullptr), no_peak, peak})
                        for (const int64_t order : {0, +QOR_DF_SITES_IN_BLOCKS, +QOR_DF_SORTED_SITES}) {
                            const GuardedArray<T> &s = order == QOR_DF_SORTED_SITES ? ascending : site;
                            std::fill(cell.begin(), cell.end(), Cell{-7});
                            ASSERT_EQ(task.search(s, order, data_hint, cell.data()), 0);
                            expect_cells(x, s, cell);
                        }
                };
                search_task(int32_t{0});
                search_task(int64_t{1});
            }
            // From no state, however wrong, is anything read outside.
            for (const int64_t state : {-9, 1, static_cast<int>(size), static_cast<int>(size) + 9})
                search(E::sorted, x, count(x), site, T(0), state, [&](const auto &cell, int64_t) {
                    for (const auto c : cell)
                        ASSERT_TRUE(c >= 0 && c <= count(x)) << c;
                });
            if (this->HasFatalFailure())
                return;
        }
}

// Sites that stay in one cell for a while, and one of another cell or none between them, at any place.
TYPED_TEST(CellSearch, LongStaysInOneCellEndWhereTheyEnd) {
    using T = TypeParam;
    using E = Entries<T>;
    std::mt19937_64 random(16);
    for (const std::size_t size : {2u, 3u, 16u, 1000u})
        for (const int shape : {even, clustered, repeated, denormal, infinite_ends}) {
            const GuardedArray<T> x(partition<T>(shape, size, random), Edge::end);
            std::vector<T> sites;
            for (int stay = 0; stay < 300; ++stay) {
                const std::size_t j = random() % (size - 1);
                sites.insert(sites.end(), random() % 80, std::max(x[j], std::nextafter(x[j + 1], x[j])));
                sites.insert(sites.end(), random() % 80, x[j]);
                const T strangers[] = {x[j + 1], std::nextafter(x[j], -Limits<T>::infinity()), x[size - 1],
                                       Limits<T>::quiet_NaN(), Limits<T>::infinity()};
                sites.push_back(strangers[stay % 5]);
            }
            const GuardedArray<T> site(sites, Edge::end);
            const auto check = [&](const auto &cell, int64_t) { expect_cells(x, site, cell); };
            search(E::hybrid, x, count(x), site, T(0), 0, check);
            search(E::peak, x, count(x), site, T(0), 0, check);
            const GuardedArray<int64_t> cell(site.size(), Edge::end, -7);
            ASSERT_EQ(Task<T>(count(x), x.data(), 0, 1).search(site, 0, nullptr, cell.data()), 0);
            expect_cells(x, site, cell);
            if (this->HasFatalFailure())
                return;
        }
}

// Partitions even but for rounding, a few ulp or one breakpoint, and sites close to every breakpoint, to the
// places an even partition has for them and to one another: as many sites as make all breakpoints looked at
// beforehand, and one too few.
TYPED_TEST(CellSearch, AlmostEvenPartitionsKeepTheConvention) {
    using T = TypeParam;
    constexpr T tiny = Limits<T>::min(), large = Limits<T>::max(), infinity = Limits<T>::infinity();
    std::mt19937_64 random(17);
    std::uniform_real_distribution<double> unit(-0.5, 1.5);
    const auto expect_even_cells = [&](const std::vector<T> &breakpoints, T x0, T h) {
        const std::size_t nx = breakpoints.size();
        std::vector<T> sites = {infinity, -infinity, Limits<T>::quiet_NaN(), large, -large};
        for (std::size_t i = 0; i < nx; ++i) {
            const T u = T(unit(random)), even_place = x0 + T(i) * h;
            for (const T s : {breakpoints[i], even_place, even_place + u * h})
                sites.insert(sites.end(), {s, std::nextafter(s, -infinity), std::nextafter(s, infinity)});
        }
        std::shuffle(sites.begin(), sites.end(), random);
        const GuardedArray<T> x(breakpoints, nx % 2 ? Edge::begin : Edge::end);
        for (const std::size_t nsite : {sites.size(), nx, nx - 1}) {
            sites.resize(nsite);
            const GuardedArray<T> site(sites, Edge::end);
            search(Entries<T>::quasi, x, count(x), site, h, 0,
                   [&](const auto &cell, int64_t) { expect_cells(x, site, cell); });
        }
    };
    const struct {
        T x0, h;
    } grids[] = {{0, 1},           {-3, T(0.1)},        {T(1e3), T(1e-3)},     {T(-1e9), T(1e-3)},
                 {T(1e9), T(0.3)}, {0, tiny / 2},       {-9 * tiny, tiny / 2}, {tiny, 4 * tiny},
                 {0, large / 999}, {-large, large / 99}};
    for (const auto &[x0, h] : grids)
        for (const std::size_t nx : {2u, 3u, 9u, 16u, 42u, 203u})
            for (const int ulps : {0, 3}) {
                SCOPED_TRACE("from " + std::to_string(x0) + ", nx " + std::to_string(nx));
                std::vector<T> x(nx);
                for (std::size_t i = 0; i < nx; ++i) {
                    x[i] = x0 + T(i) * h;
                    for (int k = static_cast<int>(random() % 4); k < ulps; ++k)
                        x[i] = std::nextafter(x[i], random() % 2 ? infinity : -infinity);
                }
                std::sort(x.begin(), x.end());
                expect_even_cells(x, x0, h);
                if (this->HasFatalFailure())
                    return;
            }
    // Small and large displacements, of every breakpoint in turn.
    const T x0 = -2, h = T(0.25);
    for (const T displaced : {T(0.01), T(0.06), T(0.0625), T(0.07), T(0.5), T(0.99)})
        for (std::size_t i = 0; i < 45; ++i) {
            SCOPED_TRACE("breakpoint " + std::to_string(i) + " by " + std::to_string(displaced));
            std::vector<T> x(45);
            for (std::size_t k = 0; k < x.size(); ++k)
                x[k] = x0 + T(k) * h;
            x[i] += (random() % 2 ? displaced : -displaced) * h;
            expect_even_cells(x, x0, h);
            if (this->HasFatalFailure())
                return;
        }
}

// Searches long enough for the bin table, whose breakpoints may have changed under it.
TYPED_TEST(CellSearch, BinTableNeverMisleads) {
    using T = TypeParam;
    std::mt19937_64 random(12);
    for (int made_for = 0; made_for < shapes; ++made_for)
        for (int used_on = 0; used_on < shapes; ++used_on) {
            const GuardedArray<T> old(partition<T>(made_for, 3000, random), Edge::end);
            std::vector<T> x = partition<T>(used_on, 3000, random), sites = sites_of(x, random);
            for (std::size_t i = 0; sites.size() < 4001; ++i)
                sites.push_back(sites[i] + (x.back() - x.front()) / 4096);
            const GuardedArray<T> site(sites, Edge::end);
            const GuardedArray<int64_t> cell(site.size(), Edge::end, -7);
            Task<T> task(count(old), old.data(), QOR_DF_NON_UNIFORM, 1);
            for (; x.size() > 2000; x.resize(x.size() - 700)) {
                const GuardedArray<T> present(x, Edge::end);
                ASSERT_EQ(Entries<T>::edit_pointer(task.handle, 1, present.data()), 0);
                ASSERT_EQ(qor_df_kernel_iEditVal(task.handle, 14, count(x)), 0);
                ASSERT_EQ(task.search(site, 0, nullptr, cell.data()), 0);
                expect_cells(x, site, cell);
            }
        }
}

// Where all arithmetic is exact the uniform method keeps the convention too; no step leads out of 0 .. nx.
TYPED_TEST(CellSearch, UniformMethodIsExactWhereArithmeticIs) {
    using T = TypeParam;
    std::mt19937_64 random(14);
    for (const std::size_t size : {2u, 3u, 17u, 42u, 1001u}) {
        std::vector<T> x, sites = {-Limits<T>::infinity(),
                                   Limits<T>::infinity(),
                                   Limits<T>::quiet_NaN(),
                                   Limits<T>::max(),
                                   T(1e18),
                                   T(1e19),
                                   T(1e20),
                                   -T(1e19)};
        for (std::size_t i = 0; i < size; ++i)
            x.push_back(T(i) / 4 - 8);
        sites.insert(sites.end(), x.begin(), x.end());
        for (int i = 0; i < 999; ++i)
            sites.push_back((T(random() % (size * 16 + 64)) - 32) / 64 - 8);
        const GuardedArray<T> site(sites, Edge::begin), ends({x.front(), x.back()}, Edge::end);
        const GuardedArray<int32_t> cell(site.size(), Edge::end);
        search(Entries<T>::uniform, ends, count(x), site, T(0.25), 0,
               [&](const auto &found, int64_t) { expect_cells(x, site, found); });
        ASSERT_EQ(Task<T>(count(x), ends.data(), QOR_DF_UNIFORM, 0).search(site, 0, nullptr, cell.data()), 0);
        expect_cells(x, site, cell);
        for (const T h :
             {T(0.01), T(0), -T(1), Limits<T>::quiet_NaN(), Limits<T>::infinity(), Limits<T>::denorm_min()})
            search(Entries<T>::uniform, ends, count(x), site, h, 0, [&](const auto &found, int64_t) {
                for (const auto c : found)
                    ASSERT_TRUE(c >= 0 && c <= count(x)) << c;
            });
    }
}

// A uniform partition has no array of breakpoints, so that cells may need more than 32 bits.
TYPED_TEST(CellSearch, UniformPartitionsMayBeHuge) {
    using T = TypeParam;
    const GuardedArray<T> ends({T(0), T(0x1p60)}, Edge::end),
        site({T(0x1p59), T(0x1p60), T(0x1p61)}, Edge::end);
    const GuardedArray<int64_t> cell(3, Edge::end);
    const int64_t cells = int64_t{1} << 60;
    Entries<T>::uniform.wide(cells + 1, ends.data(), 3, site.data(), nullptr, T(1), nullptr, nullptr, nullptr,
                             cell.data());
    EXPECT_EQ(std::vector<int64_t>(cell.begin(), cell.end()),
              (std::vector<int64_t>{cells / 2 + 1, cells, cells + 1}));
}

// Groups of four sites multiply by 1/h, the sites after the last group divide by h.
TYPED_TEST(CellSearch, UniformGroupsMultiplyAndTheRestDivides) {
    using T = TypeParam;
    const volatile T h = T(1) / 49, reciprocal = 1 / h;
    const GuardedArray<T> ends({T(0), T(1000)}, Edge::end);
    int differing = 0;
    for (int k = 1; k < 49000 && differing < 5; ++k) {
        const volatile T s = T(k) * h, product = s * reciprocal, quotient = s / h;
        const auto multiplied = static_cast<int64_t>(product) + 1,
                   divided = static_cast<int64_t>(quotient) + 1;
        if (multiplied == divided)
            continue;
        ++differing;
        for (std::size_t length = 1; length <= 9; ++length)
            search(Entries<T>::uniform, ends, 49001, GuardedArray<T>(length, Edge::end, s), T(h), 0,
                   [&](const auto &cell, int64_t) {
                       for (std::size_t i = 0; i < length; ++i)
                           ASSERT_EQ(int64_t{cell[i]}, i < length / 4 * 4 ? multiplied : divided) << s;
                   });
    }
    EXPECT_EQ(differing, 5);
}

TYPED_TEST(CellSearch, SortedSearchGoesOnWhereItStood) {
    using T = TypeParam;
    const GuardedArray<T> x({1, 2, 3, 4, 5, 5, 6}, Edge::end);
    const struct {
        int64_t state;
        std::vector<T> sites;
        std::vector<int64_t> cells;
        int64_t after;
    } rows[] = {
        {0, {0, 1, T(1.5), 2, T(3.5)}, {0, 1, 1, 2, 3}, 3},
        {3, {T(3.5), 4, 5}, {3, 4, 6}, 6},
        {2, {6}, {6}, 2}, // the right end moves nothing
        {2, {6, 7}, {6, 7}, 7},
        {4, {T(0.5), T(1.5)}, {0, 1}, 1}, // below the partition starts anew
        {4, {T(1.5)}, {4}, 4},            // a site left of the state gets the state's cell
        {7, {8, 9}, {7, 7}, 7},
        {5, {T(5.5)}, {6}, 6},
        {3, {}, {}, 3},
    };
    for (const auto &row : rows)
        search(Entries<T>::sorted, x, 7, GuardedArray<T>(row.sites, Edge::begin), T(0), row.state,
               [&row](const auto &cell, int64_t state) {
                   EXPECT_EQ(std::vector<int64_t>(cell.begin(), cell.end()), row.cells);
                   EXPECT_EQ(state, row.after);
               });
}

// A callback that writes guesses and answers, and remembers what it was given.
template <class T, class Cell> struct Talk {
    int32_t answer;
    std::vector<Cell> guesses;
    int64_t asked_for = 0;
    std::vector<const void *> given = {};

    static int32_t callback(int64_t *nsite, const T *site, void *cell, int32_t *flags, void *p1, void *p2) {
        auto &self = *static_cast<Talk *>(p1);
        self.asked_for = std::exchange(*nsite, -1); // its own copy of the count
        self.given.insert(self.given.end(), {site, cell, flags, p2});
        std::copy(self.guesses.begin(), self.guesses.end(), static_cast<Cell *>(cell));
        return self.answer;
    }
};

// The completion of a guess, one breakpoint after the other.
template <class T> int64_t completed(const std::vector<T> &x, T s, int64_t guess) {
    auto j = static_cast<std::size_t>(std::clamp<int64_t>(guess, 0, count(x)));
    if (s == x.back() && (j == x.size() || s > x[j]))
        return count(x) - 1;
    if (j < x.size() && s > x[j])
        while (j < x.size() && s >= x[j])
            ++j;
    while (j > 0 && x[j - 1] > s)
        --j;
    return static_cast<int64_t>(j);
}

TYPED_TEST(CellSearch, CallbacksPlaceFlaggedSitesAndGuessTheOthers) {
    using T = TypeParam;
    using E = Entries<T>;
    std::mt19937_64 random(15);
    for (const std::size_t size : {2u, 3u, 7u, 120u})
        for (const bool uniform : {false, true})
            for (const int32_t answer : {0, 7, 999, 1000, 1001, -1, -1026}) {
                SCOPED_TRACE(std::to_string(uniform) + " answer " + std::to_string(answer));
                const std::vector<T> breakpoints =
                    partition<T>(size == 7 ? repeated : irregular, size, random);
                const GuardedArray<T> site(sites_of(breakpoints, random), Edge::end);
                const GuardedArray<T> x(uniform ? std::vector<T>{-1, T(size - 1) / 4 - 1} : breakpoints,
                                        Edge::begin);
                const GuardedArray<int32_t> flags(site.size(), Edge::end);
                std::vector<int64_t> guesses(site.size()), cells(site.size());
                if (uniform)
                    E::uniform.wide(count(breakpoints), x.data(), count(site), site.data(), nullptr, T(0.25),
                                    nullptr, nullptr, nullptr, cells.data());
                for (std::size_t i = 0; i < site.size(); ++i) {
                    flags[i] = static_cast<int32_t>(random() % 4) / 2 * (i % 2 ? -1 : 1);
                    guesses[i] = static_cast<int64_t>(random() % (size + 5)) - 2;
                    if (answer < 0 || answer == 1000 || flags[i] != 0)
                        cells[i] = guesses[i];
                    else if (!uniform)
                        cells[i] = completed(breakpoints, site[i], guesses[i]);
                }
                const auto converse = [&]<class Cell>(Cell, const auto &ask) {
                    Talk<T, Cell> talk{answer, std::vector<Cell>(guesses.begin(), guesses.end())};
                    const GuardedArray<Cell> cell(site.size(), Edge::end);
                    int p2;
                    ASSERT_EQ(ask(int64_t{0}, cell.data(), talk.callback, &talk, &p2), 0);
                    ASSERT_EQ(ask(count(site), cell.data(), talk.callback, &talk, &p2),
                              answer == 1000 ? 0 : answer);
                    EXPECT_EQ(talk.asked_for, count(site));
                    EXPECT_EQ(talk.given,
                              (std::vector<const void *>{site.data(), cell.data(), flags.data(), &p2}));
                    for (std::size_t i = 0; i < site.size(); ++i)
                        if (!std::isnan(site[i]))
                            ASSERT_EQ(int64_t{cell[i]}, cells[i]) << site[i] << ", guess " << guesses[i];
                        else
                            ASSERT_TRUE(cell[i] == cells[i] ||
                                        (cell[i] >= 0 && cell[i] <= count(breakpoints)));
                };
                for_all_forms(
                    uniform ? E::uniform_user : E::user, [&](auto width, auto *entry, auto... mode) {
                        converse(width, [&](int64_t nsite, auto *cell, auto callback, void *p1, void *p2) {
                            return entry(count(breakpoints), x.data(), nsite, site.data(), nullptr, T(0.25),
                                         nullptr, nullptr, nullptr, cell, nullptr, callback, p1, p2,
                                         flags.data(), mode...);
                        });
                    });
                const auto converse_task = [&](auto width) {
                    Task<T> task(count(breakpoints), x.data(),
                                 uniform ? QOR_DF_UNIFORM : QOR_DF_QUASI_UNIFORM, width);
                    converse(width, [&](int64_t nsite, void *cell, auto callback, void *p1, void *p2) {
                        return E::generic(task.handle, nsite, site.data(), QOR_DF_SORTED_SITES, nullptr, cell,
                                          callback, p1, p2, flags.data());
                    });
                };
                converse_task(int32_t{0});
                converse_task(int64_t{1});
                if (this->HasFailure())
                    return;
            }
}

TYPED_TEST(CellSearch, GenericEntryRefusesBadDataHints) {
    using T = TypeParam;
    constexpr T nan = Limits<T>::quiet_NaN(), tiny = Limits<T>::denorm_min(), epsilon = Limits<T>::epsilon();
    const GuardedArray<T> x({0, 1, 2, 3}, Edge::end), site(1, Edge::end, T(1.5));
    const struct {
        T present, place;
        bool good;
    } rows[] = {{0, -1, true},    {-T(0), nan, true}, {1, 0, true},      {1, 4, true},
                {1, -T(0), true}, {2, 0, false},      {-1, 0, false},    {1 - epsilon, 0, false},
                {nan, 0, false},  {tiny, 0, false},   {1, -tiny, false}, {1, 4 + 4 * epsilon, false},
                {1, nan, false}};
    for (const int64_t partition_hint : {QOR_DF_NON_UNIFORM, QOR_DF_QUASI_UNIFORM})
        for (const int64_t site_hint : {0, +QOR_DF_SORTED_SITES})
            for (const auto &row : rows) {
                const bool refused = !row.good && partition_hint == QOR_DF_NON_UNIFORM && site_hint == 0;
                const GuardedArray<T> hint({9, row.present, 9, 9, row.place}, Edge::end);
                int64_t cell = -7;
                EXPECT_EQ(Task<T>(4, x.data(), partition_hint, 1).search(site, site_hint, hint.data(), &cell),
                          refused ? QOR_DF_BAD_DATA_HINT : 0)
                    << row.present << ' ' << row.place;
                EXPECT_EQ(cell, refused ? -7 : 2);
            }
    EXPECT_EQ(
        Entries<T>::generic(nullptr, 1, site.data(), 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
        QOR_DF_NULL_TASK);
}

} // namespace
