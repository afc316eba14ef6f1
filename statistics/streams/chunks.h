// The list of data attached to a stream.
#pragma once

#include "statistics/streams/stream.h"

namespace qor::bex {

// Attaches a chunk. `adopted` says whether the stream has taken `data`: not where the key's block is
// another's, nor on failure.
std::int32_t add_chunk(Stream &stream, std::uint32_t id, const ChunkKey &key, void *data, std::uint32_t size,
                       bool &adopted);

} // namespace qor::bex
