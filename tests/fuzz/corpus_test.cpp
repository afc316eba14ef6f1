// The fuzz target without a fuzzer: on its corpus and the golden images, cut and changed byte by byte; then
// the statuses that need a failing system.
#include "fuzz/fake_system.h"
#include "fuzz/image_fuzz.h"
#include "include/qor_bex_streams.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>

namespace {

using test::fake_system;

std::string read_file(const std::filesystem::path &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void run(const std::string &image) {
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(image.data()), image.size());
}

TEST(ImageCorpus, EveryFileCutAndChanged) {
    int files = 0;
    for (const char *directory : {"fuzz/corpus", QOR_TEST_DATA "/images"})
        for (const auto &entry : std::filesystem::directory_iterator(directory)) {
            const std::string image = read_file(entry.path());
            ++files;
            run(image);
            if (entry.path().extension() != ".img")
                continue;
            for (std::size_t i = 0; i < image.size(); ++i) {
                run(image.substr(0, i));
                for (int change : {0x01, 0x80, 0xFF}) {
                    std::string changed = image;
                    changed[i] = static_cast<char>(changed[i] ^ change);
                    run(changed);
                }
            }
        }
    EXPECT_GE(files, 20);
    // A chunk that comes in several steps, whole and cut about them.
    std::string large = read_file(QOR_TEST_DATA "/images/mcg59_version2_chunks.img").substr(0, 64);
    ASSERT_EQ(large.size(), 64u);
    large[16] = 1;                             // chunk
    large.replace(60, 4, {"\xF0\x49\2\0", 4}); // of 150000 bytes
    for (std::size_t bytes : {0u, 65535u, 65536u, 65537u, 131072u, 149999u, 150000u})
        run(large + std::string(bytes, 'x'));
}

// What a system may do to a save or a load. The stream's chunk list makes several writes of the save.
TEST(ImageFailure, SystemRefuses) {
    const std::string image = read_file(QOR_TEST_DATA "/images/mcg59_version2_chunks.img");
    void *stream;
    ASSERT_FALSE(image.empty());
    ASSERT_EQ(__bexLoadStreamM(&stream, image.data()), 0);
    const std::uint64_t blocks = fake_system.live_blocks;
    for (fake_system.disk = 0; fake_system.disk <= image.size(); ++fake_system.disk) {
        const bool fits = fake_system.disk == image.size();
        EXPECT_EQ(__bexSaveStreamF(stream, "x", -1), fits ? 0 : BEX_STATUS_WRITE_FAILED);
        fake_system.close_fails = true; // the first failure is the one reported
        EXPECT_EQ(__bexSaveStreamF(stream, "x", 1), fits ? BEX_STATUS_CLOSE_FAILED : BEX_STATUS_WRITE_FAILED);
        void *loaded = &stream;
        EXPECT_EQ(__bexLoadStreamF(&loaded, "x", -1),
                  fits ? BEX_STATUS_CLOSE_FAILED : BEX_STATUS_READ_FAILED);
        EXPECT_EQ(loaded, nullptr);
        fake_system.close_fails = false;
        EXPECT_EQ(fake_system.live_blocks, blocks);
    }
    fake_system.open_fails = true;
    void *loaded = &stream;
    EXPECT_EQ(__bexSaveStreamF(stream, "x", 1), BEX_STATUS_OPEN_FAILED);
    EXPECT_EQ(__bexLoadStreamF(&loaded, "x", 1), BEX_STATUS_OPEN_FAILED);
    EXPECT_EQ(loaded, nullptr);
    __bexDeleteStream(&stream);
    EXPECT_EQ(fake_system.live_blocks, 0u);
    EXPECT_EQ(fake_system.open_files, 0);
    fake_system = {};
}

// The processor is asked after the state is read and before the chunks are.
TEST(ImageFailure, ProcessorLacksInstructions) {
    const struct {
        std::uint32_t id, state_bytes;
        bool test::FakeSystem::*feature;
        std::int32_t status;
    } cases[] = {{BEX_BRNG_TRNG, 8, &test::FakeSystem::hardware_random, BEX_STATUS_NO_HARDWARE_RANDOM},
                 {BEX_BRNG_ARS5, 56, &test::FakeSystem::aes, BEX_STATUS_NO_AES}};
    for (const auto &c : cases) {
        const std::uint32_t header[] = {2, 0x474E52, 24, c.state_bytes, 1, c.id};
        const std::string state(c.state_bytes, '\0'), chunk(24, '\0');
        std::string image(reinterpret_cast<const char *>(header), sizeof header);
        image += state;
        for (bool present : {true, false}) {
            for (const auto &[content, read] : {std::pair{image.substr(0, image.size() - 1), false},
                                                {image, !present},
                                                {image + chunk, true}}) {
                fake_system = {};
                fake_system.*c.feature = present;
                fake_system.file = content;
                void *stream = &fake_system;
                const std::int32_t expected = !read ? BEX_STATUS_READ_FAILED : present ? 0 : c.status;
                EXPECT_EQ(__bexLoadStreamF(&stream, "", 0), expected);
                EXPECT_EQ(stream != nullptr, expected == 0);
                __bexDeleteStream(&stream);
                EXPECT_EQ(fake_system.live_blocks, 0u);
            }
            void *stream = &fake_system;
            EXPECT_EQ(__bexLoadStreamM(&stream, (image + chunk).data()), present ? 0 : c.status);
            __bexDeleteStream(&stream);
        }
    }
    fake_system = {};
}

} // namespace
