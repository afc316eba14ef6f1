// The system services on Windows that the numerical library alone uses, and its entry notification.
#include "core_interface/system.h"

#include <cstring>
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace qor::system {
namespace {

// The index whose values thread_detached() receives; the library takes one only.
ThreadIndex live_index = TLS_OUT_OF_INDEXES;

} // namespace

bool thread_index_create(ThreadIndex *index) {
    const DWORD taken = TlsAlloc();
    if (taken == TLS_OUT_OF_INDEXES)
        return false;
    live_index = *index = taken;
    return true;
}

void thread_index_free(ThreadIndex index) {
    live_index = TLS_OUT_OF_INDEXES;
    TlsFree(index);
}

void *thread_value(ThreadIndex index) {
    // TlsGetValue clears the last-error value, which belongs to the caller.
    const DWORD last_error = GetLastError();
    void *value = TlsGetValue(index);
    SetLastError(last_error);
    return value;
}

bool set_thread_value(ThreadIndex index, void *value) { return TlsSetValue(index, value) != 0; }

PrivateHeap *heap_create(std::size_t initial_size) {
    return static_cast<PrivateHeap *>(HeapCreate(0, initial_size, 0));
}
void *heap_allocate(PrivateHeap *heap, std::size_t bytes) { return HeapAlloc(heap, 0, bytes); }
void heap_free(PrivateHeap *heap, void *block) { HeapFree(heap, 0, block); }
void heap_destroy(PrivateHeap *heap) { HeapDestroy(heap); }

ErrnoAccessor find_errno_accessor() {
    static const char *const runtimes[] = {
        "MSVCR100.DLL",  "MSVCR90.DLL",  "MSVCR80.DLL",  "MSVCR71.DLL",  "MSVCR70.DLL",  "MSVCRT.DLL",
        "MSVCR100D.DLL", "MSVCR90D.DLL", "MSVCR80D.DLL", "MSVCR71D.DLL", "MSVCR70D.DLL", "MSVCRTD.DLL",
    };
    for (const char *name : runtimes) {
        if (const HMODULE module = GetModuleHandleA(name)) {
            const FARPROC found = GetProcAddress(module, "_errno");
            ErrnoAccessor accessor;
            std::memcpy(&accessor, &found, sizeof accessor);
            return accessor;
        }
    }
    return nullptr;
}

} // namespace qor::system

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID at_exit) {
    using namespace qor::system;
    switch (reason) {
    case DLL_PROCESS_ATTACH:
        return library_attached();
    case DLL_THREAD_DETACH:
        if (live_index != TLS_OUT_OF_INDEXES) {
            if (void *value = thread_value(live_index)) {
                set_thread_value(live_index, nullptr);
                thread_detached(value);
            }
        }
        break;
    case DLL_PROCESS_DETACH:
        if (at_exit == nullptr)
            library_unloaded();
        break;
    default:
        break;
    }
    return TRUE;
}
