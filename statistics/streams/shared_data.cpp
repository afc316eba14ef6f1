#include "statistics/streams/shared_data.h"

#include "core_interface/core.h"
#include "core_interface/system.h"

#include <algorithm>
#include <atomic>

namespace qor::bex {
namespace {

constexpr std::uint32_t table_size = 128;
constexpr std::uint32_t shared_chunks_limit =
    127; // rows that chunks may fill; the rest is for explicit entries

SharedData table[table_size];
std::uint32_t rows = 0;
constinit std::atomic<std::uint32_t> table_lock = 0;

class Locked {
  public:
    Locked() {
        for (std::uint32_t free = 0; !table_lock.compare_exchange_weak(free, 1, std::memory_order_acquire);
             free = 0)
            while (table_lock.load(std::memory_order_relaxed) != 0)
                qor::system::yield_thread();
    }
    Locked(const Locked &) = delete;
    Locked &operator=(const Locked &) = delete;
    ~Locked() { table_lock.store(0, std::memory_order_release); }
};

bool is_zero(const ChunkKey &key) { return (key.words[0] | key.words[1]) == 0; }

bool equal(const ChunkKey &a, const ChunkKey &b) {
    return a.words[0] == b.words[0] && a.words[1] == b.words[1];
}

ChunkKey key_at(const std::uint64_t *words) {
    return words == nullptr ? ChunkKey{} : ChunkKey{{words[0], words[1]}};
}

// The first row of a key, or null. Under the lock, as is append.
SharedData *find(const ChunkKey &key) {
    if (is_zero(key))
        return nullptr;
    for (std::uint32_t i = 0; i < rows; ++i)
        if (equal(table[i].key, key))
            return &table[i];
    return nullptr;
}

SharedData *append(const ChunkKey &key, void *data, std::uint32_t size) {
    table[rows] = {key, 1, size, data};
    return &table[rows++];
}

SharedData *find_locked(const ChunkKey &key) {
    const Locked locked;
    return find(key);
}

} // namespace

Sharing share(const ChunkKey &key, void *&data, std::uint32_t &size) {
    const Locked locked;
    if (SharedData *row = find(key)) {
        ++row->refs;
        data = row->data;
        if (row->size != 0)
            size = std::min(size, row->size);
        return Sharing::found;
    }
    if (is_zero(key) || rows >= shared_chunks_limit)
        return Sharing::refused;
    append(key, data, size);
    return Sharing::added;
}

bool is_shared(const ChunkKey &key) { return find_locked(key) != nullptr; }

bool unshare(const ChunkKey &key) {
    // More than one row can have a key where entries were made without looking for it.
    void *unused[table_size];
    std::uint32_t unused_count = 0;
    bool found = false;
    if (!is_zero(key)) {
        const Locked locked;
        for (std::uint32_t i = 0; i < rows;) {
            if (!equal(table[i].key, key)) {
                ++i;
                continue;
            }
            found = true;
            if (--table[i].refs != 0) {
                ++i;
                continue;
            }
            unused[unused_count++] = table[i].data;
            table[i] = table[--rows]; // looked at next
        }
    }
    while (unused_count > 0)
        release(unused[--unused_count]);
    return found;
}

} // namespace qor::bex

using namespace qor::bex;

std::int32_t __bexCreateGlobRODataTableEntry(void **entry, const std::uint64_t *key, void *data) {
    const ChunkKey copied = key_at(key);
    const Locked locked;
    if (rows >= table_size)
        return status_shared_table_full;
    *entry = append(copied, data, 0);
    return status_ok;
}

std::int32_t __bexFindGlobRODataTableEntry(void **entry, const std::uint64_t *key) {
    SharedData *const row = find_locked(key_at(key));
    if (row == nullptr)
        return status_key_not_found;
    *entry = row;
    return status_ok;
}

std::int32_t __bexRegisterGlobRODataReference(void *chunk, const std::uint64_t *key) {
    const ChunkKey copied = key_at(key);
    const Locked locked;
    SharedData *const row = find(copied);
    if (row == nullptr)
        return status_key_not_found;
    ++row->refs;
    static_cast<Chunk *>(chunk)->data = row->data;
    return status_ok;
}

std::int32_t __bexUnregisterGlobRODataReference(const std::uint64_t *key) {
    return unshare(key_at(key)) ? status_ok : status_key_not_found;
}

std::int32_t __bexGenerateNewGlobalRODataTableEntryId(std::uint64_t *key, std::uint64_t value) {
    key[1] = value;
    while (is_shared(key_at(key)))
        qor::system::yield_thread();
    return status_ok;
}
