// Creation checks, the new record, and deletion.
#include "core_interface/core.h"
#include "tests/statistics/summary/record.h"
#include "tests/substitute_core/control.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

using test::Record;
using test::record_of;
using test::word;

constexpr std::int64_t by_variable = 0x10000, by_observation = 0x20000, high_word = std::int64_t{1} << 32;

using NewTask = decltype(&__bexdSSNewTask);
constexpr NewTask new_task[] = {__bexsSSNewTask, __bexdSSNewTask}; // by precision

TEST(SummaryTask, CreationChecks) {
    // Little-endian: the 32-bit value is the low half of the 64-bit one. `narrow` and `wide` are the
    // statuses.
    const std::int64_t good = 3, none = 0, below = -1, high = high_word, low_below = 0xFFFFFFFF,
                       storages[] = {by_variable, by_observation}, other = 0x30000,
                       high_storage = high_word + by_variable;
    const double x = 0;
    const struct {
        const std::int64_t *p, *n, *storage;
        const double *x;
        std::int32_t narrow, wide;
    } cases[] = {
        {nullptr, nullptr, nullptr, &x, -4001, -4001},
        {&none, nullptr, nullptr, &x, -4001, -4001},
        {&below, &good, &storages[0], nullptr, -4001, -4001},
        {&high, &good, &storages[0], &x, -4001, 0},
        {&low_below, &good, &storages[0], &x, -4001, 0},
        {&good, nullptr, nullptr, &x, -4044, -4044},
        {&good, nullptr, &other, &x, -4003, -4003},
        {&good, &none, &none, &x, -4003, -4003},
        {&good, &good, &high_storage, &x, 0, -4003},
        {&good, nullptr, &storages[0], &x, -4002, -4002},
        {&good, nullptr, &storages[1], &x, -4002, -4002},
        {&good, &none, &storages[0], &x, -4002, -4002},
        {&good, &below, &storages[1], &x, -4002, -4002},
        {&good, &high, &storages[1], &x, -4002, 0},
        {&good, &good, &storages[0], &x, 0, 0},
        {&good, &good, &storages[1], &x, 0, 0},
        {&good, nullptr, nullptr, nullptr, 0, 0},
        {&good, &none, &other, nullptr, 0, 0},
    };
    const std::uint64_t live = qor_test_live_blocks();
    for (NewTask create : new_task)
        for (const std::int32_t wide : {0, 1, -7})
            for (const auto &c : cases) {
                SCOPED_TRACE(testing::Message() << "case " << &c - cases << ", wide " << wide);
                void *const untouched = const_cast<double *>(&x);
                void *task = untouched;
                const std::int32_t expected = wide != 0 ? c.wide : c.narrow;
                EXPECT_EQ(create(&task, c.p, c.n, c.storage, c.x, nullptr, nullptr, wide), expected);
                EXPECT_EQ(task == untouched, expected != 0);
                if (task != untouched) {
                    EXPECT_EQ(__bexSSDeleteTask(&task), 0);
                    EXPECT_EQ(task, nullptr);
                }
            }
    EXPECT_EQ(qor_test_live_blocks(), live);
    EXPECT_EQ(new_task[1](nullptr, &good, nullptr, nullptr, nullptr, nullptr, nullptr, 0), -4031);
}

// The substitute core library fills new blocks, so that words left as they came would show.
TEST(SummaryTask, NewRecord) {
    const std::int64_t p = 2, n = 5, storage = by_observation, indices[2] = {1, 1};
    const double x[10] = {}, w[5] = {};
    for (const std::uint32_t precision : {0u, 1u})
        for (const std::int32_t wide : {0, 1, -7}) {
            void *task = nullptr;
            ASSERT_EQ(new_task[precision](&task, &p, &n, &storage, x, w, indices, wide), 0);
            EXPECT_EQ(qor_test_last_alignment(), 128u);
            EXPECT_EQ(qor_test_last_size(), sizeof(Record));
            Record expected{2ull << 32 | static_cast<std::uint32_t>(wide),
                            precision,
                            word(&p),
                            word(&n),
                            word(indices),
                            word(x),
                            word(w),
                            0,
                            word(&storage)};
            EXPECT_EQ(record_of(task), expected);
            EXPECT_EQ(__bexSSDeleteTask(&task), 0);
        }
}

TEST(SummaryTask, AllocationFailure) {
    const std::int32_t p = 1;
    for (NewTask create : new_task) {
        void *task = &task;
        qor_test_fail_allocation(1);
        EXPECT_EQ(create(&task, &p, nullptr, nullptr, nullptr, nullptr, nullptr, 0), -4000);
        EXPECT_EQ(task, &task);
    }
}

// Clean-up routines that note who ran, and how many blocks were alive.
struct Event {
    int routine;
    void *task;
    std::uint64_t live_blocks;
    bool operator==(const Event &) const = default;
};
std::vector<Event> events;

using CleanUp = void (*)(void *);

void set_word(void *task, std::size_t k, std::uint64_t value) {
    std::memcpy(static_cast<char *>(task) + 8 * k, &value, sizeof value);
}

void register_clean_up(void *task, CleanUp routine) {
    const std::uint64_t count = record_of(task)[88];
    set_word(task, 89 + count, std::bit_cast<std::uint64_t>(routine));
    set_word(task, 88, count + 1);
}

template <int routine> void note(void *task) { events.push_back({routine, task, qor_test_live_blocks()}); }

void note_and_register(void *task) {
    note<0>(task);
    register_clean_up(task, note<2>);
}

TEST(SummaryTask, Deletion) {
    EXPECT_EQ(__bexSSDeleteTask(nullptr), -4031);
    void *empty = nullptr;
    EXPECT_EQ(__bexSSDeleteTask(&empty), -4031);

    const std::uint64_t live = qor_test_live_blocks(), bad = qor_test_bad_releases();
    for (const bool with_buffer : {false, true}) {
        test::Task owner;
        void *const task = owner.handle;
        if (with_buffer)
            set_word(task, 92, word(qor_serv_allocate(1000, 64)));
        register_clean_up(task, note_and_register);
        register_clean_up(task, note<1>);
        events.clear();
        EXPECT_EQ(__bexSSDeleteTask(&owner.handle), 0);
        EXPECT_EQ(owner.handle, nullptr);
        // The buffer went first, the record is there until the last routine has run.
        EXPECT_EQ(events,
                  (std::vector<Event>{{0, task, live + 1}, {1, task, live + 1}, {2, task, live + 1}}));
        EXPECT_EQ(qor_test_live_blocks(), live);
    }
    test::Task owner;
    set_word(owner.handle, 88, std::bit_cast<std::uint64_t>(std::int64_t{-1}));
    EXPECT_EQ(__bexSSDeleteTask(&owner.handle), 0); // a negative count: none
    EXPECT_EQ(qor_test_bad_releases(), bad);
}

} // namespace
