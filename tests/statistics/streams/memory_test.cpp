// Every creating call, with the k-th request for memory failing, for every k.
#include "core_interface/core.h"
#include "substitute_core/control.h"
#include "user_generator.h"

#include <functional>
#include <gtest/gtest.h>

namespace {

constexpr std::uint64_t shared_key[] = {1, 2};

// A stream with private chunks on both sides of a shared one.
void *stream_with_chunks() {
    void *stream;
    EXPECT_EQ(__bexNewStreamEx(&stream, test::user_id(), 0, nullptr), 0);
    for (const std::uint64_t *key : {static_cast<const std::uint64_t *>(nullptr), shared_key,
                                     static_cast<const std::uint64_t *>(nullptr)})
        EXPECT_EQ(__bexAddChunk(stream, 3, key, qor_serv_allocate(100, 128), 100), 0);
    return stream;
}

TEST(StreamMemory, EveryRequestMayFail) {
    qor_test_reset();
    const std::uint64_t at_start = qor_test_live_blocks();
    void *source = stream_with_chunks();
    std::uint32_t index, member;
    const auto *table = __bexGetBrngBaseOffset(test::user_id(), &index, &member);
    const std::uint64_t before = qor_test_live_blocks();
    // Each makes or fills `stream`; the second kind is given a stream with a chunk.
    const struct {
        const char *name;
        bool creates;
        std::uint64_t requests;
        std::function<std::int32_t(void **)> run;
    } calls[] = {
        {"new", true, 1,
         [&](void **stream) { return __bexNewStreamEx(stream, test::user_id(), 0, nullptr); }},
        {"allocate", true, 1,
         [&](void **s) { return __bexAllocateStream(s, table, test::user_id(), index, member); }},
        {"copy", true, 6, [&](void **stream) { return __bexCopyStream(stream, source); }},
        {"copy state", false, 5, [&](void **stream) { return __bexCopyStreamState(*stream, source); }},
        {"copy chunks", false, 5, [&](void **stream) { return __bexCopyChunks(*stream, source); }},
    };
    for (const auto &call : calls) {
        for (std::uint64_t k = 1; k <= call.requests + 1; ++k) {
            SCOPED_TRACE(std::string(call.name) + " " + std::to_string(k));
            int old;
            void *stream = &old;
            if (!call.creates) {
                EXPECT_EQ(__bexNewStreamEx(&stream, test::user_id(), 0, nullptr), 0);
                EXPECT_EQ(__bexAddChunk(stream, 1, nullptr, qor_serv_allocate(8, 128), 8), 0);
            }
            qor_test_fail_allocation(k);
            const std::int32_t status = call.run(&stream);
            qor_test_fail_allocation(0);
            EXPECT_EQ(status, k <= call.requests ? BEX_STATUS_NO_MEMORY : 0);
            if (call.creates) {
                EXPECT_EQ(stream == nullptr, status != 0);
            } else if (status != 0) {
                EXPECT_EQ(__bexGetNumChunks(stream), 0);
            }
            __bexDeleteStream(&stream);
            EXPECT_EQ(qor_test_live_blocks(), before);
        }
    }
    // A chunk that cannot be added leaves its data to the caller and its key without a reference.
    void *data = qor_serv_allocate(8, 128), *row;
    qor_test_fail_allocation(1);
    EXPECT_EQ(__bexAddChunk(source, 4, shared_key, data, 8), BEX_STATUS_NO_MEMORY);
    EXPECT_EQ(__bexGetNumChunks(source), 3);
    EXPECT_EQ(qor_test_last_alignment(), 128u);
    qor_serv_deallocate(data);
    __bexDeleteStream(&source);
    EXPECT_EQ(__bexFindGlobRODataTableEntry(&row, shared_key), BEX_STATUS_KEY_NOT_FOUND);
    EXPECT_EQ(qor_test_live_blocks(), at_start);
    EXPECT_EQ(qor_test_bad_releases(), 0u);
}

} // namespace
