// Read-only blocks shared between streams: a process-wide table of reference counts by key.
//
// Every function is one step under the table's lock and calls nothing while it holds it.
#pragma once

#include "statistics/streams/stream.h"

namespace qor::bex {

// One row of the table (32 bytes).
struct SharedData {
    ChunkKey key;
    std::uint32_t refs;
    std::uint32_t size; // of the block as the chunk that brought it says; 0: not known
    void *data;
};
static_assert(sizeof(SharedData) == 32);

enum class Sharing {
    found,   // the key's block is used from now on, with one reference more
    added,   // the block given is the key's from now on
    refused, // the block stays private
};

// Shares `data` under a key: takes the block that the key has (`data` is then that block, and `size` no more
// than the block's), or brings it. A zero key is refused; so is a new one when only the last row is free.
Sharing share(const ChunkKey &key, void *&data, std::uint32_t &size);

// Whether a key has a block.
bool is_shared(const ChunkKey &key);

// Gives one reference of a key back and releases what lost its last. False when the key has no block.
bool unshare(const ChunkKey &key);

} // namespace qor::bex
