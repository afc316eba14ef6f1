// Entries, tables and services of dispatch, looked up by name as a front end does.
#include "support/functions.h"

#include "qor_fyn.h"

#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <thread>

namespace {

using test::find;

// The family, counted by hand rather than taken from the list.
TEST(Dispatch, FamilySizes) {
    std::map<char, int> tables;
    std::set<std::string> distinct, stems;
    for (const auto &row : test::function_rows()) {
        ++tables[row.type];
        stems.insert(row.stem());
        void *const *ttab = static_cast<void *const *>(find("qor_fyn_kernel_" + row.stem() + "_ttab"));
        ASSERT_NE(ttab, nullptr) << row.stem();
        if (ttab[0] != ttab[1] || ttab[1] != ttab[2])
            distinct.insert(row.stem());
    }
    EXPECT_EQ(tables, (std::map<char, int>{{'s', 180}, {'d', 180}, {'c', 60}, {'z', 60}}));
    EXPECT_EQ(stems.size(), 480u);

    // low and high share, low and enhanced share, all distinct
    std::set<std::string> expected;
    auto check = [&](const char *names, bool low_high, bool low_enhanced, bool strided_too = true) {
        std::string name;
        for (const char *p = names;; ++p) {
            if (*p != ' ' && *p != '\0') {
                name += *p;
                continue;
            }
            for (const char *twin : {"", "I"}) {
                if (*twin && !strided_too)
                    continue;
                const auto *t = static_cast<void *const *>(find("qor_fyn_kernel_" + name + twin + "_ttab"));
                ASSERT_NE(t, nullptr) << name << twin;
                EXPECT_EQ(t[0] == t[1], low_high) << name << twin;
                EXPECT_EQ(t[0] == t[2], low_enhanced) << name << twin;
                EXPECT_NE(t[1], t[2]) << name << twin;
                expected.insert(name + twin);
            }
            name.clear();
            if (*p == '\0')
                return;
        }
    };
    check("cAdd cSub zAdd zSub dErfInv dExpInt1 sExpInt1", true, false);
    check("cExp", false, true);
    check("sCospi", false, true, false);
    check("cLn sErfInv dCdfNorm sCdfNorm dCosd sCosd dCospi dSind sSind dSinpi sSinpi dTand sTand dTanpi "
          "sTanpi "
          "dPowx sPowx",
          false, false);
    const auto *cospi = static_cast<void *const *>(find("qor_fyn_kernel_sCospiI_ttab"));
    EXPECT_TRUE(cospi[0] != cospi[1] && cospi[1] != cospi[2] && cospi[0] != cospi[2]);
    expected.insert("sCospiI");
    EXPECT_EQ(expected.size(), 52u);
    EXPECT_EQ(distinct, expected);
}

TEST(Dispatch, EntriesAndCostTables) {
    for (const auto &row : test::function_rows()) {
        const std::string entry = "_fyn" + row.stem(), table = "qor_fyn_kernel_" + row.stem();
        std::set<void *> entries;
        for (int slot = 0; slot < 3; ++slot)
            entries.insert(find(entry + test::slot_suffix(row, slot)));
        EXPECT_EQ(entries.size(), 3u) << entry;
        EXPECT_EQ(entries.count(nullptr), 0u) << entry;
        EXPECT_EQ(find(entry), find(entry + "_HA")) << entry;

        const char *ttab = static_cast<const char *>(find(table + "_ttab"));
        const char *ctab = static_cast<const char *>(find(table + "_ctab"));
        ASSERT_EQ(ctab - ttab, 24) << table;
        float costs[4];
        std::memcpy(costs, ctab, sizeof costs);
        for (int slot = 0; slot < 3; ++slot)
            EXPECT_TRUE(costs[slot] > 0 && costs[slot] < 1000) << table;
        std::uint32_t zero;
        std::memcpy(&zero, ctab + 12, 4);
        EXPECT_EQ(zero, 0u) << table;
    }
    struct {
        const char *name;
        float costs[3];
    } const quoted[] = {
        {"sAdd", {0.74f, 0.74f, 0.74f}},       {"dAdd", {1.79f, 1.79f, 1.79f}},
        {"sExp", {10.19f, 10.19f, 10.19f}},    {"dExp", {21.7f, 21.7f, 21.7f}},
        {"dLn", {29.24f, 29.24f, 29.24f}},     {"dPow", {74.46f, 74.46f, 74.46f}},
        {"dErfInv", {58.59f, 58.59f, 18.49f}}, {"cLn", {76.04f, 111.7f, 56.36f}},
        {"zExp", {140.9f, 140.9f, 140.9f}},    {"dTGamma", {452.2f, 452.2f, 452.2f}},
    };
    for (const auto &row : quoted)
        EXPECT_EQ(std::memcmp(find("qor_fyn_kernel_" + std::string(row.name) + "_ctab"), row.costs, 12), 0)
            << row.name;
}

// An entry jumps through its slot of the table: a kernel put there is the one that runs.
TEST(Dispatch, EntriesJumpThroughTheTable) {
    auto **table = static_cast<void **>(find("qor_fyn_kernel_dSqr_ttab"));
    void *const kernels[3] = {table[0], table[1], table[2]};
    using Kernel = void (*)(std::int32_t, const double *, double *);
    const Kernel marks[3] = {[](std::int32_t n, const double *, double *r) { *r = n; },
                             [](std::int32_t n, const double *, double *r) { *r = 10 * n; },
                             [](std::int32_t n, const double *, double *r) { *r = 100 * n; }};
    for (int slot = 0; slot < 3; ++slot)
        table[slot] = reinterpret_cast<void *>(marks[slot]);
    double a = 0, low = 0, high = 0, enhanced = 0;
    _fyndSqr_50(2, &a, &low);
    _fyndSqr(2, &a, &high);
    _fyndSqr_26(2, &a, &enhanced);
    std::memcpy(table, kernels, sizeof kernels);
    EXPECT_EQ(low, 2);
    EXPECT_EQ(high, 20);
    EXPECT_EQ(enhanced, 200);
}

TEST(Dispatch, ScalarsArriveByValue) {
    const FynComplex8 c[2] = {{1, 2}, {3, -1}};
    const FynComplex16 z[2] = {{1, 2}, {3, -1}};
    for (int stride : {1, -1}) {
        FynComplex8 cr[2] = {}, copy = {2, 0};
        FynComplex16 zr[2] = {}, zcopy = {2, 0};
        if (stride == 1) {
            _fyncPowx(2, c, copy, cr);
            _fynzPowx(2, z, zcopy, zr);
        } else {
            _fyncPowxI(2, c + 1, -1, copy, cr + 1, -1);
            _fynzPowxI(2, z + 1, -1, zcopy, zr + 1, -1);
        }
        EXPECT_EQ(cr[0].re, -3);
        EXPECT_EQ(cr[0].im, 4);
        EXPECT_EQ(zr[0].re, -3);
        EXPECT_EQ(zr[0].im, 4);
        EXPECT_EQ(zr[1].re, 8);
        EXPECT_EQ(zr[1].im, -6);
    }
}

TEST(Dispatch, SlotSelection) {
    std::thread([] { EXPECT_EQ(qor_fyn_kernel_GetTTableIndex(), 1u); }).join();
    for (std::uint32_t accuracy : {FYN_LA, FYN_HA, FYN_EP}) {
        _fynSetMode(accuracy);
        EXPECT_EQ(qor_fyn_kernel_GetTTableIndex(), accuracy - 1);
    }
    for (std::uint64_t context : {0ull, 1ull, ~0ull}) {
        EXPECT_EQ(qor_fyn_kernel_GetTTableIndexM(context, 0x1A03), 2u);
        EXPECT_EQ(qor_fyn_kernel_GetTTableIndexM(context, 0xFFFFFFF0), 0xFFFFFFFFu);
    }
    EXPECT_EQ(dll_cpu_version(), 0);
    for (const char *name :
         {"SetMode", "GetMode", "SetErrStatus", "GetErrStatus", "ClearErrStatus", "SetErrorCallBack",
          "GetErrorCallBack", "ClearErrorCallBack", "SetInterfInputVectorPointer"}) {
        void *const entry = find("_fyn" + std::string(name));
        EXPECT_NE(entry, nullptr) << name;
        EXPECT_EQ(entry, find("qor_fyn_kernel_" + std::string(name))) << name;
    }
}

// Pack and unpack against the plain definition, all types, forms and lengths around the pass width.
TEST(Dispatch, PackAndUnpack) {
    constexpr int room = 64;
    for (const auto &row : test::function_rows()) {
        if (!row.is_pack() || row.name[row.is("pack") ? 4 : 6] == 'I')
            continue;
        const bool by_mask = std::string(row.name).back() == 'M', pack = row.is("pack");
        const std::size_t size = row.real_bytes() * (row.is_complex() ? 2 : 1);
        for (int n = -1; n <= 19; ++n) {
            std::vector<char> a(room * size), y(room * size, 0x11), expected = y;
            for (std::size_t i = 0; i < a.size(); ++i)
                a[i] = static_cast<char>(i * 37 + i / 256);
            std::int32_t selector[room];
            for (int i = 0; i < room; ++i)
                selector[i] = by_mask ? (i % 3 ? i * 0x10000 : 0) : (i * 29) % room;
            for (int i = 0, j = 0; i < n; ++i) {
                if (by_mask && !selector[i])
                    continue;
                const int at = by_mask ? i : selector[i], dense = by_mask ? j++ : i;
                const auto to = static_cast<std::size_t>(pack ? dense : at),
                           from = static_cast<std::size_t>(pack ? at : dense);
                std::memcpy(&expected[to * size], &a[from * size], size);
            }
            using Pack = void (*)(std::int32_t, const void *, const void *, void *);
            using Unpack = void (*)(std::int32_t, const void *, void *, const void *);
            void *entry = find("_fyn" + row.stem());
            if (pack)
                reinterpret_cast<Pack>(entry)(n, a.data(), selector, y.data());
            else
                reinterpret_cast<Unpack>(entry)(n, a.data(), y.data(), selector);
            EXPECT_EQ(y, expected) << row.stem() << " n " << n;
        }
    }
    const double a[10] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
    double y[10] = {}, back[10] = {};
    _fyndPackI(10, a + 9, -1, y);
    _fyndUnpackI(10, y, back + 9, -1);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(y[i], 9 - i);
        EXPECT_EQ(back[i], i);
    }
    // The kernel itself also takes 64-bit integers.
    const std::int64_t index[3] = {4, 0, 9};
    using Wide = void (*)(std::int64_t, const double *, const std::int64_t *, double *, std::int32_t);
    reinterpret_cast<Wide>(qor_fyn_kernel_dPackV_ttab[0])(3, a, index, y, 0);
    EXPECT_EQ(y[0], 4);
    EXPECT_EQ(y[2], 9);
}

} // namespace
