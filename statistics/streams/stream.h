// The stream record and the generator rows: what every part of the streams room shares.
//
// A stream is one block, aligned to 128 bytes: a header, then the state of one basic generator. The
// header's id leads to the generator's row in one of two tables; everything else reaches the generator
// through the row's four entries.
#pragma once

#include "include/qor_bex_streams.h"

#include <cstdint>

namespace qor::bex {

using Id = std::uint32_t;

struct Chunk;

struct Stream {
    Id brng;
    std::uint32_t reserved_one; // always 1
    Chunk *chunks;              // data attached to the stream, newest first
};
static_assert(sizeof(Stream) == 16);

// The generator's own state stands behind the header.
template <class State> State &state_of(void *stream) {
    return *reinterpret_cast<State *>(static_cast<char *>(stream) + sizeof(Stream));
}

// What a row's init_stream is asked to do. `n` and `params` by method:
//   initialise           n 32-bit words of seed
//   leapfrog             n is the number of streams, params points to this stream's index (32-bit)
//   skip_ahead           n is 2, params points to a 64-bit count of elements
//   skip_ahead_extended  n 64-bit words of a count, least significant first
enum InitMethod : std::int32_t { initialise = 0, leapfrog = 1, skip_ahead = 2, skip_ahead_extended = 3 };

using InitEntry = ::BexInitStream;
using FloatEntry = ::BexFloatOutput;
using DoubleEntry = ::BexDoubleOutput;
using IntegerEntry = ::BexIntegerOutput;

// One row of a registry table.
using BrngProperties = ::BexBrngProperties;
static_assert(sizeof(BrngProperties) == 56);

struct ChunkKey {
    std::uint64_t words[2];
};

// A block of data attached to a stream (40 bytes).
struct Chunk {
    std::uint32_t id;
    std::uint32_t size; // bytes of data
    void *data;
    Chunk *next;
    ChunkKey key; // zero for private data
};
static_assert(sizeof(Chunk) == 40);

inline constexpr std::uint64_t record_alignment = 128;

enum Status : std::int32_t {
    status_ok = BEX_STATUS_OK,
    status_bad_method = BEX_STATUS_BAD_METHOD,
    status_no_memory = BEX_STATUS_NO_MEMORY,
    status_null_entry = BEX_STATUS_NULL_ENTRY,
    status_bad_id = BEX_STATUS_BAD_ID,
    status_no_leapfrog = BEX_STATUS_NO_LEAPFROG,
    status_no_skip_ahead = BEX_STATUS_NO_SKIP_AHEAD,
    status_no_skip_ahead_extended = BEX_STATUS_NO_SKIP_AHEAD_EXTENDED,
    status_bad_state_bytes = BEX_STATUS_BAD_STATE_BYTES,
    status_bad_word_bytes = BEX_STATUS_BAD_WORD_BYTES,
    status_bad_seed_words = BEX_STATUS_BAD_SEED_WORDS,
    status_bad_result_bits = BEX_STATUS_BAD_RESULT_BITS,
    status_bad_stream_count = BEX_STATUS_BAD_STREAM_COUNT,
    status_no_uniform_bits = -1014,
    status_table_full = BEX_STATUS_TABLE_FULL,
    status_not_available = BEX_STATUS_NOT_AVAILABLE,
    status_no_such_output = BEX_STATUS_NO_SUCH_OUTPUT,
    status_close_failed = -1100,
    status_open_failed = -1101,
    status_write_failed = -1102,
    status_read_failed = -1103,
    status_bad_file = -1110,
    status_bad_version = -1111,
    status_no_hardware_random = -1130,
    status_no_aes = -1140,
    status_bad_image = -1200,
    status_key_not_found = BEX_STATUS_KEY_NOT_FOUND,
    status_shared_table_full = BEX_STATUS_SHARED_TABLE_FULL,
};

} // namespace qor::bex
