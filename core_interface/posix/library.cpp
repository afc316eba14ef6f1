// The system services on POSIX systems that the numerical library alone uses, and its load and unload
// notifications.
#include "core_interface/system.h"

#include <cerrno>
#include <cstdlib>
#include <pthread.h>

// Of the C++ runtime's public interface: handlers registered under a handle of one's own run at process
// exit, or when that handle is finalised.
extern "C" int __cxa_atexit(void (*handler)(void *), void *argument, void *handle);
extern "C" void __cxa_finalize(void *handle);

namespace qor::system {

bool thread_index_create(ThreadIndex *index) {
    pthread_key_t key;
    if (pthread_key_create(&key, thread_detached) != 0)
        return false;
    *index = key;
    return true;
}

void thread_index_free(ThreadIndex index) { pthread_key_delete(index); }
void *thread_value(ThreadIndex index) { return pthread_getspecific(index); }
bool set_thread_value(ThreadIndex index, void *value) { return pthread_setspecific(index, value) == 0; }

// Every block is a link of one list, so that the heap can end with blocks still in it.
struct PrivateHeap {
    struct alignas(16) Link {
        Link *next, *previous;
    };
    Link blocks;
    pthread_mutex_t lock;
};

PrivateHeap *heap_create(std::size_t) {
    auto *heap = static_cast<PrivateHeap *>(std::malloc(sizeof(PrivateHeap)));
    if (heap == nullptr)
        return nullptr;
    heap->blocks.next = heap->blocks.previous = &heap->blocks;
    pthread_mutex_init(&heap->lock, nullptr);
    return heap;
}

void *heap_allocate(PrivateHeap *heap, std::size_t bytes) {
    auto *link = static_cast<PrivateHeap::Link *>(std::malloc(sizeof(PrivateHeap::Link) + bytes));
    if (link == nullptr)
        return nullptr;
    pthread_mutex_lock(&heap->lock);
    link->next = &heap->blocks;
    link->previous = heap->blocks.previous;
    link->previous->next = link->next->previous = link;
    pthread_mutex_unlock(&heap->lock);
    return link + 1;
}

void heap_free(PrivateHeap *heap, void *block) {
    auto *link = static_cast<PrivateHeap::Link *>(block) - 1;
    pthread_mutex_lock(&heap->lock);
    link->previous->next = link->next;
    link->next->previous = link->previous;
    pthread_mutex_unlock(&heap->lock);
    std::free(link);
}

void heap_destroy(PrivateHeap *heap) {
    for (PrivateHeap::Link *link = heap->blocks.next; link != &heap->blocks;) {
        PrivateHeap::Link *next = link->next;
        std::free(link);
        link = next;
    }
    pthread_mutex_destroy(&heap->lock);
    std::free(heap);
}

ErrnoAccessor find_errno_accessor() {
    return [] { return &errno; };
}

namespace {

// The destructor runs at unload and at process exit alike. A handler under a handle of our own tells
// them apart: exit runs it first, unloading does not run it at all.
bool process_exits = false;
char exit_handle;

[[gnu::constructor]] void attach() {
    __cxa_atexit([](void *) { process_exits = true; }, nullptr, &exit_handle);
    library_attached(); // a load cannot be refused here: the first call that needs a record will tell
}

[[gnu::destructor]] void detach() {
    if (process_exits)
        return;
    __cxa_finalize(&exit_handle); // takes the handler away: its code goes with the library
    library_unloaded();
}

} // namespace

} // namespace qor::system
