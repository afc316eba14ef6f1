// Attached and shared data: random operations against a model, full tables, many threads.
#include "core_interface/core.h"
#include "user_generator.h"

#include <array>
#include <atomic>
#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <thread>
#include <vector>

namespace {

using qor::bex::Chunk;
using Key = std::array<std::uint64_t, 2>;

// A block whose bytes all say `content`.
void *make_block(std::uint32_t size, int content) {
    void *block = qor_serv_allocate(size, 128);
    std::memset(block, content, size);
    return block;
}

void *new_stream() {
    void *stream;
    EXPECT_EQ(__bexNewStreamEx(&stream, test::user_id(), 0, nullptr), 0);
    return stream;
}

// The references of a key; 0 when it has no row.
std::uint32_t references(const Key &key) {
    void *entry;
    std::uint32_t count = 0;
    if (__bexFindGlobRODataTableEntry(&entry, key.data()) == 0)
        std::memcpy(&count, static_cast<char *>(entry) + 16, sizeof count);
    return count;
}

// Adds a block made for it, and releases the block where another one is shared in its place.
void add(void *stream, std::uint32_t id, const Key &key, std::uint32_t size, int content) {
    void *block = make_block(size, content);
    EXPECT_EQ(__bexAddChunk(stream, id, key.data(), block, size), 0);
    if (static_cast<qor::bex::Stream *>(stream)->chunks->data != block)
        qor_serv_deallocate(block);
}

struct ModelChunk {
    std::uint32_t id, size;
    int content;
    Key key;
};
using Model = std::vector<ModelChunk>; // from the head on

void expect_chunks(void *stream, const Model &model) {
    const Chunk *chunk = static_cast<qor::bex::Stream *>(stream)->chunks;
    for (const ModelChunk &expected : model) {
        ASSERT_NE(chunk, nullptr);
        EXPECT_EQ(chunk->id, expected.id);
        EXPECT_EQ(chunk->size, expected.size);
        EXPECT_EQ(Key({chunk->key.words[0], chunk->key.words[1]}), expected.key);
        const auto *bytes = static_cast<const char *>(chunk->data);
        EXPECT_EQ(std::string(bytes, expected.size),
                  std::string(expected.size, static_cast<char>(expected.content)));
        void *row;
        if (__bexFindGlobRODataTableEntry(&row, expected.key.data()) == 0) {
            EXPECT_EQ(std::memcmp(static_cast<char *>(row) + 24, &chunk->data, sizeof(void *)), 0);
        }
        chunk = chunk->next;
    }
    EXPECT_EQ(chunk, nullptr);
    EXPECT_EQ(__bexGetNumChunks(stream), static_cast<std::int32_t>(model.size()));
    for (std::uint32_t id = 0; id < 5; ++id) {
        const auto found =
            std::find_if(model.begin(), model.end(), [&](const ModelChunk &c) { return c.id == id; });
        const auto *data = static_cast<const char *>(__bexSearchChunk(stream, id));
        EXPECT_EQ(data != nullptr, found != model.end());
        if (data != nullptr && found != model.end()) {
            EXPECT_EQ(*data, found->content);
        }
    }
}

TEST(Chunks, RandomOperations) {
    std::mt19937 random(3);
    const auto below = [&](std::uint32_t n) { return static_cast<std::uint32_t>(random() % n); };
    constexpr std::size_t streams = 3;
    const Key keys[] = {{0, 0}, {0, 0}, {1, 0}, {0, 1}, {1, 1}, {7, 9}};
    void *stream[streams];
    Model model[streams];
    for (void *&one : stream)
        one = new_stream();
    for (int step = 0; step < 2000 && !HasFailure(); ++step) {
        const std::size_t at = below(streams), other = (at + 1 + below(streams - 1)) % streams;
        Model &mine = model[at];
        auto *header = static_cast<qor::bex::Stream *>(stream[at]);
        const std::uint32_t what = mine.size() + model[other].size() > 16 ? 8 + below(2) : below(10);
        if (what < 6) {
            const std::uint32_t key = below(6), id = below(5);
            // Blocks of one key are equal, as their users make them.
            ModelChunk chunk = {id, 1 + below(40), static_cast<int>('a' + below(20)), keys[key]};
            if (key >= 2)
                chunk.size = 10 * key, chunk.content = static_cast<int>('0' + key);
            add(stream[at], chunk.id, chunk.key, chunk.size, chunk.content);
            mine.insert(mine.begin(), chunk);
        } else if (what == 6) {
            const std::uint32_t id = below(5);
            Chunk *first_kept = header->chunks;
            while (first_kept != nullptr && first_kept->id == id)
                first_kept = first_kept->next;
            EXPECT_EQ(__bexDeleteChunksById(stream[at], id), 0);
            std::erase_if(mine, [&](const ModelChunk &chunk) { return chunk.id == id; });
            expect_chunks(stream[at], mine.empty() ? Model{} : Model{mine.back()});
            header->chunks = first_kept; // the list behind the last one's back is whole
        } else if (what == 7) {
            EXPECT_EQ(__bexCopyChunks(stream[at], stream[other]), 0);
            mine.insert(mine.begin(), model[other].rbegin(), model[other].rend());
        } else if (what == 8) {
            EXPECT_EQ(__bexDeleteStream(&stream[at]), 0);
            EXPECT_EQ(stream[at], nullptr);
            EXPECT_EQ(__bexCopyStream(&stream[at], stream[other]), 0);
            mine.assign(model[other].rbegin(), model[other].rend());
        } else if (below(3) == 0) {
            EXPECT_EQ(__bexDeleteChunks(stream[at]), 0);
            mine.clear();
        } else {
            EXPECT_EQ(__bexCopyStreamState(stream[at], stream[other]), 0);
            mine.assign(model[other].rbegin(), model[other].rend());
        }
        std::map<Key, std::uint32_t> expected;
        for (std::size_t i = 0; i < streams; ++i) {
            expect_chunks(stream[i], model[i]);
            for (const ModelChunk &chunk : model[i])
                ++expected[chunk.key];
        }
        for (const Key &key : keys)
            EXPECT_EQ(references(key), key == Key{} ? 0 : expected[key]);
    }
    for (void *&one : stream)
        __bexDeleteStream(&one);
    for (const Key &key : keys)
        EXPECT_EQ(references(key), 0u);
}

TEST(Chunks, NullDataAndKey) {
    void *stream = new_stream(), *copy;
    EXPECT_EQ(__bexAddChunk(stream, 1, nullptr, nullptr, 8), 0);
    EXPECT_EQ(__bexCopyStream(&copy, stream), 0);
    EXPECT_EQ(__bexGetNumChunks(copy), 1);
    EXPECT_EQ(__bexSearchChunk(copy, 1), nullptr);
    __bexDeleteStream(&copy);
    __bexDeleteStream(&stream);
}

// Chunks fill 127 rows, explicit entries all 128.
TEST(SharedData, TableFills) {
    void *stream = new_stream(), *copy, *entry;
    const auto key_of = [](int i) { return Key{static_cast<std::uint64_t>(i), 0x1234}; };
    for (int i = 0; i < 127; ++i) {
        add(stream, 1, key_of(i), 4, 'x');
        EXPECT_EQ(references(key_of(i)), 1u);
    }
    add(stream, 2, key_of(127), 4, 'y');
    EXPECT_EQ(references(key_of(127)), 0u);
    EXPECT_EQ(static_cast<qor::bex::Stream *>(stream)->chunks->key.words[1], 0u);
    add(stream, 3, key_of(5), 4, 'z'); // shared already
    EXPECT_EQ(references(key_of(5)), 2u);
    EXPECT_EQ(*static_cast<char *>(__bexSearchChunk(stream, 3)), 'x');

    void *last = make_block(4, 'l');
    EXPECT_EQ(__bexCreateGlobRODataTableEntry(&entry, key_of(127).data(), last), 0);
    EXPECT_EQ(std::memcmp(static_cast<char *>(entry) + 24, &last, sizeof last), 0);
    EXPECT_EQ(__bexCreateGlobRODataTableEntry(&entry, key_of(128).data(), last),
              BEX_STATUS_SHARED_TABLE_FULL);
    EXPECT_EQ(references(key_of(128)), 0u);
    Chunk reference = {};
    EXPECT_EQ(__bexRegisterGlobRODataReference(&reference, key_of(127).data()), 0);
    EXPECT_EQ(reference.data, last);
    EXPECT_EQ(references(key_of(127)), 2u);
    EXPECT_EQ(__bexUnregisterGlobRODataReference(key_of(127).data()), 0);
    EXPECT_EQ(__bexUnregisterGlobRODataReference(key_of(127).data()), 0);
    EXPECT_EQ(__bexUnregisterGlobRODataReference(key_of(127).data()), BEX_STATUS_KEY_NOT_FOUND);

    EXPECT_EQ(__bexCopyStream(&copy, stream), 0);
    EXPECT_EQ(__bexGetNumChunks(copy), 129);
    EXPECT_EQ(references(key_of(5)), 4u);
    __bexDeleteStream(&stream);
    EXPECT_EQ(references(key_of(5)), 2u);
    __bexDeleteStream(&copy);
    for (int i = 0; i < 129; ++i)
        EXPECT_EQ(references(key_of(i)), 0u);
}

TEST(SharedData, RowsOfOneKeyAndMissingKeys) {
    const Key twice = {8, 8}, once = {9, 9}, zero = {};
    void *entry;
    for (const Key &key : {once, twice, twice, once, twice})
        EXPECT_EQ(__bexCreateGlobRODataTableEntry(&entry, key.data(), make_block(16, 'e')), 0);
    EXPECT_EQ(__bexUnregisterGlobRODataReference(twice.data()), 0); // every row of it
    EXPECT_EQ(references(twice), 0u);
    EXPECT_EQ(references(once), 1u);
    EXPECT_EQ(__bexUnregisterGlobRODataReference(once.data()), 0);
    EXPECT_EQ(references(once), 0u);
    Chunk chunk = {};
    for (const std::uint64_t *key : {static_cast<const std::uint64_t *>(nullptr), zero.data(), once.data()}) {
        EXPECT_EQ(__bexFindGlobRODataTableEntry(&entry, key), BEX_STATUS_KEY_NOT_FOUND);
        EXPECT_EQ(__bexRegisterGlobRODataReference(&chunk, key), BEX_STATUS_KEY_NOT_FOUND);
        EXPECT_EQ(chunk.data, nullptr);
    }
}

TEST(SharedData, NewKeyWaitsForTheOldOne) {
    Key key = {5, 0}, taken = {5, 6};
    void *entry;
    EXPECT_EQ(__bexCreateGlobRODataTableEntry(&entry, taken.data(), make_block(16, 'e')), 0);
    EXPECT_EQ(__bexGenerateNewGlobalRODataTableEntryId(key.data(), 7), 0);
    EXPECT_EQ(key, Key({5, 7}));
    std::atomic<bool> done = false;
    std::thread waiting([&] {
        EXPECT_EQ(__bexGenerateNewGlobalRODataTableEntryId(key.data(), 6), 0);
        done = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(done);
    EXPECT_EQ(__bexUnregisterGlobRODataReference(taken.data()), 0);
    waiting.join();
    EXPECT_EQ(key, taken);
}

// Streams of many threads add, copy, read and drop the same keys. A block released too early shows its
// filling changed or, under a sanitizer, the access; one released too late leaks.
TEST(SharedData, ManyThreads) {
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    const std::uint32_t id = test::user_id();
    for (unsigned t = 0; t < 4; ++t)
        threads.emplace_back([&wrong, t, id] {
            std::mt19937 random(t);
            for (int round = 0; round < 2000; ++round) {
                void *stream, *copy;
                __bexNewStreamEx(&stream, id, 0, nullptr);
                for (std::uint32_t i = 0; i < 3; ++i) {
                    const std::uint64_t which = random() % 4;
                    const Key key = {77, which};
                    add(stream, i, key, 64, static_cast<int>('A' + which));
                }
                __bexCopyStream(&copy, stream);
                for (const Chunk *chunk = static_cast<qor::bex::Stream *>(copy)->chunks; chunk;
                     chunk = chunk->next)
                    for (std::uint32_t i = 0; i < 64; ++i)
                        wrong += static_cast<char *>(chunk->data)[i] !=
                                 static_cast<char>('A' + chunk->key.words[1]);
                __bexDeleteStream(&stream);
                wrong += *static_cast<char *>(__bexSearchChunk(copy, 1)) < 'A';
                __bexDeleteStream(&copy);
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
    for (std::uint64_t which = 0; which < 4; ++which)
        EXPECT_EQ(references({77, which}), 0u);
}

} // namespace
