#include "statistics/streams/chunks.h"

#include "core_interface/core.h"
#include "statistics/streams/shared_data.h"

#include <cstring>

namespace qor::bex {
namespace {

Stream &stream_at(void *stream) { return *static_cast<Stream *>(stream); }
const Stream &stream_at(const void *stream) { return *static_cast<const Stream *>(stream); }

void release(Chunk *chunk) {
    if (!unshare(chunk->key))
        qor::release(chunk->data);
    qor_serv_deallocate(chunk);
}

void release_all(Stream &stream) {
    for (Chunk *chunk = stream.chunks; chunk != nullptr;) {
        Chunk *const next = chunk->next;
        release(chunk);
        chunk = next;
    }
    stream.chunks = nullptr;
}

// A chunk like `chunk`. While that lives its key keeps the block; a private block is copied.
std::int32_t add_copy(Stream &stream, const Chunk &chunk) {
    void *data = chunk.data;
    const bool is_private = data != nullptr && !is_shared(chunk.key);
    if (is_private) {
        data = qor_serv_allocate(chunk.size, record_alignment);
        if (data == nullptr)
            return status_no_memory;
        std::memcpy(data, chunk.data, chunk.size);
    }
    bool adopted;
    const std::int32_t status = add_chunk(stream, chunk.id, chunk.key, data, chunk.size, adopted);
    if (is_private && !adopted)
        qor_serv_deallocate(data);
    return status;
}

} // namespace

std::int32_t add_chunk(Stream &stream, std::uint32_t id, const ChunkKey &key, void *data, std::uint32_t size,
                       bool &adopted) {
    adopted = false;
    auto *const chunk = static_cast<Chunk *>(qor_serv_allocate(sizeof(Chunk), record_alignment));
    if (chunk == nullptr)
        return status_no_memory;
    *chunk = {id, size, data, stream.chunks, key};
    const Sharing sharing = share(key, chunk->data, chunk->size);
    if (sharing == Sharing::refused)
        chunk->key = {};
    adopted = sharing != Sharing::found;
    stream.chunks = chunk;
    return status_ok;
}

} // namespace qor::bex

using namespace qor::bex;

std::int32_t __bexAddChunk(void *stream, std::uint32_t id, const std::uint64_t *key, void *data,
                           std::uint32_t size) {
    bool adopted;
    return add_chunk(stream_at(stream), id, key == nullptr ? ChunkKey{} : ChunkKey{{key[0], key[1]}}, data,
                     size, adopted);
}

void *__bexSearchChunk(const void *stream, std::uint32_t id) {
    for (const Chunk *chunk = stream_at(stream).chunks; chunk != nullptr; chunk = chunk->next)
        if (chunk->id == id)
            return chunk->data;
    return nullptr;
}

std::int32_t __bexGetNumChunks(const void *stream) {
    std::int32_t count = 0;
    for (const Chunk *chunk = stream_at(stream).chunks; chunk != nullptr; chunk = chunk->next)
        ++count;
    return count;
}

std::int32_t __bexDeleteChunks(void *stream) {
    release_all(stream_at(stream));
    return status_ok;
}

std::int32_t __bexDeleteChunksById(void *stream, std::uint32_t id) {
    Chunk *kept = nullptr; // the latest one kept
    for (Chunk *chunk = stream_at(stream).chunks; chunk != nullptr;) {
        Chunk *const next = chunk->next;
        if (chunk->id != id) {
            kept = chunk;
        } else {
            if (kept != nullptr)
                kept->next = next;
            release(chunk);
        }
        chunk = next;
    }
    stream_at(stream).chunks = kept; // on purpose the last one, not the first
    return status_ok;
}

std::int32_t __bexCopyChunks(void *destination, const void *source) {
    Stream &to = stream_at(destination);
    for (const Chunk *chunk = stream_at(source).chunks; chunk != nullptr; chunk = chunk->next) {
        const std::int32_t status = add_copy(to, *chunk);
        if (status != status_ok) {
            release_all(to);
            return status;
        }
    }
    return status_ok;
}
