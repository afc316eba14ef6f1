// Streams from creation to deletion; leapfrog and skip-ahead are handed on to the generator.
#include "core_interface/core.h"
#include "statistics/streams/registry.h"

#include <algorithm>
#include <cstring>

namespace qor::bex {
namespace {

// What copying a state moves. On purpose the seed's length in raw outputs, whatever the state's length is.
std::uint64_t copied_bytes(const BrngProperties &row) {
    return std::uint64_t{static_cast<std::uint32_t>(row.seed_words)} *
           static_cast<std::uint32_t>(row.word_bytes);
}

// A block has room for the record, and for copying a state where that passes the record's end.
std::uint64_t block_bytes(const BrngProperties &row) {
    return std::max(record_bytes(row), sizeof(Stream) + copied_bytes(row));
}

std::int32_t allocate(void **out, const RowPlace &place, Id id) {
    *out = nullptr;
    const std::int32_t status = validate(place);
    if (status != status_ok)
        return status;
    const BrngProperties &row = place.table[place.row];
    if (row.init_stream == nullptr) // an empty row
        return status_bad_id;
    *out = qor_serv_allocate(block_bytes(row), record_alignment);
    if (*out == nullptr)
        return status_no_memory;
    *static_cast<Stream *>(*out) = {id, 1, nullptr};
    return status_ok;
}

std::int32_t call_init(void *stream, InitMethod method, std::int32_t n, const void *params) {
    const BrngProperties *const row = row_of(*static_cast<const Stream *>(stream));
    return row != nullptr ? row->init_stream(method, stream, n, params) : status_bad_id;
}

} // namespace
} // namespace qor::bex

using namespace qor::bex;

std::int32_t __bexNewStreamEx(void **stream, std::uint32_t id, std::int32_t n, const std::uint32_t *params) {
    *stream = nullptr;
    if (id == BEX_BRNG_IABSTRACT || id == BEX_BRNG_DABSTRACT || id == BEX_BRNG_SABSTRACT)
        return status_bad_id; // they have constructors of their own
    const std::int32_t status = allocate(stream, resolve(id), id);
    return status == status_ok ? call_init(*stream, initialise, n, params) : status;
}

std::int32_t __bexAllocateStream(void **stream, const BrngProperties *table, std::uint32_t id,
                                 std::uint32_t row, std::uint32_t member) {
    return allocate(stream, {table, row, member}, id);
}

std::int32_t __bexCopyStream(void **stream, const void *source) {
    const Stream &from = *static_cast<const Stream *>(source);
    const RowPlace place = resolve(from.brng);
    void *made;
    std::int32_t status = allocate(&made, place, from.brng);
    if (status == status_ok) {
        std::memcpy(made, source, record_bytes(place.table[place.row]));
        static_cast<Stream *>(made)->chunks = nullptr;
        status = __bexCopyChunks(made, source);
        if (status != status_ok)
            __bexDeleteStream(&made);
    }
    *stream = made;
    return status;
}

std::int32_t __bexCopyStreamState(void *destination, const void *source) {
    if (destination == source)
        return status_ok;
    const BrngProperties *const from = row_of(*static_cast<const Stream *>(source));
    const BrngProperties *const to = row_of(*static_cast<const Stream *>(destination));
    if (from == nullptr || to == nullptr)
        return status_bad_id;
    std::memcpy(&state_of<char>(destination), static_cast<const char *>(source) + sizeof(Stream),
                std::min(copied_bytes(*from), block_bytes(*to) - sizeof(Stream)));
    __bexDeleteChunks(destination);
    return __bexCopyChunks(destination, source);
}

std::int32_t __bexDeleteStream(void **stream) {
    if (*stream != nullptr) {
        __bexDeleteChunks(*stream);
        qor_serv_deallocate(*stream);
        *stream = nullptr;
    }
    return status_ok;
}

std::int32_t __bexLeapfrogStream(void *stream, std::int32_t k, std::int32_t nstreams) {
    return nstreams < 0 ? status_bad_stream_count : call_init(stream, leapfrog, nstreams, &k);
}

std::int32_t __bexSkipAheadStream(void *stream, std::uint64_t nskip) {
    return call_init(stream, skip_ahead, 2, &nskip);
}

std::int32_t __bexSkipAheadStreamEx(void *stream, std::int32_t n, const std::uint64_t *nskip) {
    return call_init(stream, skip_ahead_extended, n, nskip);
}
