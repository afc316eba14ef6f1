// Saved images in real files and in memory, over a core library whose memory runs out. What a failing system
// does to them, and bytes at random, is in tests/fuzz.
#include "core_interface/core.h"
#include "generator_rows.h"
#include "substitute_core/control.h"
#include "support/guard_pages.h"
#include "user_generator.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <random>

namespace {

using qor::bex::Chunk;
using Key = std::array<std::uint64_t, 2>;

constexpr Key golden_key = {0x1122334455667788, 0x99AABBCCDDEEFF00};

struct OwnedStream {
    void *handle = nullptr;
    ~OwnedStream() { __bexDeleteStream(&handle); }
    operator void *() const { return handle; }
    void **operator&() { return &handle; }
};

std::string golden(const std::string &name) {
    std::ifstream file(QOR_TEST_DATA "/images/" + name + ".img", std::ios::binary);
    std::string content{std::istreambuf_iterator<char>(file), {}};
    EXPECT_GE(content.size(), 24u) << name;
    return content;
}

// A file of the test's own, gone with it.
struct TemporaryFile {
    std::string name = testing::TempDir() + "qor_image_" + std::to_string(std::random_device{}());
    ~TemporaryFile() { std::remove(name.c_str()); }
    std::string read() const {
        std::ifstream file(name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    void write(const std::string &content) const { std::ofstream(name, std::ios::binary) << content; }
    std::int32_t save(const void *stream) const { return __bexSaveStreamF(stream, name.c_str(), -1); }
    std::int32_t load(void **stream) const {
        const std::string longer = name + "/not/of/the/name";
        return __bexLoadStreamF(stream, longer.c_str(), static_cast<std::int32_t>(name.size()));
    }
};

// Saved to memory: a buffer that ends at an inaccessible page and has known bytes in the gaps.
std::string saved(const void *stream, char gap = '\0') {
    const std::int32_t size = __bexGetStreamSize(stream);
    EXPECT_GE(size, 24);
    const test::GuardedArray<char> image(static_cast<std::size_t>(size), test::Edge::end, gap);
    EXPECT_EQ(__bexSaveStreamM(stream, image.data()), 0);
    return {image.begin(), image.end()};
}

std::int32_t load_memory(void **stream, const std::string &image) {
    const test::GuardedArray<char> memory({image.begin(), image.end()}, test::Edge::end);
    return __bexLoadStreamM(stream, memory.data());
}

void add(void *stream, std::uint32_t id, const Key &key, const std::string &data) {
    void *block = qor_serv_allocate(data.size(), 128);
    std::memcpy(block, data.data(), data.size());
    EXPECT_EQ(__bexAddChunk(stream, id, key.data(), block, static_cast<std::uint32_t>(data.size())), 0);
    if (static_cast<qor::bex::Stream *>(stream)->chunks->data != block)
        qor_serv_deallocate(block);
}

struct ChunkContent {
    std::uint32_t id;
    Key key;
    std::string data;
    bool operator==(const ChunkContent &) const = default;
};

std::vector<ChunkContent> chunks_of(void *stream) {
    std::vector<ChunkContent> list;
    for (const Chunk *c = static_cast<qor::bex::Stream *>(stream)->chunks; c != nullptr; c = c->next)
        list.push_back({c->id, {c->key.words[0], c->key.words[1]}, {static_cast<char *>(c->data), c->size}});
    return list;
}

std::vector<char> draw(void *stream, std::int32_t n) {
    BexBrngProperties row;
    EXPECT_EQ(__bexGetBrngProperties(__bexGetStreamStateBrng(stream), &row), 0);
    std::vector<char> words(static_cast<std::size_t>(n * row.word_bytes));
    EXPECT_EQ(row.out_uint(stream, n, words.data()), 0);
    return words;
}

ChunkContent golden_chunk(std::uint32_t id) {
    std::string counting(40, '\0');
    for (std::size_t i = 0; i < counting.size(); ++i)
        counting[i] = static_cast<char>(i);
    return id == 7   ? ChunkContent{7, {}, "private block"}
           : id == 9 ? ChunkContent{9, golden_key, counting}
                     : ChunkContent{11, {}, ""};
}

// The images of data/images, made without the library; their streams stand at seed 1.
TEST(Image, GoldenImages) {
    const struct {
        const char *name;
        std::vector<std::uint32_t> chunks; // ids after loading
        bool written, keys;
    } cases[] = {{"mcg31m1_version2", {}, true, true},
                 {"mcg59_version2_chunks", {11, 9, 7}, true, true},
                 {"mcg31m1_version1_magic_first", {}, false, true},
                 {"mcg59_version1_keys", {7, 9}, false, true},
                 {"mcg59_version1_no_keys", {7, 9}, false, false}};
    const TemporaryFile file;
    for (const auto &c : cases)
        for (bool in_memory : {false, true}) {
            SCOPED_TRACE(c.name);
            const std::string image = golden(c.name);
            OwnedStream stream, seeded;
            file.write(image + (in_memory ? "" : "what follows an image"));
            ASSERT_EQ(in_memory ? load_memory(&stream, image) : file.load(&stream), 0);
            std::vector<ChunkContent> expected;
            for (std::uint32_t id : c.chunks) {
                expected.push_back(golden_chunk(id));
                if (!c.keys)
                    expected.back().key = {};
            }
            EXPECT_EQ(chunks_of(stream), expected);
            const std::uint32_t seed = 1;
            ASSERT_EQ(__bexNewStreamEx(&seeded, __bexGetStreamStateBrng(stream), 1, &seed), 0);
            for (const ChunkContent &chunk : expected) // the newest is the first of the image
                add(seeded, chunk.id, chunk.key, chunk.data);
            if (c.written) {
                EXPECT_EQ(saved(seeded), image);
                EXPECT_EQ(file.save(seeded), 0);
                EXPECT_EQ(file.read(), image);
            }
            EXPECT_EQ(draw(stream, 50), draw(seeded, 50));
        }
}

// Every generator that this version has goes on where it was saved.
TEST(Image, EveryGeneratorGoesOn) {
    const TemporaryFile file;
    int tried = 0;
    for (const auto &row : test::generator_rows()) {
        SCOPED_TRACE(row.name);
        OwnedStream stream, from_file, from_memory;
        const std::uint32_t seed[] = {77, 5};
        if (row.name == "TRNG" || __bexNewStreamEx(&stream, row.id + row.members - 1, 2, seed) != 0)
            continue; // nothing to repeat, or not built
        ++tried;
        draw(stream, 101);
        for (int i = 0; i < 3; ++i)
            add(stream, 100, {0, 3}, "shared by all");
        std::string image = saved(stream, '?');
        for (std::size_t gap : {1u, 2u, 3u, 10u, 11u, 18u, 19u}) {
            EXPECT_EQ(image[gap], '?') << gap;
            image[gap] = '\0';
        }
        EXPECT_EQ(file.save(stream), 0);
        EXPECT_EQ(file.read(), image);
        ASSERT_EQ(file.load(&from_file), 0);
        ASSERT_EQ(load_memory(&from_memory, image), 0);
        EXPECT_EQ(__bexGetNumChunks(from_file), __bexGetNumChunks(stream));
        EXPECT_EQ(__bexSearchChunk(from_file, 100), __bexSearchChunk(stream, 100)); // the key's block
        EXPECT_EQ(draw(from_file, 3000), draw(stream, 3000));
        draw(from_memory, 3000);
        EXPECT_EQ(draw(from_memory, 1), draw(stream, 1));
    }
    EXPECT_GE(tried, 2);
}

TEST(Image, ListOrderAndBlocks) {
    const std::uint64_t before = qor_test_live_blocks();
    {
        OwnedStream stream, loaded, twice;
        ASSERT_EQ(__bexNewStreamEx(&stream, test::user_id(), 0, nullptr), 0);
        add(stream, 1, {}, std::string(300000, 'B')); // more than a reader believes at once
        add(stream, 2, {5, 6}, "A");
        ASSERT_EQ(load_memory(&loaded, saved(stream)), 0);
        EXPECT_EQ(chunks_of(loaded), (std::vector{chunks_of(stream)[1], chunks_of(stream)[0]}));
        EXPECT_EQ(__bexSearchChunk(loaded, 2), __bexSearchChunk(stream, 2));
        const TemporaryFile file;
        EXPECT_EQ(file.save(loaded), 0);
        ASSERT_EQ(file.load(&twice), 0);
        EXPECT_EQ(chunks_of(twice), chunks_of(stream));
    }
    EXPECT_EQ(qor_test_live_blocks(), before);
    EXPECT_EQ(qor_test_bad_releases(), 0u);
}

// One field of a golden image changed; -1110 and -1111 are -1200 in memory.
TEST(Image, RefusedImages) {
    const struct {
        const char *name;
        std::size_t offset;
        std::string bytes;
        std::int32_t status;
    } cases[] = {
        {"mcg59_version2_chunks", 0, {"\1", 1}, BEX_STATUS_BAD_FILE}, // read as version 1
        {"mcg59_version2_chunks", 0, {"\3", 1}, BEX_STATUS_BAD_VERSION},
        {"mcg59_version2_chunks", 4, {"\x53", 1}, BEX_STATUS_BAD_FILE},
        {"mcg59_version2_chunks", 7, {"\x7F", 1}, 0}, // the magic has 24 bits
        {"mcg59_version2_chunks", 8, {"\x17", 1}, BEX_STATUS_BAD_FILE},
        {"mcg59_version2_chunks", 8, {"\x19", 1}, 0},
        {"mcg59_version2_chunks", 12, {"\x0F", 1}, BEX_STATUS_BAD_FILE},
        {"mcg59_version2_chunks", 12, {"\x11", 1}, BEX_STATUS_BAD_FILE},
        {"mcg59_version2_chunks", 14, {"\1", 1}, BEX_STATUS_BAD_FILE}, // 32 bits of state size
        {"mcg59_version2_chunks", 16, {"\2\0", 2}, 0},
        {"mcg59_version2_chunks", 20, {"\1\0\x40", 3}, BEX_STATUS_BAD_FILE},     // no such member
        {"mcg59_version2_chunks", 20, {"\0\0\xF0\xFF", 4}, BEX_STATUS_BAD_FILE}, // no such row
        {"mcg59_version2_chunks", 20, {"\x19\1\0\0", 4}, BEX_STATUS_BAD_FILE},   // compact 281
        {"mcg59_version2_chunks", 20, {"\3\0\0\0", 4}, 0},                       // MCG59 by its compact id
        {"mcg59_version2_chunks", 20, {"\x17\1\0\0", 4}, BEX_STATUS_BAD_ID},     // an empty row
        {"mcg59_version2_chunks", 20, {"\0\0\x10\0", 4}, BEX_STATUS_BAD_FILE},   // MCG31M1's state is less
        {"mcg31m1_version1_magic_first", 4, {"\2", 1}, 0},                       // versions up to 2
        {"mcg31m1_version1_magic_first", 4, {"\3", 1}, BEX_STATUS_BAD_VERSION},
        {"mcg31m1_version1_magic_first", 10, {"\x9", 1}, BEX_STATUS_BAD_FILE},
        {"mcg31m1_version1_magic_first", 12, {"\1", 1}, BEX_STATUS_READ_FAILED}, // chunks of which version?
        {"mcg59_version1_keys", 0, {"\3", 1}, BEX_STATUS_BAD_VERSION},
    };
    const TemporaryFile file;
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.name) + " at " + std::to_string(c.offset));
        const std::string image = golden(c.name).replace(c.offset, c.bytes.size(), c.bytes);
        const bool refused = c.status == BEX_STATUS_BAD_FILE || c.status == BEX_STATUS_BAD_VERSION;
        for (bool in_memory : {false, true}) {
            const std::uint64_t before = qor_test_live_blocks();
            int old;
            void *stream = &old;
            file.write(image);
            EXPECT_EQ(in_memory ? load_memory(&stream, image) : file.load(&stream),
                      in_memory && refused ? BEX_STATUS_BAD_IMAGE : c.status);
            EXPECT_EQ(stream != nullptr, c.status == 0);
            __bexDeleteStream(&stream);
            EXPECT_EQ(qor_test_live_blocks(), before);
        }
    }
}

TEST(Image, ShortFiles) {
    const TemporaryFile file;
    const std::uint64_t before = qor_test_live_blocks();
    const std::string image = golden("mcg59_version2_chunks");
    for (std::size_t size = 0; size < image.size(); ++size) {
        int old;
        void *stream = &old;
        file.write(image.substr(0, size));
        EXPECT_EQ(file.load(&stream), BEX_STATUS_READ_FAILED) << size;
        EXPECT_EQ(stream, nullptr);
        EXPECT_EQ(qor_test_live_blocks(), before);
    }
    // A chunk of 4 GB that is not there costs no such memory.
    OwnedStream stream;
    file.write(std::string(image).replace(60, 4, "\xFF\xFF\xFF\xFF"));
    EXPECT_EQ(file.load(&stream), BEX_STATUS_READ_FAILED);
    EXPECT_LE(qor_test_last_size(), 65536u);
}

TEST(Image, EveryRequestMayFail) {
    OwnedStream source;
    const std::uint32_t seed = 1;
    ASSERT_EQ(__bexNewStreamEx(&source, BEX_BRNG_MCG59, 1, &seed), 0);
    add(source, 1, {8, 9}, "shared");
    add(source, 2, {}, std::string(200000, 'x'));
    const std::string image = saved(source);
    const TemporaryFile file;
    file.write(image);
    const std::uint64_t before = qor_test_live_blocks();
    const auto length = static_cast<std::int32_t>(file.name.size());
    // Requests: the name, the stream, two chunks of a node and a block; the large one grows in a file's
    // reader.
    for (const auto &[in_memory, requests] : {std::pair{false, 8}, {true, 5}})
        for (int k = 1; k <= requests + 1; ++k) {
            int old;
            void *stream = &old;
            qor_test_fail_allocation(static_cast<std::uint64_t>(k));
            EXPECT_EQ(in_memory ? load_memory(&stream, image) : file.load(&stream),
                      k <= requests ? BEX_STATUS_NO_MEMORY : 0);
            qor_test_fail_allocation(0);
            EXPECT_EQ(stream == nullptr, k <= requests);
            __bexDeleteStream(&stream);
            EXPECT_EQ(qor_test_live_blocks(), before);
        }
    qor_test_fail_allocation(1);
    EXPECT_EQ(__bexSaveStreamF(source, file.name.c_str(), length), BEX_STATUS_NO_MEMORY);
    EXPECT_EQ(file.read(), image);
    qor_test_fail_allocation(1); // a name that ends with a NUL is not copied
    EXPECT_EQ(file.save(source), 0);
    qor_test_fail_allocation(0);
}

TEST(Image, FilesThatDoNotOpen) {
    OwnedStream source;
    ASSERT_EQ(__bexNewStreamEx(&source, BEX_BRNG_MCG59, 0, nullptr), 0);
    const TemporaryFile absent;
    for (const std::string &name : {absent.name + "/below", std::string(), std::string(5000, 'x')})
        for (std::int32_t length : {-1, static_cast<std::int32_t>(name.size())}) {
            int old;
            void *stream = &old;
            EXPECT_EQ(__bexSaveStreamF(source, name.c_str(), length), BEX_STATUS_OPEN_FAILED);
            EXPECT_EQ(__bexLoadStreamF(&stream, name.c_str(), length), BEX_STATUS_OPEN_FAILED);
            EXPECT_EQ(stream, nullptr);
        }
    // A full disk: small images fail when they leave the buffer at last, large ones before.
    if (std::ifstream("/dev/full").is_open()) {
        EXPECT_EQ(__bexSaveStreamF(source, "/dev/full", -1), BEX_STATUS_CLOSE_FAILED);
        add(source, 1, {}, std::string(1000000, 'x'));
        EXPECT_EQ(__bexSaveStreamF(source, "/dev/full", 9), BEX_STATUS_WRITE_FAILED);
    }
}

TEST(Image, SizesAtTheEdge) {
    BexBrngProperties tiny = test::user_row();
    tiny.state_bytes = 3;
    const auto tiny_id = static_cast<std::uint32_t>(__bexRegisterBrng(&tiny));
    std::uint32_t row, member;
    const auto *table = __bexGetBrngBaseOffset(tiny_id, &row, &member);
    OwnedStream stream, loaded;
    ASSERT_EQ(__bexAllocateStream(&stream, table, tiny_id, row, member), 0);
    EXPECT_EQ(__bexGetStreamSize(stream), 24);
    ASSERT_EQ(load_memory(&loaded, saved(stream)), 0);
    EXPECT_EQ(__bexGetStreamStateBrng(loaded), tiny_id);
    EXPECT_EQ(__bexAddChunk(stream, 1, nullptr, nullptr, 1000), 0); // no data, whatever the size says
    EXPECT_EQ(__bexGetStreamSize(stream), 48);
    EXPECT_EQ(saved(stream).substr(44), std::string(4, '\0'));
    EXPECT_EQ(__bexAddChunk(stream, 1, nullptr, qor_serv_allocate(8, 128), 0x7FFFFFFF - 72), 0);
    EXPECT_EQ(__bexGetStreamSize(stream), 0x7FFFFFFF);
    EXPECT_EQ(__bexAddChunk(stream, 1, nullptr, nullptr, 0), 0);
    EXPECT_EQ(__bexGetStreamSize(stream), BEX_STATUS_NO_MEMORY);
    // As many chunks as the header can count, and one more.
    const TemporaryFile file;
    for (int i = 0; i < 0xFFFF; ++i)
        __bexAddChunk(loaded, 1, nullptr, nullptr, 0);
    OwnedStream again;
    ASSERT_EQ(load_memory(&again, saved(loaded)), 0);
    EXPECT_EQ(__bexGetNumChunks(again), 0xFFFF);
    __bexAddChunk(loaded, 1, nullptr, nullptr, 0);
    qor::bex::Stream unknown = {280, 1, nullptr};
    for (const auto &[unfit, status] :
         {std::pair<const void *, std::int32_t>{loaded, BEX_STATUS_WRITE_FAILED},
          {&unknown, BEX_STATUS_BAD_ID}}) {
        char buffer[24];
        file.write("kept");
        EXPECT_EQ(__bexGetStreamSize(unfit), status);
        EXPECT_EQ(__bexSaveStreamM(unfit, buffer), status);
        EXPECT_EQ(file.save(unfit), status);
        EXPECT_EQ(file.read(), "kept");
    }
}

} // namespace
