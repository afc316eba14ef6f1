// Streams saved to files and memory, and loaded again. docs/image_format.md describes the images.
//
// A file may hold anything: what it claims is checked before use, and memory is asked for as its bytes
// arrive. An image in memory has no known end; its chunk sizes are believed.
#include "core_interface/core.h"
#include "core_interface/system.h"
#include "statistics/streams/chunks.h"
#include "statistics/streams/registry.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace qor::bex {
namespace {

constexpr std::uint8_t version_written = 2;
constexpr std::uint32_t magic = 0x00474E52, magic_mask = 0xFFFFFF; // "RNG"
constexpr std::uint16_t header_bytes = 24, old_header_bytes = 20;
constexpr std::size_t leading_bytes = 8; // what all versions have: version and magic
constexpr std::size_t chunk_header_bytes = 24;
constexpr std::int32_t most_chunks = 0xFFFF;

std::uint32_t state_bytes(const BrngProperties &row) {
    return static_cast<std::uint32_t>(record_bytes(row) - sizeof(Stream));
}

std::uint32_t data_bytes(const Chunk &chunk) { return chunk.data == nullptr ? 0 : chunk.size; }

// Transports. A gap is three zero bytes at most in a file, and bytes left alone in memory.

struct FileWriter {
    system::File *file;

    bool write(const void *data, std::size_t bytes) {
        return bytes == 0 || system::file_write(file, data, bytes) == bytes;
    }
    bool gap(std::size_t bytes) {
        constexpr char zeros[3] = {};
        return write(zeros, bytes);
    }
};

struct MemoryWriter {
    char *next;

    bool write(const void *data, std::size_t bytes) {
        if (bytes != 0)
            std::memcpy(next, data, bytes);
        return gap(bytes);
    }
    bool gap(std::size_t bytes) {
        next += bytes;
        return true;
    }
};

struct FileReader {
    static constexpr Status bad_image = status_bad_file, bad_version = status_bad_version;
    static constexpr std::uint32_t believed_bytes = 65536; // of a chunk, before any of them is there
    system::File *file;

    bool read(void *data, std::size_t bytes) {
        return bytes == 0 || system::file_read(file, data, bytes) == bytes;
    }
};

struct MemoryReader {
    static constexpr Status bad_image = status_bad_image, bad_version = status_bad_image;
    static constexpr std::uint32_t believed_bytes = std::numeric_limits<std::uint32_t>::max();
    const char *next;

    bool read(void *data, std::size_t bytes) {
        std::memcpy(data, next, bytes);
        next += bytes;
        return true;
    }
};

// Saving ---------------------------------------------------------------------------------------------

struct Extent {
    std::uint32_t state_bytes;
    std::uint16_t chunks;
};

std::int32_t measure(const Stream &stream, Extent &extent) {
    const BrngProperties *const row = row_of(stream);
    if (row == nullptr)
        return status_bad_id;
    const std::int32_t chunks = __bexGetNumChunks(&stream);
    if (chunks > most_chunks)
        return status_write_failed;
    extent = {state_bytes(*row), static_cast<std::uint16_t>(chunks)};
    return status_ok;
}

template <class Writer, class T> bool put(Writer &out, const T &value) {
    return out.write(&value, sizeof value);
}

template <class Writer> bool put_chunk(Writer &out, const Chunk &chunk) {
    const std::uint32_t bytes = data_bytes(chunk);
    return put(out, chunk.id) && put(out, chunk.key) && put(out, bytes) && out.write(chunk.data, bytes);
}

template <class Writer> std::int32_t save(Writer out, const Stream &stream, const Extent &extent) {
    bool done = put(out, version_written) && out.gap(3) && put(out, magic) && put(out, header_bytes) &&
                out.gap(2) && put(out, extent.state_bytes) && put(out, extent.chunks) && out.gap(2) &&
                put(out, stream.brng) && out.write(&stream + 1, extent.state_bytes);
    for (const Chunk *chunk = stream.chunks; done && chunk != nullptr; chunk = chunk->next)
        done = put_chunk(out, *chunk);
    return done ? status_ok : status_write_failed;
}

// Loading --------------------------------------------------------------------------------------------

struct Header {
    std::uint8_t version;
    std::uint32_t words[2]; // the first two, one of them with the magic
    std::uint16_t bytes;
    std::uint32_t state_bytes;
    std::uint16_t chunks;
    Id brng;
};

template <class T> T field(const char *bytes, std::size_t offset) {
    T value;
    std::memcpy(&value, bytes + offset, sizeof value);
    return value;
}

template <class Reader> bool get_header(Reader &in, Header &header) {
    using U16 = std::uint16_t;
    using U32 = std::uint32_t;
    char bytes[header_bytes];
    if (!in.read(bytes, leading_bytes))
        return false;
    const auto version = static_cast<std::uint8_t>(bytes[0]);
    const bool is_old = version != version_written;
    if (!in.read(bytes + leading_bytes, (is_old ? old_header_bytes : header_bytes) - leading_bytes))
        return false;
    header = {version, {field<U32>(bytes, 0), field<U32>(bytes, 4)}, header_bytes, 0, 0, 0};
    if (is_old) {
        header.state_bytes = field<U16>(bytes, 10);
        header.chunks = field<U16>(bytes, 12);
        header.brng = field<U32>(bytes, 16);
    } else {
        header.bytes = field<U16>(bytes, 8);
        header.state_bytes = field<U32>(bytes, 12);
        header.chunks = field<U16>(bytes, 16);
        header.brng = field<U32>(bytes, 20);
    }
    return true;
}

template <class Reader> std::int32_t check(const Header &header, const RowPlace &place) {
    if ((header.words[0] & magic_mask) != magic && (header.words[1] & magic_mask) != magic)
        return Reader::bad_image;
    if (header.version > version_written && header.words[1] > version_written)
        return Reader::bad_version;
    if (validate(place) != status_ok)
        return Reader::bad_image;
    const BrngProperties &row = place.table[place.row];
    if (row.init_stream == nullptr) // an empty row
        return status_bad_id;
    const bool fits = header.state_bytes == state_bytes(row) && header.bytes >= header_bytes;
    return fits ? status_ok : Reader::bad_image;
}

std::int32_t check_processor(Id brng) {
    const system::ProcessorFeatures features = system::processor_features();
    if (brng == BEX_BRNG_TRNG && !features.hardware_random)
        return status_no_hardware_random;
    if (brng == BEX_BRNG_ARS5 && !features.aes)
        return status_no_aes;
    return status_ok;
}

// Reads a block of `size` bytes. Past what is believed it grows only as far as the image has kept its word.
template <class Reader> std::int32_t get_block(Reader &in, std::uint32_t size, char *&block) {
    std::uint32_t filled = 0;
    block = nullptr;
    do {
        const std::uint32_t growth = std::max(filled, Reader::believed_bytes);
        const std::uint32_t room = filled + std::min(size - filled, growth);
        auto *const larger = static_cast<char *>(qor_serv_allocate(room, record_alignment));
        if (larger != nullptr && filled != 0)
            std::memcpy(larger, block, filled);
        release(block);
        block = larger;
        if (block == nullptr)
            return status_no_memory;
        if (!in.read(block + filled, room - filled)) {
            release(block);
            return status_read_failed;
        }
        filled = room;
    } while (filled < size);
    return status_ok;
}

template <class Reader> std::int32_t load_chunk(Reader &in, std::uint8_t version, Stream &stream) {
    std::uint32_t id, size;
    ChunkKey key{};
    if (version > version_written || !in.read(&id, sizeof id)) // whose records are not known
        return status_read_failed;
    if (version != 0 && !in.read(&key, sizeof key)) // version 0 has no keys
        return status_read_failed;
    if (!in.read(&size, sizeof size))
        return status_read_failed;
    char *block;
    std::int32_t status = get_block(in, size, block);
    if (status != status_ok)
        return status;
    bool adopted;
    status = add_chunk(stream, id, key, block, size, adopted);
    if (!adopted)
        release(block);
    return status;
}

template <class Reader> std::int32_t load_contents(Reader &in, const Header &header, Stream &stream) {
    if (!in.read(&stream + 1, header.state_bytes))
        return status_read_failed;
    std::int32_t status = check_processor(header.brng);
    for (std::uint32_t i = 0; i < header.chunks && status == status_ok; ++i)
        status = load_chunk(in, header.version, stream);
    return status;
}

template <class Reader> std::int32_t load(Reader in, void **out) {
    Header header;
    if (!get_header(in, header))
        return status_read_failed;
    const RowPlace place = resolve(header.brng);
    std::int32_t status = check<Reader>(header, place);
    if (status == status_ok)
        status = __bexAllocateStream(out, place.table, header.brng, place.row, place.member);
    if (status == status_ok)
        status = load_contents(in, header, *static_cast<Stream *>(*out));
    return status;
}

// Files ----------------------------------------------------------------------------------------------

std::int32_t open_file(const char *name, std::int32_t length, bool write, system::File *&file) {
    char *copy = nullptr;
    if (length >= 0) {
        const auto bytes = static_cast<std::size_t>(length);
        copy = static_cast<char *>(qor_serv_allocate(bytes + 1, record_alignment));
        if (copy == nullptr)
            return status_no_memory;
        std::copy_n(name, bytes, copy);
        copy[bytes] = '\0';
        name = copy;
    }
    constexpr std::size_t longest = std::numeric_limits<int>::max();
    file = system::file_open(name, static_cast<int>(std::min(std::strlen(name), longest)), write);
    release(copy);
    return file != nullptr ? status_ok : status_open_failed;
}

// The first failure counts.
std::int32_t close_file(system::File *file, std::int32_t status) {
    const bool closed = system::file_close(file);
    return status == status_ok && !closed ? status_close_failed : status;
}

// A load that failed leaves no stream.
std::int32_t finish(std::int32_t status, void **out) {
    if (status != status_ok)
        __bexDeleteStream(out);
    return status;
}

} // namespace
} // namespace qor::bex

using namespace qor::bex;

std::int32_t __bexSaveStreamF(const void *stream, const char *name, std::int32_t length) {
    const Stream &from = *static_cast<const Stream *>(stream);
    Extent extent;
    std::int32_t status = measure(from, extent);
    if (status != status_ok)
        return status; // a file that is there stays as it is
    qor::system::File *file;
    status = open_file(name, length, true, file);
    return status == status_ok ? close_file(file, save(FileWriter{file}, from, extent)) : status;
}

std::int32_t __bexLoadStreamF(void **stream, const char *name, std::int32_t length) {
    *stream = nullptr;
    qor::system::File *file;
    const std::int32_t status = open_file(name, length, false, file);
    return status == status_ok ? finish(close_file(file, load(FileReader{file}, stream)), stream) : status;
}

std::int32_t __bexSaveStreamM(const void *stream, void *buffer) {
    const Stream &from = *static_cast<const Stream *>(stream);
    Extent extent;
    const std::int32_t status = measure(from, extent);
    return status == status_ok ? save(MemoryWriter{static_cast<char *>(buffer)}, from, extent) : status;
}

std::int32_t __bexLoadStreamM(void **stream, const void *buffer) {
    *stream = nullptr;
    return finish(load(MemoryReader{static_cast<const char *>(buffer)}, stream), stream);
}

std::int32_t __bexGetStreamSize(const void *stream) {
    const Stream &from = *static_cast<const Stream *>(stream);
    Extent extent;
    const std::int32_t status = measure(from, extent);
    if (status != status_ok)
        return status;
    std::uint64_t bytes = std::uint64_t{header_bytes} + extent.state_bytes;
    for (const Chunk *chunk = from.chunks; chunk != nullptr; chunk = chunk->next)
        bytes += chunk_header_bytes + data_bytes(*chunk);
    constexpr std::uint64_t largest = std::numeric_limits<std::int32_t>::max();
    return bytes <= largest ? static_cast<std::int32_t>(bytes) : std::int32_t{status_no_memory};
}
