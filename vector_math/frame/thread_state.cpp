// Thread records: their index, heap and life, and the mode word's first value.
#include "vector_math/frame/thread_state.h"

#include "core_interface/core.h"
#include "core_interface/system.h"

#include <atomic>
#include <cstring>

namespace qor::fyn {
namespace {

constexpr system::ThreadIndex no_index = 0xFFFFFFFFu;
constexpr std::size_t heap_initial_size = 32;
constexpr std::size_t record_bytes = 32;
static_assert(sizeof(FynThreadState) <= record_bytes);

std::atomic<system::ThreadIndex> record_index = no_index;
std::atomic<system::PrivateHeap *> record_heap = nullptr;

// The process-wide index, or no_index.
system::ThreadIndex need_index() {
    system::ThreadIndex index = record_index.load(std::memory_order_acquire);
    if (index != no_index)
        return index;
    qor_serv_lock(thread_index_lock);
    index = record_index.load(std::memory_order_relaxed);
    if (index == no_index && system::thread_index_create(&index))
        record_index.store(index, std::memory_order_release);
    qor_serv_unlock(thread_index_lock);
    return index;
}

system::PrivateHeap *need_heap() {
    system::PrivateHeap *heap = record_heap.load(std::memory_order_acquire);
    if (heap != nullptr)
        return heap;
    qor_serv_lock(record_heap_lock);
    heap = record_heap.load(std::memory_order_relaxed);
    if (heap == nullptr) {
        heap = system::heap_create(heap_initial_size);
        record_heap.store(heap, std::memory_order_release);
    }
    qor_serv_unlock(record_heap_lock);
    return heap;
}

// The thread's record, created when it has none; null (after message 773) when that fails.
FynThreadState *find_or_create_record() {
    const system::ThreadIndex index = need_index();
    if (index != no_index) {
        if (void *record = system::thread_value(index))
            return static_cast<FynThreadState *>(record);
        if (system::PrivateHeap *heap = need_heap()) {
            if (void *block = system::heap_allocate(heap, record_bytes)) {
                std::memset(block, 0, record_bytes);
                if (system::set_thread_value(index, block))
                    return static_cast<FynThreadState *>(block);
                system::heap_free(heap, block);
            }
        }
    }
    qor_serv_print(system::standard_error(), message_no_thread_record, "", 0.0);
    return nullptr;
}

[[gnu::noinline, gnu::cold]] FynThreadState &need_record() {
    FynThreadState *const state = find_or_create_record();
    if (state == nullptr)
        qor_serv_exit(3);
    return *state;
}

constexpr int mode_text_size = 256;
constexpr std::uint32_t default_mode = FYN_HA | FYN_ERRMODE_DEFAULT;

struct ModeName {
    const char *name;
    std::uint32_t value;
};

// In search order: the first that matches is taken. The sixth has no final T, so that the longer
// spelling is followed by a character that voids the variable.
constexpr ModeName mode_names[] = {
    {"LA", FYN_LA},
    {"HA", FYN_HA},
    {"EP", FYN_EP},
    {"DEFAULT_PRECISION", FYN_DEFAULT_PRECISION},
    {"FLOAT_CONSISTENT", FYN_FLOAT_CONSISTENT},
    {"DOUBLE_CONSISTEN", FYN_DOUBLE_CONSISTEN},
    {"RESTORE", FYN_RESTORE},
    {"ERRMODE_IGNORE", FYN_ERRMODE_IGNORE},
    {"ERRMODE_ERRNO", FYN_ERRMODE_ERRNO},
    {"ERRMODE_STDERR", FYN_ERRMODE_STDERR},
    {"ERRMODE_EXCEPT", FYN_ERRMODE_EXCEPT},
    {"ERRMODE_CALLBACK", FYN_ERRMODE_CALLBACK},
    {"ERRMODE_NOERR", FYN_ERRMODE_NOERR},
    {"ERRMODE_DEFAULT", FYN_ERRMODE_DEFAULT},
    {"TRAP_INVALID", FYN_TRAP_INVALID},
    {"TRAP_DIVBYZERO", FYN_TRAP_DIVBYZERO},
    {"TRAP_OVERFLOW", FYN_TRAP_OVERFLOW},
    {"TRAP_UNDERFLOW", FYN_TRAP_UNDERFLOW},
};

// The name at `position`, or null. No name may reach past the last character a buffer can hold.
const ModeName *match_name(const char *text, std::size_t position) {
    for (const ModeName &entry : mode_names) {
        const std::size_t length = std::strlen(entry.name);
        if (position + length <= mode_text_size - 1 && std::strncmp(text + position, entry.name, length) == 0)
            return &entry;
    }
    return nullptr;
}

} // namespace

std::uint32_t mode_from_text(const char *text) {
    constexpr char prefix[] = "FYN_";
    constexpr std::size_t prefix_length = sizeof prefix - 1;
    std::uint32_t mode = 0;
    for (std::size_t position = 0;;) {
        if (std::strncmp(text + position, prefix, prefix_length) != 0)
            return default_mode;
        position += prefix_length;
        const ModeName *entry = match_name(text, position);
        if (entry == nullptr)
            return default_mode;
        mode |= entry->value;
        position += std::strlen(entry->name);
        if (text[position] == '\0')
            break;
        if (text[position] != ',')
            return default_mode;
        ++position;
    }
    if ((mode & accuracy_field) == 0)
        mode |= FYN_HA;
    if ((mode & error_field) == 0)
        mode |= FYN_ERRMODE_DEFAULT;
    return mode;
}

// Every call comes here several times: the record that is there already is found first.
FynThreadState &thread_state() {
    const system::ThreadIndex index = record_index.load(std::memory_order_acquire);
    void *const record = index != no_index ? system::thread_value(index) : nullptr;
    return record != nullptr ? *static_cast<FynThreadState *>(record) : need_record();
}

void take_mode_from_environment(FynThreadState &state) {
    char text[mode_text_size];
    qor_serv_lock(environment_lock);
    const std::int32_t length = qor_serv_getenv("QOR_FYN_MODE", text, sizeof text);
    qor_serv_unlock(environment_lock);
    state.mode = length > 0 ? mode_from_text(text) : default_mode;
}

} // namespace qor::fyn

namespace qor::system {

bool library_attached() { return fyn::find_or_create_record() != nullptr; }

void thread_detached(void *value) {
    if (system::PrivateHeap *heap = fyn::record_heap.load(std::memory_order_acquire))
        heap_free(heap, value);
}

void library_unloaded() {
    const ThreadIndex index = fyn::record_index.load(std::memory_order_acquire);
    if (index != fyn::no_index) {
        if (void *record = thread_value(index)) {
            set_thread_value(index, nullptr);
            thread_detached(record);
        }
        thread_index_free(index);
        fyn::record_index.store(fyn::no_index, std::memory_order_release);
    }
    if (PrivateHeap *heap = fyn::record_heap.exchange(nullptr))
        heap_destroy(heap);
}

} // namespace qor::system
