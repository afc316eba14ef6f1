// A core library for tests: it serves as the real one does, keeps records, and fails when told to.
//
// It is built from the sources in core/ with this file in the place of core/entries.cpp.

#include "tests/substitute_core/control.h"

#include "core/services.h"
#include "core_interface/core.h"
#include "core_interface/system.h"

#include <atomic>
#include <bit>
#include <cstdio>
#include <cstring>

namespace {

constexpr std::uint64_t kept_messages = 256;
constexpr std::uint64_t filled_bytes = 65536;

struct Message {
    std::int32_t number;
    double value;
    char text[64];
};

// A live block. The caller's bytes begin `offset` bytes into the underlying block; this stands just
// before them. Live blocks form a list, so that a release can be checked before memory is touched.
struct Block {
    Block *previous, *next;
    std::uint64_t bytes, offset;
};

struct Records {
    std::uint64_t fail_in, requests, last_alignment, last_size, bad_releases;
    std::int32_t environment_kind;
    char environment_value[512];
    std::uint64_t environment_reads;
    std::uint32_t held_at_read;
    std::uint64_t locked[qor::core::lock_count], unlocked[qor::core::lock_count], lock_errors;
    std::uint64_t messages;
    Message message[kept_messages];
};

std::atomic_flag records_in_use;
Records records;
Block *first_block;
std::uint64_t live_blocks, live_bytes;
std::uint32_t locks_held;

// While one lives, the calling thread alone looks at the data above.
class Access {
  public:
    Access() {
        while (records_in_use.test_and_set(std::memory_order_acquire))
            qor::system::yield_thread();
    }
    Access(const Access &) = delete;
    Access &operator=(const Access &) = delete;
    ~Access() { records_in_use.clear(std::memory_order_release); }
};

// Copies what fits and ends it.
template <std::size_t size> void copy_text(char (&to)[size], const char *from) {
    std::size_t length = 0;
    for (; from != nullptr && from[length] != '\0' && length < size - 1; ++length)
        to[length] = from[length];
    to[length] = '\0';
}

bool known_lock(std::int32_t lock) { return lock >= 0 && lock < qor::core::lock_count; }

std::uint32_t bit_of(std::int32_t lock) { return std::uint32_t{1} << lock; }

void fill(void *block, int byte, std::uint64_t bytes) {
    std::memset(block, byte, bytes < filled_bytes ? bytes : filled_bytes);
}

bool must_fail_now() {
    const bool last = records.fail_in == 1;
    if (records.fail_in > 0)
        --records.fail_in;
    return last;
}

template <typename T> T read(const T &record) {
    const Access access;
    return record;
}

} // namespace

// Entries of the core library ---------------------------------------------------------------------------

void qor_serv_lock(std::int32_t lock) {
    qor::core::lock(lock);
    const Access access;
    if (!known_lock(lock)) {
        ++records.lock_errors;
        return;
    }
    ++records.locked[lock];
    locks_held |= bit_of(lock);
}

void qor_serv_unlock(std::int32_t lock) {
    {
        const Access access;
        if (!known_lock(lock) || (locks_held & bit_of(lock)) == 0) {
            ++records.lock_errors;
            return;
        }
        ++records.unlocked[lock];
        locks_held &= ~bit_of(lock);
    }
    qor::core::unlock(lock);
}

std::int32_t qor_serv_getenv(const char *name, char *buffer, std::int32_t size) {
    const Access access;
    ++records.environment_reads;
    records.held_at_read = locks_held;
    if (records.environment_kind == QOR_TEST_ENVIRONMENT_REAL)
        return qor::core::environment_value(name, buffer, size);
    if (buffer == nullptr || size <= 0)
        return -1;
    buffer[0] = '\0';
    const std::size_t length = std::strlen(records.environment_value);
    if (records.environment_kind == QOR_TEST_ENVIRONMENT_FAILS || length >= static_cast<std::size_t>(size))
        return -1;
    std::memcpy(buffer, records.environment_value, length + 1);
    return static_cast<std::int32_t>(length);
}

void *qor_serv_allocate(std::uint64_t bytes, std::uint64_t alignment) {
    const Access access;
    ++records.requests;
    records.last_alignment = alignment;
    records.last_size = bytes;
    if (must_fail_now())
        return nullptr;
    // The record stands before the caller's bytes; an alignment that is no power of two is passed on,
    // for the real allocation to refuse.
    static_assert(std::has_single_bit(sizeof(Block)), "smaller alignments divide the size of the record");
    const std::uint64_t offset = alignment > sizeof(Block) ? alignment : sizeof(Block);
    if (bytes > ~std::uint64_t{0} - offset)
        return nullptr;
    const bool raise = std::has_single_bit(alignment) && alignment < alignof(Block);
    void *const whole = qor::core::allocate(bytes + offset, raise ? alignof(Block) : alignment);
    if (whole == nullptr)
        return nullptr;
    char *const user = static_cast<char *>(whole) + offset;
    Block *const block = reinterpret_cast<Block *>(user) - 1;
    *block = {nullptr, first_block, bytes, offset};
    if (first_block != nullptr)
        first_block->previous = block;
    first_block = block;
    ++live_blocks;
    live_bytes += bytes;
    fill(user, 0xA5, bytes);
    return user;
}

void qor_serv_deallocate(void *user) {
    if (user == nullptr)
        return;
    const Access access;
    Block *block = first_block;
    while (block != nullptr && block + 1 != user)
        block = block->next;
    if (block == nullptr) {
        ++records.bad_releases;
        return;
    }
    (block->previous != nullptr ? block->previous->next : first_block) = block->next;
    if (block->next != nullptr)
        block->next->previous = block->previous;
    --live_blocks;
    live_bytes -= block->bytes;
    char *const whole = static_cast<char *>(user) - block->offset;
    fill(user, 0xDD, block->bytes);
    qor::core::deallocate(whole);
}

std::int32_t qor_serv_memcpy_s(void *destination, std::uint64_t capacity, const void *source,
                               std::uint64_t count) {
    return qor::core::copy_checked(destination, capacity, source, count);
}

std::int32_t qor_serv_print(void *stream, std::int32_t number, const char *text, double value) {
    const Access access;
    if (records.messages < kept_messages) {
        Message &message = records.message[records.messages];
        message.number = number;
        message.value = value;
        copy_text(message.text, text);
    }
    ++records.messages;
    return qor::core::print_message(stream, number, text, value);
}

void qor_serv_exit(std::int32_t code) {
    std::fprintf(stderr, "exit %d\n", static_cast<int>(code));
    std::fflush(stderr);
    qor::system::exit_process(code);
}

// Controls ------------------------------------------------------------------------------------------------

void qor_test_reset(void) {
    const Access access;
    std::memset(static_cast<void *>(&records), 0, sizeof records);
}

void qor_test_fail_allocation(uint64_t k) {
    const Access access;
    records.fail_in = k;
}

uint64_t qor_test_allocation_requests(void) { return read(records.requests); }
uint64_t qor_test_last_alignment(void) { return read(records.last_alignment); }
uint64_t qor_test_last_size(void) { return read(records.last_size); }
uint64_t qor_test_live_blocks(void) { return read(live_blocks); }
uint64_t qor_test_live_bytes(void) { return read(live_bytes); }
uint64_t qor_test_bad_releases(void) { return read(records.bad_releases); }

void qor_test_environment(int32_t kind, const char *value) {
    const Access access;
    records.environment_kind = kind;
    copy_text(records.environment_value, value);
}

uint64_t qor_test_environment_reads(void) { return read(records.environment_reads); }
uint32_t qor_test_locks_held_at_read(void) { return read(records.held_at_read); }

uint32_t qor_test_locks_held(void) { return read(locks_held); }
uint64_t qor_test_lock_count(int32_t lock) { return known_lock(lock) ? read(records.locked[lock]) : 0; }
uint64_t qor_test_unlock_count(int32_t lock) { return known_lock(lock) ? read(records.unlocked[lock]) : 0; }
uint64_t qor_test_lock_errors(void) { return read(records.lock_errors); }

uint64_t qor_test_message_count(void) { return read(records.messages); }

int32_t qor_test_message_number(uint64_t i) {
    return i < kept_messages ? read(records.message[i].number) : 0;
}
double qor_test_message_value(uint64_t i) { return i < kept_messages ? read(records.message[i].value) : 0; }
const char *qor_test_message_text(uint64_t i) { return i < kept_messages ? records.message[i].text : ""; }
