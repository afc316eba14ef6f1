// A fuzz target: any bytes as a saved image. Built with libFuzzer, or with corpus_test.cpp, which replays
// files.
//
// Whatever the bytes: a known status, a null handle on failure, nothing left behind, no request for memory
// out of proportion to the file. The reader of memory images agrees with that of files, and a stream that was
// loaded gives the same image when saved, loaded, saved, loaded and saved.
#include "fuzz/image_fuzz.h"

#include "fuzz/fake_system.h"
#include "include/qor_bex_streams.h"
#include "statistics/streams/stream.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <map>
#include <vector>

namespace {

using test::fake_system;

void require(bool holds, const char *what) {
    if (!holds) {
        std::fprintf(stderr, "image_fuzz: not so: %s\n", what);
        std::abort();
    }
}
#define REQUIRE(condition) require(condition, #condition)

struct OwnedStream {
    void *handle = nullptr;
    ~OwnedStream() { __bexDeleteStream(&handle); }
    operator void *() const { return handle; }
};

// A generator of the user's with less of a record than the header; its id is 0x1100000.
void register_tiny_generator() {
    static const BexBrngProperties row = {5,
                                          1,
                                          0,
                                          4,
                                          32,
                                          [](auto, auto, auto, auto) { return 0; },
                                          [](auto, auto, auto, auto, auto) { return 0; },
                                          [](auto, auto, auto, auto, auto) { return 0; },
                                          [](auto, auto, auto) { return 0; }};
    static const std::int32_t id = __bexRegisterBrng(&row);
    REQUIRE(id == 0x1100000);
}

// Whether the sizes of all chunks are those of their blocks. A chunk that shares the block of another has its
// own size, and the image may have lied about it.
bool sizes_agree(void *stream) {
    std::map<const void *, std::uint32_t> sizes;
    for (auto *chunk = static_cast<qor::bex::Stream *>(stream)->chunks; chunk != nullptr; chunk = chunk->next)
        if (sizes.try_emplace(chunk->data, chunk->size).first->second != chunk->size)
            return false;
    return true;
}

std::vector<char> saved(void *stream) {
    const std::int32_t size = __bexGetStreamSize(stream);
    REQUIRE(size >= 24);
    std::vector<char> image(static_cast<std::size_t>(size));
    REQUIRE(__bexSaveStreamM(stream, image.data()) == 0);
    REQUIRE(__bexSaveStreamF(stream, "", 0) == 0);
    REQUIRE(std::equal(image.begin(), image.end(), fake_system.file.begin(), fake_system.file.end()));
    return image;
}

void check_round_trip(void *stream) {
    const std::vector<char> image = saved(stream);
    OwnedStream reversed, again;
    REQUIRE(__bexLoadStreamM(&reversed.handle, image.data()) == 0);
    const std::vector<char> reversed_image = saved(reversed);
    REQUIRE(reversed_image.size() == image.size());
    REQUIRE(__bexLoadStreamM(&again.handle, reversed_image.data()) == 0);
    REQUIRE(saved(again) == image);
}

// The same bytes in memory. Only an image that the file reader accepts, or refuses by its header, is known to
// end in time.
void check_memory_reader(const std::vector<char> &bytes, std::int32_t status, void *from_file) {
    const bool refused = status == BEX_STATUS_BAD_FILE || status == BEX_STATUS_BAD_VERSION;
    if (status != 0 && status != BEX_STATUS_BAD_ID && !refused)
        return;
    OwnedStream stream;
    REQUIRE(__bexLoadStreamM(&stream.handle, bytes.data()) == (refused ? BEX_STATUS_BAD_IMAGE : status));
    REQUIRE((stream != nullptr) == (status == 0));
    if (status == 0 && sizes_agree(from_file) && sizes_agree(stream))
        REQUIRE(saved(stream) == saved(from_file));
}

void run(const std::vector<char> &bytes) {
    OwnedStream stream{&fake_system};
    const std::int32_t status = __bexLoadStreamF(&stream.handle, "", 0);
    constexpr std::int32_t known[] = {0, BEX_STATUS_BAD_ID, BEX_STATUS_READ_FAILED, BEX_STATUS_BAD_FILE,
                                      BEX_STATUS_BAD_VERSION};
    REQUIRE(std::find(std::begin(known), std::end(known), status) != std::end(known));
    REQUIRE((stream != nullptr) == (status == 0));
    REQUIRE(fake_system.largest_request <= std::max<std::size_t>(100000, 2 * bytes.size()));
    if (status == 0 && sizes_agree(stream))
        check_round_trip(stream);
    check_memory_reader(bytes, status, stream);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    register_tiny_generator();
    const char *const text = reinterpret_cast<const char *>(data);
    fake_system = {};
    fake_system.file.assign(text, size);
    run(std::vector<char>(text, text + size));
    REQUIRE(fake_system.live_blocks == 0 && fake_system.open_files == 0);
    return 0;
}
